// The machine's lock, clock and threads.
//
// Every fact of the virtual machine is guarded by one mutex, taken with
// `Lock lock;`. A thread that waits for anything (an event, a message, a
// condition variable, another thread's end) waits here, with a predicate over
// those facts. That is what makes an owned clock possible: the machine is quiet
// when every thread it knows waits for something that is not yet true, and only
// then does time move on.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vwin {

// Microseconds since the machine started (monotonic).
using Micros = std::int64_t;

// Holds the machine's mutex for a scope. Not recursive.
class Lock {
 public:
  Lock();
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  std::unique_lock<std::mutex>& native() { return m_lock; }

 private:
  std::unique_lock<std::mutex> m_lock;
};

namespace scheduler {

// ------------------------------------------------------------------- waiting

// Waits until `ready` is true (returns true) or the clock reaches `deadline`
// (returns false). `ready` is called with the machine's lock held, also by other
// threads, and must only read. `what`, a string literal, names the wait for the
// watchdog.
//
// The machine never waits for a thread that it does not know, such as a test's main
// thread. Under an owned clock such a thread's wait moves time instead: whenever the
// machine is quiet, to the next deadline, until the wait is over.
bool WaitUntil(Lock& lock, const char* what, const std::function<bool()>& ready,
               std::optional<Micros> deadline = std::nullopt);

// To be called with the lock held after a fact changed that somebody may wait for.
void Changed();

// ------------------------------------------------------------------- threads

// Registers the calling thread as one of the machine's until LeaveThread. The
// machine is not quiet while a registered thread runs. `AnnounceThread` is called
// by the creator before the thread runs, so that there is no gap; `WithdrawThread`
// when it could not be started after all.
std::uint32_t NewThreadId(Lock& lock);
void AnnounceThread(Lock& lock, std::uint32_t id);
void WithdrawThread(Lock& lock, std::uint32_t id);
void EnterThread(std::uint32_t id);
void LeaveThread();
void SetThreadName(Lock& lock, std::uint32_t id, std::string name);
// Names of the registered threads, "" for one without.
std::vector<std::string> ThreadNames(Lock& lock);

// Id of the calling thread: small numbers, 1 for the first thread that asks.
std::uint32_t CurrentThreadId();

// --------------------------------------------------------------------- clock

Micros Now(Lock& lock);
// The performance counter: 10 MHz, as on Windows 10.
std::int64_t PerformanceCounter(Lock& lock);
inline constexpr std::int64_t kCountsPerMicro = 10;
// Microseconds since 1970-01-01 UTC.
std::int64_t SystemMicros(Lock& lock);

// --------------------------------- the test side; reached through control/Clock.h
//
// The watchdog: Advance, Settle and any wait of a thread that the machine does not
// know abort the process after 30 s of real time (or SetPatience), saying where each
// thread stands.

// From now on time stands still but for Advance and waits of unknown threads.
// The owned clock starts at fixed times, whatever the real ones are.
void OwnClock();
// Moves an owned clock forward, stopping at each deadline on the way until the
// machine is quiet again.
void Advance(Micros by);
// Waits until the machine is quiet, without moving the clock.
void Settle();
// Keeps the calling thread, one of the machine's, busy until an owned clock has
// moved so far. To the machine it is a wait like any other: time moves by Advance.
void Spend(Micros by);
// Sets the wall clock of an owned clock, forwards or backwards.
void SetSystemMicros(std::int64_t micros);
void SetPatience(std::chrono::milliseconds patience);
// One line for each thread of the machine: name, what it waits for.
std::string DescribeThreads();

}  // namespace scheduler
}  // namespace vwin
