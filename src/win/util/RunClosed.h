#pragma once

#include <exception>

#include "common/Logging.h"

namespace qx {

// Does `work` and ends here what it throws, at the edge of a thread or of a call that
// must not fail. `what` is logged then, with the exception's own words behind a colon.
// False when it threw.
template <typename Work>
bool RunClosed(const char* what, Work&& work) noexcept {
  try {
    work();
    return true;
  } catch (const std::exception& error) {
    QX_LOG_ERROR("{}:{}", what, error.what());
  } catch (...) {
    QX_LOG_ERROR("{}", what);
  }
  return false;
}

}  // namespace qx
