#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "win/util/Thread.h"

namespace qx {

// The clock of a share: one thread that runs tasks at their times, one after the
// other, so that no two of them overlap. COM is initialised on it, multithreaded.
//
// Pacing. Each run is due one interval after the last one was due. A run that
// took longer is followed at once by the next, and the schedule stays where it
// was, so that the rate catches up; one that is more than a whole interval
// behind gives the missed runs up. A first run is never late.
//
// Threads. All operations but Stop may be called from any thread and from inside a task,
// also for the task itself. No lock is held while a task runs, so they return at once,
// whatever a task is doing; only Run and Stop wait. A run that is in progress while its
// task is changed or removed goes on to its end.
class ThreadTimer {
 public:
  using Function = std::function<void()>;

  // In place of an id: no task.
  static constexpr std::int32_t kNoTask = -1;

  ThreadTimer() = default;
  ThreadTimer(const ThreadTimer&) = delete;
  ThreadTimer& operator=(const ThreadTimer&) = delete;
  ~ThreadTimer() { Stop(); }

  // True when the timer runs afterwards; false when no thread could be started.
  // `farewell` is the last that the thread does, when all tasks are over.
  bool Start(Function farewell = {});

  // Runs `function` after `delayMs`, and then, unless `once`, every `intervalMs`.
  // Answers the id, or kNoTask when a number is negative or not a number,
  // `function` is empty, or ids are used up. Both times are truncated to whole
  // microseconds and cut at 2147483647 of them. May come before Start. A task that
  // is due at once may run before its id is answered.
  std::int32_t AddTask(double delayMs, double intervalMs, bool once, Function function);

  // AddTask for a repeated task; kNoTask also when the timer does not run.
  std::int32_t AddPeriodicTask(double delayMs, double intervalMs, Function function);

  // Do nothing when the timer does not run, or for an id that is not there.
  void RemoveTask(std::int32_t id);
  // The run already due keeps its time; the new interval counts from there. A
  // negative interval changes nothing.
  void SetInterval(std::int32_t id, double intervalMs);
  // Makes the task due now, whatever its time was. Needs no memory.
  void RunSoon(std::int32_t id);

  // Runs `function` once on the timer's thread, after the run in progress, and
  // returns when it has ended. False, without a run, when the timer does not run.
  bool Run(Function function);

  // Whether the caller runs on the timer's thread, in a task.
  bool IsCurrent() const { return m_thread.IsCurrent(); }

  // Waits for the run in progress, drops all tasks and ends the thread. Never
  // from a task. A stopped timer can't be started again. Needs no memory.
  void Stop();

 private:
  struct TimerTask {
    std::int32_t id;
    std::int64_t due;       // monotonic microseconds
    std::int64_t interval;  // microseconds
    bool once;
    // Shared, so that a run can hold on to the callable while the task removes
    // itself, without copying it.
    std::shared_ptr<const Function> function;
    bool first;  // has not run yet
  };
  enum class State { NotStarted, Running, Stopped };
  class Access;

  static bool IsLater(const TimerTask& a, const TimerTask& b);
  std::vector<TimerTask>::iterator find(std::int32_t id);
  std::int32_t add(double delayMs, double intervalMs, bool once, bool mustRun, Function function);

  void run(const Function& farewell);
  void runNextTask();
  static void runFunction(const Function& function);
  // Until something changes, or for at least so long.
  void wait(std::int64_t micros);

  Thread m_thread;
  SRWLOCK m_lock = SRWLOCK_INIT;  // over the next three
  State m_state = State::NotStarted;
  std::vector<TimerTask> m_tasks;  // min-heap on `due`
  std::int32_t m_lastId = 0;
  CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;
};

}  // namespace qx
