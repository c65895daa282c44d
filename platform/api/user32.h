// What the adapters of user32 share.
#pragma once

#include <windows.h>

#include <memory>

#include "platform/model/Desktop.h"

namespace vwin {

// Null, and the error set, for a stale handle.
inline std::shared_ptr<Window> FindOrSetError(Lock& lock, HWND handle) {
  auto window = desktop::FindWindow(lock, handle);
  if (!window) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return window;
}

}  // namespace vwin
