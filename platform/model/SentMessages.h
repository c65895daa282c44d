// What waits for the thread that owns a window: messages that are sent to it, and
// changes to the window, which Windows has the owner's thread carry out.
//
// A window of the calling thread is never waited for. Another thread of this process
// answers when it next looks at its messages, another program's window as the test says.
// Who waits answers what is sent to it meanwhile.
//
// None of these functions is called with the machine's lock held, unless it takes one.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

#include "platform/model/Desktop.h"
#include "platform/model/Scheduler.h"

namespace vwin::messages {

// Runs the window procedure on the window's thread and waits for its answer; 0 for
// a stale window.
LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// As SendMessageTimeoutW. `result` is set when there was an answer.
enum class Outcome { kAnswered, kTimedOut, kNoWindow };
struct Patience {
  std::uint32_t milliseconds = 0;  // 0 is no limit
  bool blocked = false;            // messages that are sent to this thread wait meanwhile
  bool abortIfHung = false;        // no waiting for a window that hangs
};
Outcome SendWithin(const Patience& patience, HWND window, UINT message, WPARAM wParam,
                   LPARAM lParam, LRESULT& result);

// Has a change carried out, on the owner's thread where that is one of this process,
// and waits for it. False when the window goes before.
using Change = std::function<void(Lock&, Window&)>;
// Who takes the foreground waits for the window that loses it, if they share their input.
enum class Activation { kNone, kTakesForeground };
bool AsOwner(HWND window, const Change& change, Activation activation = Activation::kNone);

// Runs `work` on the window's thread, without the lock, when that next looks at what
// was sent to it. Never, when the window goes before.
void RunLater(Lock& lock, const Window& window, std::function<void()> work);

// Another program's window that doesn't answer, or one whose thread has not looked for
// five seconds at something that waits for it.
bool IsHung(Lock& lock, const Window& window);

// Has painted what is invalid before it returns.
void UpdateNow(HWND window);

}  // namespace vwin::messages
