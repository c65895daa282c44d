#pragma once

#include <cstdint>

namespace qx {

// Microseconds of a clock that never goes back and whose zero means nothing.
std::int64_t MonotonicMicros() noexcept;

// Time of day, UTC, since 1970-01-01. Goes back when the user sets the clock.
std::int64_t SystemMicros() noexcept;
std::uint64_t SystemMillis() noexcept;

}  // namespace qx
