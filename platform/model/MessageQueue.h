// Message queues, one for each thread that owns windows or asks for messages: what
// the thread takes from it. Who sends is in SentMessages.h.
//
// None of these functions is called with the machine's lock held, unless it takes one:
// they run window procedures.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/Scheduler.h"

namespace vwin::messages {

// Which messages a GetMessageW call asks for.
struct Filter {
  HWND window = nullptr;  // null: all windows of the thread, and the thread's own
  UINT first = 0;         // with `last`, a range of message numbers; 0, 0: all
  UINT last = 0;
};

// The calling thread's next message after all sent ones were answered: posted messages
// first, then painting, then timers. `kinds` are QS_ bits. The lock is open meanwhile.
std::optional<MSG> NextMessage(Lock& lock, const Filter& filter, UINT kinds, bool take);
// Waits for it.
MSG WaitForMessage(const Filter& filter);
// Waits for the first handle that is signalled or for messages of certain kinds, which
// count as one handle more. Messages are news only until the thread has looked for such,
// by this as well, unless `seenAsWell`. WAIT_FAILED when one is nothing to wait for.
DWORD WaitForAny(const std::vector<HANDLE>& handles, DWORD milliseconds, UINT kinds,
                 bool seenAsWell);

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
