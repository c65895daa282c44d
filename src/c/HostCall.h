#pragma once

#include <stdexcept>

#include "win/util/StructuredGuard.h"

namespace qx::c {

// Calls a function of the host. A C++ exception that leaves it is one of ours from here on,
// whichever compiler built the host.
template <typename Function, typename... Arguments>
void CallHost(Function function, Arguments... arguments) {
  if (!RunForeign([&] { function(arguments...); })) {
    throw std::runtime_error("the host threw an exception");
  }
}

}  // namespace qx::c
