#include "platform/model/Faults.h"

#include <virtual_windows.h>

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "platform/model/Scheduler.h"

namespace vwin {
namespace {

struct Plan {
  std::string function;  // empty: every function that can fail
  std::uint64_t n;
  Fault fault;
  Repeat repeat;
  std::uint64_t seen = 0;
  std::optional<std::string> injectedInto = {};
};

// What a test does in the middle of somebody's work.
struct Interruption {
  std::string function;  // empty: every step
  std::uint64_t left;    // calls until it is due
  std::function<void()> action;
};

// Guarded by its own mutex, so that a call is counted before the machine's lock is
// taken.
struct State {
  std::mutex mutex;
  std::vector<CallSite*> sites;
  std::vector<Plan> plans;
  std::vector<Interruption> interruptions;
  bool actionRan = false;  // one at a step
  bool logs = false;
  std::vector<faults::LoggedCall> log;
};

State& TheState() {
  static State* const state = new State;
  return *state;
}

// Whether any call has to look at plans or log.
std::atomic<bool> watching{false};

void UpdateWatching(const State& state) {
  const bool any = state.logs || !state.plans.empty() || !state.interruptions.empty();
  watching.store(any, std::memory_order_release);
}

std::optional<Fault> Meet(Plan& plan, const CallSite& site) {
  if (!plan.function.empty() && plan.function != site.name()) return std::nullopt;
  ++plan.seen;
  const bool due = plan.repeat == Repeat::kOnce ? plan.seen == plan.n : plan.seen >= plan.n;
  if (!due) return std::nullopt;
  plan.injectedInto = site.name();
  return plan.fault;
}

// The calling thread runs an action at a step.
thread_local bool inAction = false;

std::function<void()> asStep(std::function<void()> action) {
  return [action = std::move(action)] {
    inAction = true;
    action();
    inAction = false;
  };
}

// Takes out what is due at this call.
std::vector<std::function<void()>> takeDue(State& state, const CallSite& site) {
  std::vector<std::function<void()>> due;
  std::erase_if(state.interruptions, [&](Interruption& interruption) {
    const bool atStep = interruption.function.empty();
    const bool meets = atStep ? site.isStep() && !inAction : interruption.function == site.name();
    if (!meets || --interruption.left > 0) return false;
    state.actionRan = state.actionRan || atStep;
    due.push_back(atStep ? asStep(std::move(interruption.action)) : std::move(interruption.action));
    return true;
  });
  return due;
}

}  // namespace

std::optional<Fault> CallSite::Enter() {
  if (m_count.fetch_add(1, std::memory_order_relaxed) == 0 && !m_registered.exchange(true)) {
    std::scoped_lock lock(TheState().mutex);
    TheState().sites.push_back(this);
  }
  if (!watching.load(std::memory_order_acquire)) return std::nullopt;

  State& state = TheState();
  std::unique_lock lock(state.mutex);
  if (const auto due = takeDue(state, *this); !due.empty()) {
    UpdateWatching(state);
    lock.unlock();
    for (const auto& action : due) action();
    lock.lock();
  }
  if (state.logs) state.log.push_back({m_name, scheduler::CurrentThreadId()});
  std::optional<Fault> result;
  if (canFail() && !inAction) {
    for (Plan& plan : state.plans) {
      const std::optional<Fault> fault = Meet(plan, *this);
      if (fault && !result) result = fault;
    }
  }
  if (result && result->exception != 0) throw StructuredException{result->exception};
  return result;
}

namespace faults {

std::uint64_t Count(const std::string& function) {
  std::scoped_lock lock(TheState().mutex);
  std::uint64_t count = 0;
  for (const CallSite* site : TheState().sites) {
    if (function == site->name()) count += site->count();
  }
  return count;
}

void ResetCounts() {
  std::scoped_lock lock(TheState().mutex);
  for (CallSite* site : TheState().sites) site->reset();
}

void FailNth(const std::string& function, std::uint64_t n, Fault fault, Repeat repeat) {
  State& state = TheState();
  std::scoped_lock lock(state.mutex);
  for (const CallSite* site : state.sites) {
    if (function == site->name() && !site->canFail()) {
      throw std::invalid_argument(function + " cannot fail on Windows");
    }
  }
  state.plans.push_back({function, n, fault, repeat});
  UpdateWatching(state);
}

void FailNthOfAll(std::uint64_t n, Fault fault) { FailNth({}, n, fault, Repeat::kOnce); }

std::optional<std::string> InjectedInto() {
  std::scoped_lock lock(TheState().mutex);
  for (const Plan& plan : TheState().plans) {
    if (plan.injectedInto) return plan.injectedInto;
  }
  return std::nullopt;
}

void Clear() {
  std::scoped_lock lock(TheState().mutex);
  TheState().plans.clear();
  TheState().interruptions.clear();
  TheState().actionRan = false;
  UpdateWatching(TheState());
}

void AtNth(const std::string& function, std::uint64_t n, std::function<void()> action) {
  State& state = TheState();
  std::scoped_lock lock(state.mutex);
  state.interruptions.push_back({function, n, std::move(action)});
  UpdateWatching(state);
}

void OnNthCall(std::uint64_t n, std::function<void()> action) { AtNth({}, n, std::move(action)); }

bool ActionRan() {
  std::scoped_lock lock(TheState().mutex);
  return TheState().actionRan;
}

void LogCalls(bool on) {
  std::scoped_lock lock(TheState().mutex);
  TheState().logs = on;
  TheState().log.clear();
  UpdateWatching(TheState());
}

std::vector<LoggedCall> LoggedCalls() {
  std::scoped_lock lock(TheState().mutex);
  return TheState().log;
}

}  // namespace faults
}  // namespace vwin
