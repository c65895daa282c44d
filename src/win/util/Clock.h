#pragma once

#include <cstdint>

namespace qx {

// Microseconds of a clock that never goes back and whose zero means nothing.
std::int64_t MonotonicMicros() noexcept;

// Time of day, UTC, since 1970-01-01. Goes back when the user sets the clock.
std::int64_t SystemMicros() noexcept;
std::uint64_t SystemMillis() noexcept;

// A moment so many milliseconds from its making on.
class Deadline {
 public:
  explicit Deadline(std::uint32_t milliseconds) noexcept
      : m_end(MonotonicMicros() + std::int64_t{milliseconds} * 1000) {}

  // Rounded up, so that a wait does not spin before the end; 0 when that is reached.
  std::uint32_t MillisLeft() const noexcept {
    const std::int64_t left = m_end - MonotonicMicros();
    return left > 0 ? static_cast<std::uint32_t>((left + 999) / 1000) : 0;
  }

 private:
  std::int64_t m_end;
};

}  // namespace qx
