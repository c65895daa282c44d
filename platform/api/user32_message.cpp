// user32: messages and timers.
#include <windows.h>

#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/MessageQueue.h"
#include "platform/model/OwnWindows.h"
#include "platform/model/SentMessages.h"

using namespace vwin;

BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT first, UINT last) {
  VWIN_CALL(GetMessageW);
  if (fault) return SetLastError(fault->win32), -1;
  if (window) {
    Lock lock;
    if (!desktop::FindWindow(lock, window)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), -1;
  }
  *message = messages::WaitForMessage({window, first, last});
  return message->message != WM_QUIT;
}

BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT flags) {
  VWIN_CALL_INFALLIBLE(PeekMessageW);
  Lock lock;
  if (window && !desktop::FindWindow(lock, window))
    return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
  const UINT kinds = flags >> 16 ? flags >> 16 : QS_ALLINPUT;
  const auto next =
      messages::NextMessage(lock, {window, first, last}, kinds, (flags & PM_REMOVE) != 0);
  if (next) *message = *next;
  return next.has_value();
}

DWORD WINAPI MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds,
                                         DWORD wakeMask, DWORD flags) {
  VWIN_CALL(MsgWaitForMultipleObjectsEx);
  if (fault) return SetLastError(fault->win32), WAIT_FAILED;
  // One place is the queue's.
  if (count >= MAXIMUM_WAIT_OBJECTS || (count > 0 && !handles) ||
      (flags & ~DWORD{MWMO_INPUTAVAILABLE}))
    return SetLastError(ERROR_INVALID_PARAMETER), WAIT_FAILED;
  const DWORD result =
      messages::WaitForAny(std::vector<HANDLE>(handles, handles + count), milliseconds, wakeMask,
                           (flags & MWMO_INPUTAVAILABLE) != 0);
  if (result == WAIT_FAILED) {
    Lock lock;
    ledger::Misuse(lock, "MsgWaitForMultipleObjectsEx: nothing to wait for has this handle");
    SetLastError(ERROR_INVALID_HANDLE);
  }
  return result;
}

BOOL WINAPI IsHungAppWindow(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsHungAppWindow);
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  return window && messages::IsHung(lock, *window);
}

BOOL WINAPI TranslateMessage(const MSG*) {
  VWIN_CALL_INFALLIBLE(TranslateMessage);
  return FALSE;  // there is no keyboard
}

LRESULT WINAPI DispatchMessageW(const MSG* message) {
  VWIN_CALL_INFALLIBLE(DispatchMessageW);
  if (message->message == WM_TIMER && message->lParam) {
    DWORD time = 0;
    {
      Lock lock;
      time = static_cast<DWORD>(scheduler::Now(lock) / 1000);
    }
    reinterpret_cast<TIMERPROC>(message->lParam)(message->hwnd, WM_TIMER, message->wParam, time);
    return 0;
  }
  {
    Lock lock;
    const auto window = desktop::FindWindow(lock, message->hwnd);
    if (!window) return 0;
    if (window->threadId != scheduler::CurrentThreadId()) {
      ledger::Misuse(lock, "DispatchMessageW: the window is not the calling thread's");
      return 0;
    }
  }
  return messages::Send(message->hwnd, message->message, message->wParam, message->lParam);
}

LRESULT WINAPI SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  VWIN_CALL(SendMessageW);
  if (fault) return SetLastError(fault->win32), 0;
  LRESULT answer = 0;
  if (messages::SendWithin({}, window, message, wParam, lParam, answer) !=
      messages::Outcome::kAnswered)
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return answer;
}

LRESULT WINAPI SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                   UINT flags, UINT milliseconds, PDWORD_PTR result) {
  VWIN_CALL(SendMessageTimeoutW);
  if (fault) return SetLastError(fault->win32), 0;
  if (flags & ~UINT{SMTO_BLOCK | SMTO_ABORTIFHUNG}) return SetLastError(ERROR_INVALID_PARAMETER), 0;
  LRESULT answer = 0;
  const messages::Patience patience{.milliseconds = milliseconds,
                                    .blocked = (flags & SMTO_BLOCK) != 0,
                                    .abortIfHung = (flags & SMTO_ABORTIFHUNG) != 0};
  switch (messages::SendWithin(patience, window, message, wParam, lParam, answer)) {
    case messages::Outcome::kTimedOut:
      return SetLastError(ERROR_TIMEOUT), 0;
    case messages::Outcome::kNoWindow:
      return SetLastError(ERROR_INVALID_WINDOW_HANDLE), 0;
    case messages::Outcome::kAnswered:
      break;
  }
  if (result) *result = static_cast<DWORD_PTR>(answer);
  return TRUE;
}

BOOL WINAPI PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  VWIN_CALL(PostMessageW);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (!messages::Post(window, message, wParam, lParam))
    return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
  return TRUE;
}

BOOL WINAPI PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam) {
  VWIN_CALL(PostThreadMessageW);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (!messages::PostToThread(thread, message, wParam, lParam))
    return SetLastError(ERROR_INVALID_THREAD_ID), FALSE;
  return TRUE;
}

void WINAPI PostQuitMessage(int exitCode) {
  VWIN_CALL_INFALLIBLE(PostQuitMessage);
  messages::PostQuit(static_cast<WPARAM>(exitCode));
}

LRESULT WINAPI DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  VWIN_CALL_INFALLIBLE(DefWindowProcW);
  return own_windows::DefaultProcedure(window, message, wParam, lParam);
}

UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback) {
  VWIN_CALL(SetTimer);
  if (fault) return SetLastError(fault->win32), 0;
  const UINT_PTR started = messages::StartTimer(window, id, milliseconds, callback);
  if (!started) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return started;
}

BOOL WINAPI KillTimer(HWND window, UINT_PTR id) {
  VWIN_CALL_INFALLIBLE(KillTimer);
  if (!messages::StopTimer(window, id)) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  return TRUE;
}
