// Message queues, one for each thread that owns windows or asks for messages:
// sent and posted messages, painting and timers.
//
// None of these functions is called with the machine's lock held: they run window
// procedures.
#pragma once

#include <windows.h>

#include <cstdint>

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

// Runs the window procedure on the window's thread and waits for its answer; 0 for
// a window without one here.
LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Paints what is invalid before it returns.
void UpdateNow(HWND window);

// Returns the id, 0 when the window is not the calling thread's. A null window
// makes a timer of the thread, with an id of its own unless `id` is one already.
UINT_PTR StartTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback);
bool StopTimer(HWND window, UINT_PTR id);

// Drops what a window that goes has in its queue: posted messages and timers.
void Forget(Lock& lock, HWND window, std::uint32_t threadId);

}  // namespace vwin::messages
