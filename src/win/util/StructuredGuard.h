#pragma once

namespace qx {

using GuardedCall = void (*)(void* context);

// Calls `call(context)`. False when it raised a structured exception, such as an
// access violation in a driver; what the call did until then stays done, and no
// destructor between here and the fault has run. A C++ exception passes through.
bool RunGuarded(GuardedCall call, void* context);

// Calls `call(context)`, code that another compiler than ours may have built. False when a
// C++ exception of such a compiler left it: no `catch` of ours would see that one, and no
// destructor either. One of our own compiler passes through.
bool RunForeign(GuardedCall call, void* context);

namespace structured_guard {

template <typename Function>
bool Run(bool (*guard)(GuardedCall, void*), Function& function) {
  return guard([](void* context) { (*static_cast<Function*>(context))(); }, &function);
}

}  // namespace structured_guard

template <typename Function>
bool RunGuarded(Function&& function) {
  return structured_guard::Run(&RunGuarded, function);
}

template <typename Function>
bool RunForeign(Function&& function) {
  return structured_guard::Run(&RunForeign, function);
}

}  // namespace qx
