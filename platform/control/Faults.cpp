#include "platform/control/Faults.h"

#include <utility>

namespace vwin::control {

std::uint64_t Count(const std::string& function) { return faults::Count(function); }
void ResetCounts() { faults::ResetCounts(); }

void FailNth(const std::string& function, std::uint64_t n, Fault fault, Repeat repeat) {
  faults::FailNth(function, n, fault, repeat);
}
void FailNthOfAll(std::uint64_t n, Fault fault) { faults::FailNthOfAll(n, fault); }
std::optional<std::string> InjectedInto() { return faults::InjectedInto(); }
void ClearFaults() { faults::Clear(); }

void AtNth(const std::string& function, std::uint64_t n, std::function<void()> action) {
  faults::AtNth(function, n, std::move(action));
}

void OnNthCall(std::uint64_t n, std::function<void()> action) {
  faults::OnNthCall(n, std::move(action));
}
bool ActionRan() { return faults::ActionRan(); }

void LogCalls(bool on) { faults::LogCalls(on); }
std::vector<LoggedCall> LoggedCalls() { return faults::LoggedCalls(); }

}  // namespace vwin::control
