#include "win/task/ThreadTimer.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>
#include <utility>

#include "win/util/Clock.h"
#include "win/util/ComScope.h"
#include "win/util/Handles.h"
#include "win/util/RunClosed.h"
#include "win/util/Wait.h"

namespace qx {

namespace {

constexpr std::int64_t kForever = -1;
constexpr std::int32_t kLongest = std::numeric_limits<std::int32_t>::max();

// Whole microseconds, or nothing for a time that is negative or not a number.
std::optional<std::int64_t> ToMicros(double milliseconds) {
  if (!(milliseconds >= 0)) {
    return std::nullopt;
  }
  return static_cast<std::int64_t>(std::min<double>(milliseconds * 1000.0, kLongest));
}

}  // namespace

bool ThreadTimer::IsLater(const TimerTask& a, const TimerTask& b) { return a.due > b.due; }

// The lock, for one operation; the thread looks at the tasks again afterwards.
class ThreadTimer::Access {
 public:
  explicit Access(ThreadTimer& timer) : m_timer(timer) { AcquireSRWLockExclusive(&timer.m_lock); }
  Access(const Access&) = delete;
  Access& operator=(const Access&) = delete;
  ~Access() {
    ReleaseSRWLockExclusive(&m_timer.m_lock);
    WakeAllConditionVariable(&m_timer.m_changed);
  }

 private:
  ThreadTimer& m_timer;
};

bool ThreadTimer::Start(Function farewell) {
  {
    const Access access(*this);
    if (m_state != State::NotStarted) {
      return m_state == State::Running;
    }
    m_state = State::Running;
  }
  if (m_thread.Start([this, farewell = std::move(farewell)] { run(farewell); })) {
    return true;
  }
  const Access access(*this);
  m_state = State::NotStarted;
  return false;
}

std::int32_t ThreadTimer::AddTask(double delayMs, double intervalMs, bool once, Function function) {
  return add(delayMs, intervalMs, once, false, std::move(function));
}

std::int32_t ThreadTimer::AddPeriodicTask(double delayMs, double intervalMs, Function function) {
  return add(delayMs, intervalMs, false, true, std::move(function));
}

// `mustRun`: only while the timer runs, and not in advance.
std::int32_t ThreadTimer::add(double delayMs, double intervalMs, bool once, bool mustRun,
                              Function function) {
  const std::optional<std::int64_t> delay = ToMicros(delayMs);
  const std::optional<std::int64_t> interval = ToMicros(intervalMs);
  if (!delay || !interval || !function) {
    return kNoTask;
  }
  auto shared = std::make_shared<const Function>(std::move(function));
  const Access access(*this);
  const bool possible = mustRun ? m_state == State::Running : m_state != State::Stopped;
  if (!possible || m_lastId == kLongest) {
    return kNoTask;
  }
  m_tasks.push_back({.id = m_lastId + 1,
                     .due = MonotonicMicros() + *delay,
                     .interval = *interval,
                     .once = once,
                     .function = std::move(shared),
                     .first = true});
  std::push_heap(m_tasks.begin(), m_tasks.end(), IsLater);
  return ++m_lastId;
}

void ThreadTimer::RemoveTask(std::int32_t id) {
  // What the callable holds is let go of without the lock.
  std::shared_ptr<const Function> removed;
  const Access access(*this);
  const auto found = find(id);
  if (m_state == State::Running && found != m_tasks.end()) {
    removed = std::move(found->function);
    m_tasks.erase(found);
    std::make_heap(m_tasks.begin(), m_tasks.end(), IsLater);
  }
}

void ThreadTimer::SetInterval(std::int32_t id, double intervalMs) {
  const std::optional<std::int64_t> interval = ToMicros(intervalMs);
  const Access access(*this);
  const auto found = find(id);
  if (m_state == State::Running && interval && found != m_tasks.end()) {
    found->interval = *interval;
  }
}

void ThreadTimer::RunSoon(std::int32_t id) {
  const Access access(*this);
  const auto found = find(id);
  if (found != m_tasks.end()) {
    found->due = std::min(found->due, MonotonicMicros());
    std::make_heap(m_tasks.begin(), m_tasks.end(), IsLater);
  }
}

bool ThreadTimer::Run(Function function) {
  if (IsCurrent()) {
    runFunction(function);
    return true;
  }
  // The task may be dropped without a run, and lets go of this only after the caller has
  // gone on.
  struct Completion {
    KernelHandle ended = KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::atomic<bool> over = false;
    bool ran = false;
  };
  struct EndReport {
    explicit EndReport(std::shared_ptr<Completion> reported) : completion(std::move(reported)) {}
    EndReport(const EndReport&) = delete;
    EndReport& operator=(const EndReport&) = delete;
    ~EndReport() {
      completion->over = true;
      SetEvent(completion->ended.Get());
    }
    const std::shared_ptr<Completion> completion;
  };
  const auto completion = std::make_shared<Completion>();
  if (!completion->ended) {
    return false;
  }
  {
    auto report = std::make_shared<const EndReport>(completion);
    add(0.0, 0.0, true, true, [&function, report = std::move(report)] {
      runFunction(function);
      report->completion->ran = true;
    });
  }
  while (!completion->over) {
    static_cast<void>(WaitAnswering(completion->ended.Get(), kPollMs));
  }
  return completion->ran;
}

void ThreadTimer::Stop() {
  std::vector<TimerTask> dropped;
  {
    const Access access(*this);
    if (m_state != State::Running) {
      return;
    }
    m_state = State::Stopped;
    dropped.swap(m_tasks);
  }
  m_thread.Join();
}

std::vector<ThreadTimer::TimerTask>::iterator ThreadTimer::find(std::int32_t id) {
  return std::find_if(m_tasks.begin(), m_tasks.end(),
                      [id](const TimerTask& task) { return task.id == id; });
}

void ThreadTimer::run(const Function& farewell) {
  const ComScope com;
  AcquireSRWLockExclusive(&m_lock);
  while (m_state == State::Running) {
    if (m_tasks.empty()) {
      wait(kForever);
    } else {
      runNextTask();
    }
  }
  ReleaseSRWLockExclusive(&m_lock);
  if (farewell) {
    runFunction(farewell);
  }
}

void ThreadTimer::runNextTask() {
  const TimerTask& next = m_tasks.front();
  const std::int64_t now = MonotonicMicros();
  const bool isLateFirst = next.first && next.due < now;
  const bool isFarBehind = next.interval < now - next.due;
  const std::int64_t due = isLateFirst || isFarBehind ? now : next.due;
  if (due > now) {
    wait(due - now);
    return;
  }

  // Back on the heap before it runs, so that it can change itself. The vector has
  // the room.
  std::pop_heap(m_tasks.begin(), m_tasks.end(), IsLater);
  TimerTask& task = m_tasks.back();
  std::shared_ptr<const Function> function = task.function;
  if (task.once) {
    m_tasks.pop_back();
  } else {
    task.due = due + task.interval;
    task.first = false;
    std::push_heap(m_tasks.begin(), m_tasks.end(), IsLater);
  }
  ReleaseSRWLockExclusive(&m_lock);
  runFunction(*function);
  function.reset();
  AcquireSRWLockExclusive(&m_lock);
}

void ThreadTimer::runFunction(const Function& function) {
  RunClosed("a timer task threw", function);
}

void ThreadTimer::wait(std::int64_t micros) {
  // Rounded up: a wait of 0 would spin until the task is due.
  const DWORD milliseconds =
      micros == kForever ? INFINITE : static_cast<DWORD>((micros + 999) / 1000);
  // Woken or timed out, the loop looks again.
  static_cast<void>(SleepConditionVariableSRW(&m_changed, &m_lock, milliseconds, 0));
}

}  // namespace qx
