#include "platform/model/MessageQueue.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "platform/model/Ledger.h"
#include "platform/model/Queues.h"
#include "platform/model/Rects.h"
#include "platform/model/Threads.h"

namespace vwin::messages {
namespace {

std::map<std::uint32_t, Queue>& queuesOfAll(Lock&) {
  static auto* const queues = new std::map<std::uint32_t, Queue>;
  return *queues;
}

std::uintptr_t ledgerKey(HWND window, UINT_PTR id) {
  return reinterpret_cast<std::uintptr_t>(window) * 31 + static_cast<std::uintptr_t>(id);
}

bool inRange(const Filter& filter, UINT message) {
  if (filter.first == 0 && filter.last == 0) return true;
  return message >= filter.first && message <= filter.last;
}

// WM_QUIT comes through whatever the filter says.
bool wants(const Filter& filter, const MSG& message) {
  if (message.message == WM_QUIT) return true;
  return (!filter.window || filter.window == message.hwnd) && inRange(filter, message.message);
}

MSG stamped(Lock& lock, HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  MSG made{};
  made.hwnd = window;
  made.message = message;
  made.wParam = wParam;
  made.lParam = lParam;
  made.time = static_cast<DWORD>(scheduler::Now(lock) / 1000);
  made.pt = desktop::Get(lock).cursor.position;
  return made;
}

const Window* paintBelow(const Window& parent, std::uint32_t threadId, const Filter& filter) {
  for (const auto& window : parent.children) {
    if (!(window->style & WS_VISIBLE) || window->isMinimised()) continue;
    const bool ours = window->threadId == threadId && window->windowClass;
    if (ours && !IsEmpty(window->invalid) && (!filter.window || filter.window == window->handle)) {
      return window.get();
    }
    if (const Window* below = paintBelow(*window, threadId, filter)) return below;
  }
  return nullptr;
}

const Window* windowToPaint(Lock& lock, std::uint32_t threadId, const Filter& filter) {
  if (!inRange(filter, WM_PAINT)) return nullptr;
  return paintBelow(*desktop::Get(lock).root, threadId, filter);
}

std::deque<MSG>::iterator nextPosted(Queue& queue, const Filter& filter) {
  return std::find_if(queue.posted.begin(), queue.posted.end(),
                      [&](const MSG& message) { return wants(filter, message); });
}

// Ready or not: the timer that is due first.
std::vector<Timer>::iterator nextTimer(Queue& queue, const Filter& filter) {
  auto best = queue.timers.end();
  if (!inRange(filter, WM_TIMER)) return best;
  for (auto timer = queue.timers.begin(); timer != queue.timers.end(); ++timer) {
    if (filter.window && filter.window != timer->window) continue;
    if (best == queue.timers.end() || timer->due < best->due) best = timer;
  }
  return best;
}

std::optional<Micros> nextDue(Queue& queue, const Filter& filter) {
  const auto next = nextTimer(queue, filter);
  return next == queue.timers.end() ? std::nullopt : std::optional<Micros>(next->due);
}

std::optional<MSG> timerMessage(Lock& lock, Queue& queue, const Filter& filter, bool take) {
  const auto timer = nextTimer(queue, filter);
  const Micros now = scheduler::Now(lock);
  if (timer == queue.timers.end() || timer->due > now) return std::nullopt;
  if (take) {
    // A thread that was late gets one message, not one for each missed period.
    timer->due += timer->period;
    if (timer->due <= now) timer->due = now + timer->period;
  }
  return stamped(lock, timer->window, WM_TIMER, timer->id,
                 reinterpret_cast<LPARAM>(timer->callback));
}

// Painting and timers are always news: whoever sees them has to take them.
bool input(Lock& lock, Queue& queue, std::uint32_t threadId, UINT kinds, bool seenAsWell) {
  UINT there = queue.unseen;
  if (seenAsWell && !queue.sent.empty()) there |= QS_SENDMESSAGE;
  if (seenAsWell && (!queue.posted.empty() || queue.quit)) there |= QS_POSTMESSAGE;
  if (there & kinds) return true;
  if ((kinds & QS_PAINT) && windowToPaint(lock, threadId, {})) return true;
  const auto due = kinds & QS_TIMER ? nextDue(queue, {}) : std::nullopt;
  return due && *due <= scheduler::Now(lock);
}

// Takes out what is there for certain windows, null being the thread itself.
void drop(Lock& lock, Queue& queue, const std::function<bool(HWND)>& concerns) {
  std::erase_if(queue.posted, [&](const MSG& message) { return concerns(message.hwnd); });
  std::erase_if(queue.sent, [&](const auto& sent) {
    if (!concerns(sent->window)) return false;
    sent->state = SentMessage::State::kLost;
    return true;
  });
  std::erase_if(queue.timers, [&](const Timer& timer) {
    if (!concerns(timer.window)) return false;
    ledger::Return(lock, "timer", ledgerKey(timer.window, timer.id));
    return true;
  });
  scheduler::Changed();
}

}  // namespace

Queue& QueueOf(Lock& lock, std::uint32_t threadId) { return queuesOfAll(lock)[threadId]; }

void Queue::Arrived(Lock& lock, UINT kind) {
  unseen |= kind;
  if (!waitsSince) waitsSince = scheduler::Now(lock);
  scheduler::Changed();
}

void Queue::LookedAt(Lock& lock, UINT kinds) {
  unseen &= ~kinds;
  waitsSince.reset();
  if (!sent.empty() || !posted.empty()) waitsSince = scheduler::Now(lock);
}

std::optional<MSG> NextMessage(Lock& lock, const Filter& filter, UINT kinds, bool take) {
  const std::uint32_t self = scheduler::CurrentThreadId();
  Queue& queue = QueueOf(lock, self);
  queue.LookedAt(lock, kinds | QS_SENDMESSAGE);
  while (!queue.sent.empty()) AnswerOne(lock, queue);
  if (kinds & QS_POSTMESSAGE) {
    if (const auto posted = nextPosted(queue, filter); posted != queue.posted.end()) {
      const MSG message = *posted;
      if (take) queue.posted.erase(posted);
      return message;
    }
    if (const auto code = queue.quit) {
      if (take) queue.quit.reset();
      return stamped(lock, nullptr, WM_QUIT, *code, 0);
    }
  }
  if (kinds & QS_PAINT) {
    if (const Window* window = windowToPaint(lock, self, filter))
      return stamped(lock, window->handle, WM_PAINT, 0, 0);
  }
  if (kinds & QS_TIMER) return timerMessage(lock, queue, filter, take);
  return std::nullopt;
}

MSG WaitForMessage(const Filter& filter) {
  Lock lock;
  const std::uint32_t self = scheduler::CurrentThreadId();
  Queue& queue = QueueOf(lock, self);
  for (;;) {
    if (const auto message = NextMessage(lock, filter, QS_ALLINPUT, true)) return *message;
    scheduler::WaitUntil(
        lock, "GetMessageW",
        [&] {
          return !queue.sent.empty() || nextPosted(queue, filter) != queue.posted.end() ||
                 windowToPaint(lock, self, filter) != nullptr;
        },
        nextDue(queue, filter));
  }
}

DWORD WaitForAny(const std::vector<HANDLE>& handles, DWORD milliseconds, UINT kinds,
                 bool seenAsWell) {
  std::shared_ptr<Waitable> found;
  DWORD result = WAIT_TIMEOUT;
  {
    Lock lock;
    std::vector<std::shared_ptr<Waitable>> objects;
    for (const HANDLE handle : handles) {
      objects.push_back(threads::FindWaitable(lock, handle));
      if (!objects.back()) return WAIT_FAILED;
    }
    const std::uint32_t self = scheduler::CurrentThreadId();
    Queue& queue = QueueOf(lock, self);
    const auto signalled = [&] {
      return std::find_if(objects.begin(), objects.end(),
                          [](const auto& object) { return object->Signalled(); });
    };
    const auto hasInput = [&] { return input(lock, queue, self, kinds, seenAsWell); };
    const std::optional<Micros> limit = threads::Deadline(lock, milliseconds);
    for (;;) {
      if (const auto first = signalled(); first != objects.end()) {
        found = *first;
        result = WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin());
        break;
      }
      if (hasInput()) {
        queue.LookedAt(lock, kinds);
        return WAIT_OBJECT_0 + static_cast<DWORD>(objects.size());
      }
      if (limit && *limit <= scheduler::Now(lock)) break;
      std::optional<Micros> until = kinds & QS_TIMER ? nextDue(queue, {}) : std::nullopt;
      if (limit && (!until || *limit < *until)) until = limit;
      scheduler::WaitUntil(
          lock, "MsgWaitForMultipleObjectsEx",
          [&] { return signalled() != objects.end() || hasInput(); }, until);
    }
    if (found) found->Taken();
  }
  if (found) threads::Join(*found);
  return result;
}

bool Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  Lock lock;
  std::uint32_t thread = scheduler::CurrentThreadId();
  if (window) {
    const auto found = desktop::FindWindow(lock, window);
    if (!found) return false;
    // Nobody reads the messages of other programs.
    if (!found->windowClass) return true;
    thread = found->threadId;
  }
  Queue& queue = QueueOf(lock, thread);
  queue.posted.push_back(stamped(lock, window, message, wParam, lParam));
  queue.Arrived(lock, QS_POSTMESSAGE);
  return true;
}

bool PostToThread(std::uint32_t threadId, UINT message, WPARAM wParam, LPARAM lParam) {
  Lock lock;
  if (!HasQueue(lock, threadId)) return false;
  Queue& queue = QueueOf(lock, threadId);
  queue.posted.push_back(stamped(lock, nullptr, message, wParam, lParam));
  queue.Arrived(lock, QS_POSTMESSAGE);
  return true;
}

void OpenQueue(Lock& lock) { QueueOf(lock, scheduler::CurrentThreadId()); }

bool HasQueue(Lock& lock, std::uint32_t threadId) { return queuesOfAll(lock).contains(threadId); }

void PostQuit(WPARAM exitCode) {
  Lock lock;
  Queue& queue = QueueOf(lock, scheduler::CurrentThreadId());
  queue.quit = exitCode;
  queue.unseen |= QS_POSTMESSAGE;
}

UINT_PTR StartTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback) {
  Lock lock;
  const std::uint32_t self = scheduler::CurrentThreadId();
  if (window) {
    const auto found = desktop::FindWindow(lock, window);
    if (!found || !found->windowClass || found->threadId != self) return 0;
  }
  Queue& queue = QueueOf(lock, self);
  const auto known = std::find_if(queue.timers.begin(), queue.timers.end(),
                                  [&](const Timer& t) { return t.window == window && t.id == id; });
  const Micros period =
      Micros{std::clamp<UINT>(milliseconds, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM)} * 1000;
  const Micros due = scheduler::Now(lock) + period;
  if (known != queue.timers.end()) {
    *known = {window, id, due, period, callback};
    return window && id == 0 ? 1 : id;
  }
  if (!window) id = ++queue.lastThreadTimer;
  queue.timers.push_back({window, id, due, period, callback});
  ledger::Take(lock, "timer", ledgerKey(window, id), "SetTimer");
  return window && id == 0 ? 1 : id;
}

bool StopTimer(HWND window, UINT_PTR id) {
  Lock lock;
  Queue& queue = QueueOf(lock, scheduler::CurrentThreadId());
  const auto known = std::find_if(queue.timers.begin(), queue.timers.end(),
                                  [&](const Timer& t) { return t.window == window && t.id == id; });
  if (known == queue.timers.end()) return false;
  queue.timers.erase(known);
  ledger::Return(lock, "timer", ledgerKey(window, id));
  return true;
}

void Forget(Lock& lock, HWND window, std::uint32_t threadId) {
  drop(lock, QueueOf(lock, threadId), [&](HWND receiver) { return receiver == window; });
}

void ForgetThread(Lock& lock, std::uint32_t threadId) {
  drop(lock, QueueOf(lock, threadId), [](HWND) { return true; });
  queuesOfAll(lock).erase(threadId);
}

}  // namespace vwin::messages
