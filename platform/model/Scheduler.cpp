#include "platform/model/Scheduler.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

namespace vwin {
namespace {

using SteadyClock = std::chrono::steady_clock;
// An owned clock starts here, later than any real clock of a test's first minutes.
constexpr Micros kOwnedStart = 3'600'000'000;
constexpr std::int64_t kOwnedSystemStart = 1'705'312'800'000'000;  // 2024-01-15 10:00 UTC

struct Waiter {
  std::uint32_t thread;
  const char* what;
  const std::function<bool()>& ready;
  std::optional<Micros> deadline;
  bool drives;  // moves an owned clock
  std::condition_variable wake = {};
};

struct Thread {
  std::string name;
  Waiter* waiter = nullptr;
};

struct State {
  std::mutex mutex;
  std::vector<Waiter*> waiters;
  std::map<std::uint32_t, Thread> threads;
  const SteadyClock::time_point start = SteadyClock::now();
  bool owned = false;
  Micros ownedNow = 0;
  std::int64_t ownedSystemOffset = 0;  // wall clock minus ownedNow
  int settling = 0;
  std::chrono::milliseconds patience{30'000};
  std::condition_variable settled;
};

// Never destroyed: threads may outlive main.
State& TheState() {
  static State* const state = new State;
  return *state;
}

std::atomic<std::uint32_t> lastThreadId{0};
thread_local std::uint32_t currentThreadId = 0;

Micros NowOf(const State& state) {
  if (state.owned) return state.ownedNow;
  return std::chrono::duration_cast<std::chrono::microseconds>(SteadyClock::now() - state.start)
      .count();
}

bool CanRun(const State& state, const Waiter& waiter) {
  return waiter.ready() || (waiter.deadline && *waiter.deadline <= NowOf(state));
}

bool IsIdle(const State& state) {
  const auto waits = [](const auto& thread) { return thread.second.waiter != nullptr; };
  const auto canRun = [&](const Waiter* waiter) { return CanRun(state, *waiter); };
  return std::all_of(state.threads.begin(), state.threads.end(), waits) &&
         std::none_of(state.waiters.begin(), state.waiters.end(), canRun);
}

void WakeThoseWhoCanRun(State& state) {
  for (Waiter* waiter : state.waiters) {
    if (CanRun(state, *waiter)) waiter->wake.notify_one();
  }
}

// Called whenever one thread less is running. Time stands still while somebody
// waits for the machine to settle.
void MoveOn(State& state) {
  if ((!state.owned && state.settling == 0) || !IsIdle(state)) return;
  if (state.settling > 0) {
    state.settled.notify_all();
    return;
  }
  bool driven = false;
  std::optional<Micros> next;
  for (const Waiter* waiter : state.waiters) {
    driven = driven || waiter->drives;
    if (waiter->deadline && (!next || *waiter->deadline < *next)) next = waiter->deadline;
  }
  if (!driven || !next) return;
  state.ownedNow = *next;
  WakeThoseWhoCanRun(state);
}

std::string Describe(const State& state) {
  std::string text =
      "time " + std::to_string(NowOf(state)) + " us" + (state.owned ? " (owned clock)\n" : "\n");
  const auto describeWait = [&](const Waiter* waiter) {
    if (waiter == nullptr) return std::string("runs");
    std::string wait = std::string("waits in ") + waiter->what;
    if (waiter->deadline) wait += ", until " + std::to_string(*waiter->deadline) + " us";
    return wait + (CanRun(state, *waiter) ? ", and can go on" : "");
  };
  for (const auto& [id, thread] : state.threads) {
    text += "thread " + std::to_string(id) + " \"" + thread.name + "\" " +
            describeWait(thread.waiter) + "\n";
  }
  for (const Waiter* waiter : state.waiters) {
    if (state.threads.count(waiter->thread) != 0) continue;
    text +=
        "thread " + std::to_string(waiter->thread) + " (unknown) " + describeWait(waiter) + "\n";
  }
  return text;
}

[[noreturn]] void AbortHung(const State& state, const char* what) {
  std::fprintf(stderr, "virtual Windows hangs: %s took more than %lld ms\n%s", what,
               static_cast<long long>(state.patience.count()), Describe(state).c_str());
  std::abort();
}

bool WaitFor(Lock& lock, const char* what, const std::function<bool()>& ready,
             std::optional<Micros> deadline) {
  State& state = TheState();
  if (ready()) return true;
  if (deadline && *deadline <= NowOf(state)) return false;

  const auto known = state.threads.find(scheduler::CurrentThreadId());
  const bool isKnown = known != state.threads.end();
  Waiter self{scheduler::CurrentThreadId(), what, ready, deadline, !isKnown};
  if (isKnown) known->second.waiter = &self;
  state.waiters.push_back(&self);
  const SteadyClock::time_point patienceEnd = SteadyClock::now() + state.patience;

  bool result = false;
  for (;;) {
    MoveOn(state);
    result = ready();
    if (result || (deadline && *deadline <= NowOf(state))) break;
    auto end = SteadyClock::time_point::max();
    if (!isKnown) end = patienceEnd;
    if (deadline && !state.owned) {
      end = std::min(end, state.start + std::chrono::microseconds(*deadline));
    }
    if (end == SteadyClock::time_point::max()) {
      self.wake.wait(lock.native());
    } else {
      self.wake.wait_until(lock.native(), end);
    }
    if (!isKnown && SteadyClock::now() >= patienceEnd && !CanRun(state, self)) {
      AbortHung(state, what);
    }
  }
  state.waiters.erase(std::find(state.waiters.begin(), state.waiters.end(), &self));
  if (isKnown) known->second.waiter = nullptr;
  return result;
}

void SettleLocked(Lock& lock, const char* what) {
  State& state = TheState();
  const SteadyClock::time_point patienceEnd = SteadyClock::now() + state.patience;
  ++state.settling;
  MoveOn(state);
  while (!IsIdle(state)) {
    state.settled.wait_until(lock.native(), patienceEnd);
    if (SteadyClock::now() >= patienceEnd) AbortHung(state, what);
  }
  if (--state.settling == 0) MoveOn(state);  // on behalf of unknown threads
}

void RequireOwnedClock(const State& state, const char* what) {
  if (!state.owned) throw std::logic_error(std::string(what) + " needs OwnClock first");
}

void RequireUnknownThread(const State& state, const char* what) {
  if (state.threads.count(scheduler::CurrentThreadId()) != 0) {
    throw std::logic_error(std::string(what) + " on a thread of the machine");
  }
}

}  // namespace

Lock::Lock() : m_lock(TheState().mutex) {}
Lock::~Lock() = default;

namespace scheduler {

bool WaitUntil(Lock& lock, const char* what, const std::function<bool()>& ready,
               std::optional<Micros> deadline) {
  return WaitFor(lock, what, ready, deadline);
}

void Changed() { WakeThoseWhoCanRun(TheState()); }

std::uint32_t NewThreadId(Lock&) { return ++lastThreadId; }

void AnnounceThread(Lock&, std::uint32_t id) { TheState().threads[id]; }

void WithdrawThread(Lock&, std::uint32_t id) {
  TheState().threads.erase(id);
  MoveOn(TheState());
}

void EnterThread(std::uint32_t id) {
  Lock lock;
  currentThreadId = id;
  AnnounceThread(lock, id);
}

void LeaveThread() {
  Lock lock;
  WithdrawThread(lock, CurrentThreadId());
}

void SetThreadName(Lock&, std::uint32_t id, std::string name) {
  const auto thread = TheState().threads.find(id);
  if (thread != TheState().threads.end()) thread->second.name = std::move(name);
}

std::vector<std::string> ThreadNames(Lock&) {
  std::vector<std::string> names;
  for (const auto& [id, thread] : TheState().threads) names.push_back(thread.name);
  return names;
}

std::uint32_t CurrentThreadId() {
  if (currentThreadId == 0) currentThreadId = ++lastThreadId;
  return currentThreadId;
}

Micros Now(Lock&) { return NowOf(TheState()); }

std::int64_t PerformanceCounter(Lock& lock) { return Now(lock) * kCountsPerMicro; }

std::int64_t SystemMicros(Lock&) {
  const State& state = TheState();
  if (state.owned) return state.ownedNow + state.ownedSystemOffset;
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

void OwnClock() {
  Lock lock;
  State& state = TheState();
  if (state.owned) return;
  state.owned = true;
  state.ownedNow = kOwnedStart;
  state.ownedSystemOffset = kOwnedSystemStart - kOwnedStart;
  // Those who wait do it by the new clock from now on.
  for (Waiter* waiter : state.waiters) waiter->wake.notify_one();
}

void Advance(Micros by) {
  Lock lock;
  State& state = TheState();
  RequireOwnedClock(state, "Advance");
  RequireUnknownThread(state, "Advance");
  SettleLocked(lock, "Advance");
  WaitFor(
      lock, "Advance", [] { return false; }, state.ownedNow + by);
  SettleLocked(lock, "Advance");
}

void Settle() {
  Lock lock;
  RequireUnknownThread(TheState(), "Settle");
  SettleLocked(lock, "Settle");
}

void Spend(Micros by) {
  Lock lock;
  RequireOwnedClock(TheState(), "Spend");
  WaitFor(
      lock, "Spend", [] { return false; }, TheState().ownedNow + by);
}

void SetSystemMicros(std::int64_t micros) {
  Lock lock;
  RequireOwnedClock(TheState(), "SetSystemMicros");
  TheState().ownedSystemOffset = micros - TheState().ownedNow;
}

void SetPatience(std::chrono::milliseconds patience) {
  Lock lock;
  TheState().patience = patience;
}

std::string DescribeThreads() {
  Lock lock;
  return Describe(TheState());
}

}  // namespace scheduler
}  // namespace vwin
