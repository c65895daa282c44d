#include "platform/model/SentMessages.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/model/Queues.h"
#include "platform/model/Rects.h"

namespace vwin::messages {
namespace {

// After this time without a look at its messages a thread hangs.
constexpr Micros kHungAfter = 5'000'000;

// How long a sender waits, and whether it answers what is sent to it meanwhile.
struct Wait {
  std::optional<Micros> deadline = {};
  bool blocked = false;
};

WNDPROC procedureOf(Lock& lock, HWND window) {
  const auto found = desktop::FindWindow(lock, window);
  return found && found->windowClass ? found->windowClass->procedure : nullptr;
}

// False at the deadline.
bool waitForAnswer(Lock& lock, const SentMessage& sent, const Wait& wait) {
  Queue& own = QueueOf(lock, scheduler::CurrentThreadId());
  while (sent.isOpen()) {
    const bool ready = scheduler::WaitUntil(
        lock, "an answer to a sent message",
        [&] { return !sent.isOpen() || (!wait.blocked && !own.sent.empty()); }, wait.deadline);
    if (!ready) return false;
    // Two threads that send to each other answer while they wait.
    if (sent.isOpen()) AnswerOne(lock, own);
  }
  return true;
}

// To a thread of this process. A receiver that is late doesn't get the message any more.
Outcome sendToThread(Lock& lock, std::uint32_t threadId, SentMessage message, const Wait& wait,
                     LRESULT& result) {
  const auto sent = std::make_shared<SentMessage>(std::move(message));
  QueueOf(lock, threadId).sent.push_back(sent);
  QueueOf(lock, threadId).Arrived(lock, QS_SENDMESSAGE);
  if (!waitForAnswer(lock, *sent, wait)) {
    std::erase(QueueOf(lock, threadId).sent, sent);
    return Outcome::kTimedOut;
  }
  if (sent->state == SentMessage::State::kLost) return Outcome::kNoWindow;
  result = sent->result;
  return Outcome::kAnswered;
}

// When another program's window answers somebody who asked at `asked`; nothing while it
// hangs or is gone.
std::optional<Micros> answerOf(Lock& lock, HWND handle, Micros asked) {
  const auto window = desktop::FindWindow(lock, handle);
  if (!window || !window->answersAfter) return std::nullopt;
  return std::max(asked, window->answersSince) + *window->answersAfter;
}

// Waits until another program's window answers, in the way in which it does meanwhile.
Outcome waitForProgram(Lock& lock, HWND handle, const Wait& wait) {
  Queue& own = QueueOf(lock, scheduler::CurrentThreadId());
  const auto served = [&] { return !wait.blocked && !own.sent.empty(); };
  const Micros asked = scheduler::Now(lock);
  for (;;) {
    if (!desktop::FindWindow(lock, handle)) return Outcome::kNoWindow;
    const std::optional<Micros> answer = answerOf(lock, handle, asked);
    if (answer && *answer <= scheduler::Now(lock)) return Outcome::kAnswered;
    if (wait.deadline && *wait.deadline <= scheduler::Now(lock)) return Outcome::kTimedOut;
    std::optional<Micros> until = answer;
    if (wait.deadline && (!until || *wait.deadline < *until)) until = wait.deadline;
    scheduler::WaitUntil(
        lock, "another program's answer",
        [&] {
          return served() || !desktop::FindWindow(lock, handle) ||
                 answerOf(lock, handle, asked) != answer;
        },
        until);
    if (served()) AnswerOne(lock, own);
  }
}

// To a window of another program, which knows nothing but its icons.
Outcome sendToProgram(Lock& lock, const Window& window, const SentMessage& message,
                      const Wait& wait, LRESULT& result) {
  const std::array<HICON, 3> icons = window.icons;
  const Outcome outcome = waitForProgram(lock, message.window, wait);
  if (outcome != Outcome::kAnswered) return outcome;
  const bool asksForIcon = message.message == WM_GETICON && message.wParam < icons.size();
  result = asksForIcon ? reinterpret_cast<LRESULT>(icons[message.wParam]) : 0;
  return outcome;
}

// The window that has the foreground is told that it loses it, and when it shares its
// input with the calling thread that waits for it.
void takeForeground(HWND next) {
  HWND present = nullptr;
  {
    Lock lock;
    present = desktop::Foreground(lock);
    const auto window = desktop::FindWindow(lock, present);
    const std::uint32_t self = scheduler::CurrentThreadId();
    if (!window || present == next || window->threadId == self ||
        !desktop::ShareInput(lock, self, window->threadId))
      return;
  }
  LRESULT ignored = 0;
  SendWithin({}, present, WM_ACTIVATE, WA_INACTIVE, 0, ignored);
}

// On the thread that does it, without the lock.
void carryOut(HWND handle, const Change& change, Activation activation) {
  if (activation == Activation::kTakesForeground) takeForeground(handle);
  Lock lock;
  if (const auto window = desktop::FindWindow(lock, handle)) change(lock, *window);
}

}  // namespace

void AnswerOne(Lock& lock, Queue& queue) {
  const std::shared_ptr<SentMessage> sent = queue.sent.front();
  queue.sent.pop_front();
  queue.LookedAt(lock, queue.sent.empty() ? QS_SENDMESSAGE : 0);
  auto state = SentMessage::State::kLost;
  if (sent->work) {
    lock.native().unlock();
    sent->work();
    lock.native().lock();
    state = SentMessage::State::kAnswered;
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

void RunLater(Lock& lock, const Window& window, std::function<void()> work) {
  Queue& queue = QueueOf(lock, window.threadId);
  queue.sent.push_back(
      std::make_shared<SentMessage>(SentMessage{window.handle, WM_NULL, 0, 0, std::move(work)}));
  queue.Arrived(lock, QS_SENDMESSAGE);
}

LRESULT Send(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  LRESULT result = 0;
  SendWithin({}, handle, message, wParam, lParam, result);
  return result;
}

Outcome SendWithin(const Patience& patience, HWND handle, UINT message, WPARAM wParam,
                   LPARAM lParam, LRESULT& result) {
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return Outcome::kNoWindow;
  if (patience.abortIfHung && IsHung(lock, *window)) return Outcome::kTimedOut;
  Wait wait{.blocked = patience.blocked};
  if (patience.milliseconds > 0)
    wait.deadline = scheduler::Now(lock) + Micros{patience.milliseconds} * 1000;
  const SentMessage sent{handle, message, wParam, lParam};
  if (!window->windowClass) return sendToProgram(lock, *window, sent, wait, result);
  if (window->threadId != scheduler::CurrentThreadId())
    return sendToThread(lock, window->threadId, sent, wait, result);
  const WNDPROC procedure = window->windowClass->procedure;
  lock.native().unlock();
  result = procedure(handle, message, wParam, lParam);
  lock.native().lock();
  return Outcome::kAnswered;
}

bool AsOwner(HWND handle, const Change& change, Activation activation) {
  {
    Lock lock;
    const auto window = desktop::FindWindow(lock, handle);
    if (!window) return false;
    if (!window->windowClass) {
      if (waitForProgram(lock, handle, {}) != Outcome::kAnswered) return false;
    } else if (window->threadId != scheduler::CurrentThreadId()) {
      SentMessage sent{handle, WM_NULL, 0, 0, [&] { carryOut(handle, change, activation); }};
      LRESULT ignored = 0;
      return sendToThread(lock, window->threadId, std::move(sent), {}, ignored) ==
             Outcome::kAnswered;
    }
  }
  carryOut(handle, change, activation);
  return true;
}

bool IsHung(Lock& lock, const Window& window) {
  if (!window.windowClass) return !window.answersAfter;
  const std::optional<Micros>& since = QueueOf(lock, window.threadId).waitsSince;
  return since && scheduler::Now(lock) - *since >= kHungAfter;
}

void UpdateNow(HWND window) {
  {
    Lock lock;
    const auto found = desktop::FindWindow(lock, window);
    if (!found || !found->isVisible() || found->isMinimised()) return;
    if (found->windowClass && IsEmpty(found->invalid)) return;
  }
  Send(window, WM_PAINT, 0, 0);
}

}  // namespace vwin::messages
