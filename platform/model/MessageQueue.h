// Message queues, one for each thread that owns windows or asks for messages:
// sent and posted messages, painting and timers.
//
// None of these functions is called with the machine's lock held: they run window
// procedures.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

#include "platform/model/Desktop.h"
#include "platform/model/Scheduler.h"

namespace vwin::messages {

// Which messages a GetMessageW call asks for.
struct Filter {
  HWND window = nullptr;  // null: all windows of the thread, and the thread's own
  UINT first = 0;         // with `last`, a range of message numbers; 0, 0: all
  UINT last = 0;
};

// Waits for the calling thread's next message, answering sent ones meanwhile:
// posted messages first, then painting, then timers.
MSG WaitForMessage(const Filter& filter);

// False for a stale window.
bool Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// To the thread itself. False for one without a queue: it has made no window and asked
// for no message yet, or has ended.
bool PostToThread(std::uint32_t threadId, UINT message, WPARAM wParam, LPARAM lParam);
// The calling thread has a queue from now on.
void OpenQueue(Lock& lock);
bool HasQueue(Lock& lock, std::uint32_t threadId);
// WM_QUIT for the calling thread, after all that is posted.
void PostQuit(WPARAM exitCode);

// Runs `work` on the window's thread, without the lock, when that next looks at what
// was sent to it. Never, when the window goes before.
void RunLater(Lock& lock, const Window& window, std::function<void()> work);

// Runs the window procedure on the window's thread and waits for its answer; 0 for
// a window without one here.
LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// As SendMessageTimeoutW: also to other programs' windows, and with a limit. `result`
// is set when there was an answer.
enum class Outcome { kAnswered, kTimedOut, kNoWindow };
struct Patience {
  std::uint32_t milliseconds = 0;  // 0 is no limit
  bool blocked = false;            // messages that are sent to this thread wait meanwhile
  bool abortIfHung = false;        // no waiting for another program that hangs
};
Outcome SendWithin(const Patience& patience, HWND window, UINT message, WPARAM wParam,
                   LPARAM lParam, LRESULT& result);

// Paints what is invalid before it returns.
void UpdateNow(HWND window);

// Returns the id, 0 when the window is not the calling thread's. A null window
// makes a timer of the thread, with an id of its own unless `id` is one already.
UINT_PTR StartTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback);
bool StopTimer(HWND window, UINT_PTR id);

// Drops what a window that goes has in its queue: posted messages and timers; those
// who sent it something wait no longer.
void Forget(Lock& lock, HWND window, std::uint32_t threadId);
// The same for a thread that ends, when its windows are gone.
void ForgetThread(Lock& lock, std::uint32_t threadId);

}  // namespace vwin::messages
