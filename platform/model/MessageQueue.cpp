#include "platform/model/MessageQueue.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/model/Ledger.h"
#include "platform/model/Rects.h"

namespace vwin::messages {
namespace {

struct Timer {
  HWND window;
  UINT_PTR id;
  Micros due;
  Micros period;
  TIMERPROC callback;
};

struct SentMessage {
  HWND window;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  std::function<void()> work = {};  // instead of a message
  LRESULT result = 0;
  enum class State { kOpen, kAnswered, kLost } state = State::kOpen;

  bool isOpen() const { return state == State::kOpen; }
};

struct Queue {
  std::deque<MSG> posted;
  std::deque<std::shared_ptr<SentMessage>> sent;
  std::vector<Timer> timers;
  UINT_PTR lastThreadTimer = 0;
  std::optional<WPARAM> quit;  // exit code of PostQuitMessage
};

std::map<std::uint32_t, Queue>& queuesOfAll(Lock&) {
  static auto* const queues = new std::map<std::uint32_t, Queue>;
  return *queues;
}

Queue& queueOf(Lock& lock, std::uint32_t threadId) { return queuesOfAll(lock)[threadId]; }

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

const Window* windowToPaint(const Window& parent, std::uint32_t threadId, const Filter& filter) {
  for (const auto& window : parent.children) {
    if (!(window->style & WS_VISIBLE) || window->isMinimised()) continue;
    const bool ours = window->threadId == threadId && window->windowClass;
    if (ours && !IsEmpty(window->invalid) && (!filter.window || filter.window == window->handle)) {
      return window.get();
    }
    if (const Window* below = windowToPaint(*window, threadId, filter)) return below;
  }
  return nullptr;
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

std::optional<MSG> takeTimer(Lock& lock, Queue& queue, const Filter& filter) {
  const auto timer = nextTimer(queue, filter);
  const Micros now = scheduler::Now(lock);
  if (timer == queue.timers.end() || timer->due > now) return std::nullopt;
  // A thread that was late gets one message, not one for each missed period.
  timer->due += timer->period;
  if (timer->due <= now) timer->due = now + timer->period;
  return stamped(lock, timer->window, WM_TIMER, timer->id,
                 reinterpret_cast<LPARAM>(timer->callback));
}

WNDPROC procedureOf(Lock& lock, HWND window) {
  const auto found = desktop::FindWindow(lock, window);
  return found && found->windowClass ? found->windowClass->procedure : nullptr;
}

// Answers one sent message of the calling thread; the lock is open meanwhile.
void answerOne(Lock& lock, Queue& queue) {
  const std::shared_ptr<SentMessage> sent = queue.sent.front();
  queue.sent.pop_front();
  auto state = SentMessage::State::kLost;
  if (sent->work) {
    lock.native().unlock();
    sent->work();
    lock.native().lock();
  } else if (const WNDPROC procedure = procedureOf(lock, sent->window)) {
    lock.native().unlock();
    const LRESULT result = procedure(sent->window, sent->message, sent->wParam, sent->lParam);
    lock.native().lock();
    sent->result = result;
    state = SentMessage::State::kAnswered;
  }
  sent->state = state;
  scheduler::Changed();
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

// Waits until `done` or the deadline, which is false, and answers what is sent to the
// calling thread meanwhile unless it is `blocked`.
bool waitForAnswer(Lock& lock, const std::function<bool()>& done, std::optional<Micros> deadline,
                   bool blocked) {
  Queue& own = queueOf(lock, scheduler::CurrentThreadId());
  while (!done()) {
    const bool ready = scheduler::WaitUntil(
        lock, "an answer to a sent message",
        [&] { return done() || (!blocked && !own.sent.empty()); }, deadline);
    if (!ready) return false;
    // Two threads that send to each other answer while they wait.
    if (!done()) answerOne(lock, own);
  }
  return true;
}

// To a window of this process. A receiver that is late doesn't get the message any more.
Outcome sendToOwn(Lock& lock, const Window& window, const SentMessage& message,
                  std::optional<Micros> deadline, bool blocked, LRESULT& result) {
  if (window.threadId == scheduler::CurrentThreadId()) {
    const WNDPROC procedure = window.windowClass->procedure;
    lock.native().unlock();
    result = procedure(message.window, message.message, message.wParam, message.lParam);
    lock.native().lock();
    return Outcome::kAnswered;
  }
  const auto sent = std::make_shared<SentMessage>(message);
  queueOf(lock, window.threadId).sent.push_back(sent);
  scheduler::Changed();
  if (!waitForAnswer(
          lock, [&] { return !sent->isOpen(); }, deadline, blocked)) {
    std::erase(queueOf(lock, window.threadId).sent, sent);
    return Outcome::kTimedOut;
  }
  if (sent->state == SentMessage::State::kLost) return Outcome::kNoWindow;
  result = sent->result;
  return Outcome::kAnswered;
}

// To a window of another program, which knows nothing but its icons.
Outcome sendToOther(Lock& lock, const std::shared_ptr<const Window>& window,
                    const SentMessage& message, Micros deadline, const Patience& patience,
                    LRESULT& result) {
  const std::optional<Micros> takes = window->answersAfter;
  if (!takes && patience.abortIfHung) return Outcome::kTimedOut;
  const Micros answer = takes ? scheduler::Now(lock) + *takes : deadline + 1;
  const bool gone = waitForAnswer(
      lock, [&] { return !desktop::FindWindow(lock, message.window); }, std::min(answer, deadline),
      patience.blocked);
  if (gone) return Outcome::kNoWindow;
  if (answer > deadline) return Outcome::kTimedOut;
  const bool asksForIcon = message.message == WM_GETICON && message.wParam < window->icons.size();
  result = asksForIcon ? reinterpret_cast<LRESULT>(window->icons[message.wParam]) : 0;
  return Outcome::kAnswered;
}

}  // namespace

MSG WaitForMessage(const Filter& filter) {
  Lock lock;
  const std::uint32_t self = scheduler::CurrentThreadId();
  Queue& queue = queueOf(lock, self);
  const Window& root = *desktop::Get(lock).root;
  const auto toPaint = [&] {
    return inRange(filter, WM_PAINT) ? windowToPaint(root, self, filter) : nullptr;
  };
  for (;;) {
    if (!queue.sent.empty()) {
      answerOne(lock, queue);
      continue;
    }
    if (const auto posted = nextPosted(queue, filter); posted != queue.posted.end()) {
      const MSG message = *posted;
      queue.posted.erase(posted);
      return message;
    }
    if (const auto code = std::exchange(queue.quit, std::nullopt))
      return stamped(lock, nullptr, WM_QUIT, *code, 0);
    if (const Window* window = toPaint()) return stamped(lock, window->handle, WM_PAINT, 0, 0);
    if (const auto timer = takeTimer(lock, queue, filter)) return *timer;

    const auto next = nextTimer(queue, filter);
    const auto deadline =
        next == queue.timers.end() ? std::nullopt : std::optional<Micros>(next->due);
    scheduler::WaitUntil(
        lock, "GetMessageW",
        [&] {
          return !queue.sent.empty() || nextPosted(queue, filter) != queue.posted.end() ||
                 toPaint() != nullptr;
        },
        deadline);
  }
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
  queueOf(lock, thread).posted.push_back(stamped(lock, window, message, wParam, lParam));
  scheduler::Changed();
  return true;
}

bool PostToThread(std::uint32_t threadId, UINT message, WPARAM wParam, LPARAM lParam) {
  Lock lock;
  if (!HasQueue(lock, threadId)) return false;
  queueOf(lock, threadId).posted.push_back(stamped(lock, nullptr, message, wParam, lParam));
  scheduler::Changed();
  return true;
}

void OpenQueue(Lock& lock) { queueOf(lock, scheduler::CurrentThreadId()); }

bool HasQueue(Lock& lock, std::uint32_t threadId) { return queuesOfAll(lock).contains(threadId); }

void PostQuit(WPARAM exitCode) {
  Lock lock;
  queueOf(lock, scheduler::CurrentThreadId()).quit = exitCode;
}

void RunLater(Lock& lock, const Window& window, std::function<void()> work) {
  queueOf(lock, window.threadId)
      .sent.push_back(std::make_shared<SentMessage>(
          SentMessage{window.handle, WM_NULL, 0, 0, std::move(work)}));
  scheduler::Changed();
}

LRESULT Send(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  LRESULT result = 0;
  if (window && window->windowClass)
    sendToOwn(lock, *window, {handle, message, wParam, lParam}, std::nullopt, false, result);
  return result;
}

Outcome SendWithin(const Patience& patience, HWND handle, UINT message, WPARAM wParam,
                   LPARAM lParam, LRESULT& result) {
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return Outcome::kNoWindow;
  const SentMessage sent{handle, message, wParam, lParam};
  const std::uint32_t limit = patience.milliseconds == 0 ? INFINITE : patience.milliseconds;
  const Micros deadline = scheduler::Now(lock) + Micros{limit} * 1000;
  return window->windowClass ? sendToOwn(lock, *window, sent, deadline, patience.blocked, result)
                             : sendToOther(lock, window, sent, deadline, patience, result);
}

void UpdateNow(HWND window) {
  {
    Lock lock;
    const auto found = desktop::FindWindow(lock, window);
    if (!found || !found->isVisible() || found->isMinimised() || IsEmpty(found->invalid)) return;
  }
  Send(window, WM_PAINT, 0, 0);
}

UINT_PTR StartTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback) {
  Lock lock;
  const std::uint32_t self = scheduler::CurrentThreadId();
  if (window) {
    const auto found = desktop::FindWindow(lock, window);
    if (!found || !found->windowClass || found->threadId != self) return 0;
  }
  Queue& queue = queueOf(lock, self);
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
  Queue& queue = queueOf(lock, scheduler::CurrentThreadId());
  const auto known = std::find_if(queue.timers.begin(), queue.timers.end(),
                                  [&](const Timer& t) { return t.window == window && t.id == id; });
  if (known == queue.timers.end()) return false;
  queue.timers.erase(known);
  ledger::Return(lock, "timer", ledgerKey(window, id));
  return true;
}

void Forget(Lock& lock, HWND window, std::uint32_t threadId) {
  drop(lock, queueOf(lock, threadId), [&](HWND receiver) { return receiver == window; });
}

void ForgetThread(Lock& lock, std::uint32_t threadId) {
  drop(lock, queueOf(lock, threadId), [](HWND) { return true; });
  queuesOfAll(lock).erase(threadId);
}

}  // namespace vwin::messages
