// The test side of calls: counting them, failing them, logging them.
//
// Functions go by their names, those of COM interfaces as
// "IDXGIOutput1::DuplicateOutput". Calls that can't fail on Windows are counted and
// logged, but never chosen to fail.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/model/Faults.h"

namespace vwin::control {

// What a failing call says: out of memory unless a test says otherwise.
inline constexpr Fault kOutOfMemory{8, static_cast<std::int32_t>(0x8007000E)};

// Calls that raise a structured exception.
inline constexpr Fault kAccessViolation{0, 0, 0xC0000005};
inline constexpr Fault kNotImplemented{0, 0, 0x80000100};  // Wine's, of a function without body

using faults::LoggedCall;
using vwin::Repeat;

// Calls since the process started or ResetCounts.
std::uint64_t Count(const std::string& function);
void ResetCounts();

// The n-th call (from 1) from now on fails; with kOnward all later ones as well.
void FailNth(const std::string& function, std::uint64_t n, Fault fault = kOutOfMemory,
             Repeat repeat = Repeat::kOnce);
// The n-th of all calls that can fail, whichever it is.
void FailNthOfAll(std::uint64_t n, Fault fault = kOutOfMemory);
// The function whose call was made to fail since ClearFaults; nothing when none was.
std::optional<std::string> InjectedInto();
// Forgets all plans and actions.
void ClearFaults();

// Runs `action` at the start of the n-th call (from 1) from now on, once, on the
// thread that calls and without a lock: for what happens in the middle of a tick.
// It may use every control but those that move time.
void AtNth(const std::string& function, std::uint64_t n, std::function<void()> action);

// The same at the n-th of all calls that can fail or wait for another thread: raised one
// by one, it meets every one. Calls in the action don't count.
void OnNthCall(std::uint64_t n, std::function<void()> action);
// Whether it came to that since ClearFaults.
bool ActionRan();

// Switching the log on or off empties it. Calls are in the order in which they began.
void LogCalls(bool on);
std::vector<LoggedCall> LoggedCalls();

}  // namespace vwin::control
