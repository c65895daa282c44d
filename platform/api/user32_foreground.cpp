// user32: which window the user works with.
#include <windows.h>

#include <algorithm>

#include "platform/api/user32.h"
#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/MessageQueue.h"
#include "platform/model/SentMessages.h"

using namespace vwin;

namespace {

// Threads of other programs are known by their windows.
bool hasInput(Lock& lock, DWORD thread) {
  const auto& windows = desktop::Get(lock).root->children;
  return thread == scheduler::CurrentThreadId() || messages::HasQueue(lock, thread) ||
         std::any_of(windows.begin(), windows.end(),
                     [&](const auto& window) { return window->threadId == thread; });
}

}  // namespace

HWND WINAPI SetFocus(HWND handle) {
  VWIN_CALL(SetFocus);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto window = handle ? FindOrSetError(lock, handle) : nullptr;
  if (handle && !window) return nullptr;
  if (window && window->threadId != scheduler::CurrentThreadId())
    return SetLastError(ERROR_ACCESS_DENIED), nullptr;
  Desktop& desktop = desktop::Get(lock);
  const HWND previous = desktop.focus;
  desktop.focus = handle;
  return previous;
}

HWND WINAPI GetForegroundWindow() {
  VWIN_CALL(GetForegroundWindow);
  // There is none while one window gives way to another.
  if (fault) return nullptr;
  Lock lock;
  return desktop::Foreground(lock);
}

BOOL WINAPI BringWindowToTop(HWND handle) {
  VWIN_CALL(BringWindowToTop);
  if (fault) return SetLastError(fault->win32), FALSE;
  bool chooses = false;
  {
    Lock lock;
    const auto window = FindOrSetError(lock, handle);
    if (!window) return FALSE;
    chooses = !window->isChild() && desktop::MayChooseForeground(lock);
  }
  const auto raise = [&](Lock& lock, Window& window) {
    desktop::Place(lock, window, HWND_TOP);
    if (chooses) desktop::Get(lock).foreground = handle;
  };
  const auto activation =
      chooses ? messages::Activation::kTakesForeground : messages::Activation::kNone;
  return AsOwnerOrSetError(handle, raise, activation);
}

BOOL WINAPI AttachThreadInput(DWORD thread, DWORD to, BOOL attach) {
  VWIN_CALL(AttachThreadInput);
  // What was attached can always be detached.
  if (fault && attach) return SetLastError(fault->win32), FALSE;
  Lock lock;
  auto& attached = desktop::Get(lock).attachedInputs;
  const std::uintptr_t key = std::uintptr_t{thread} << 32 | to;
  if (attach) {
    if (thread == to || !hasInput(lock, thread) || !hasInput(lock, to))
      return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    attached.emplace_back(thread, to);
    ledger::Take(lock, "thread input", key, "AttachThreadInput");
    return TRUE;
  }
  const auto known = std::find(attached.begin(), attached.end(), std::pair(thread, to));
  if (known == attached.end()) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  attached.erase(known);
  ledger::Return(lock, "thread input", key);
  return TRUE;
}
