// What the adapters of user32 share.
#pragma once

#include <windows.h>

#include <memory>

#include "platform/model/Desktop.h"
#include "platform/model/SentMessages.h"

namespace vwin {

// Null, and the error set, for a stale handle.
inline std::shared_ptr<Window> FindOrSetError(Lock& lock, HWND handle) {
  auto window = desktop::FindWindow(lock, handle);
  if (!window) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return window;
}

// FALSE, and the error set, when the window goes before its owner has made the change.
inline BOOL AsOwnerOrSetError(HWND handle, const messages::Change& change,
                              messages::Activation activation = messages::Activation::kNone) {
  if (messages::AsOwner(handle, change, activation)) return TRUE;
  return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
}

}  // namespace vwin
