#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>

namespace qx::c {

// A lock whose holder may wait until somebody has changed what it guards, but never
// without an end. For std::lock_guard.
class Gate {
 public:
  Gate() = default;
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
  void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }

  // With the lock held; it is free while this waits. False when `done` is still false
  // after so long.
  template <typename Done>
  bool WaitUntil(std::uint32_t milliseconds, Done done) noexcept {
    const std::int64_t end = nowMillis() + milliseconds;
    while (!done()) {
      const std::int64_t left = end - nowMillis();
      if (left <= 0) {
        return false;
      }
      // The largest value would be a wait without an end.
      const auto step = static_cast<DWORD>(std::min<std::int64_t>(left, INFINITE - 1));
      static_cast<void>(SleepConditionVariableSRW(&m_changed, &m_lock, step, 0));
    }
    return true;
  }

  // After a change.
  void WakeAll() noexcept { WakeAllConditionVariable(&m_changed); }

 private:
  // Of a clock that only moves forward.
  static std::int64_t nowMillis() noexcept {
    LARGE_INTEGER frequency = {};
    LARGE_INTEGER count = {};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    const std::int64_t seconds = count.QuadPart / frequency.QuadPart;
    const std::int64_t rest = count.QuadPart % frequency.QuadPart;
    return seconds * 1000 + rest * 1000 / frequency.QuadPart;
  }

  SRWLOCK m_lock = SRWLOCK_INIT;
  CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;
};

}  // namespace qx::c
