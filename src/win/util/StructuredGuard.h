#pragma once

#include <type_traits>

namespace qx {

using GuardedCall = void (*)(void* context);

// Calls `call(context)`. False when it raised a structured exception, such as an
// access violation in a driver; what the call did until then stays done, and no
// destructor between here and the fault has run. A C++ exception passes through.
bool RunGuarded(GuardedCall call, void* context);

template <typename Function>
bool RunGuarded(Function&& function) {
  using Callable = std::remove_reference_t<Function>;
  return RunGuarded([](void* context) { (*static_cast<Callable*>(context))(); }, &function);
}

}  // namespace qx
