#include "win/util/Clock.h"

#include <windows.h>

#include "win/util/Utils.h"

namespace qx {

namespace {

// 1601-01-01 to 1970-01-01 in the 100 ns units of FILETIME.
constexpr std::int64_t kUnixEpoch = 116444736000000000;

std::int64_t TicksPerSecond() {
  LARGE_INTEGER frequency = {};
  QueryPerformanceFrequency(&frequency);
  return frequency.QuadPart;
}

using ReadTime = void(WINAPI*)(FILETIME*);

// The precise clock came with Windows 8; the other one has the grain of a timer
// tick.
ReadTime FindSystemClock() {
  // A failed look-up sets the last error, which the caller may be about to log.
  const DWORD lastError = GetLastError();
  const auto precise =
      FindFunction<ReadTime>(GetModuleHandleA("kernel32.dll"), "GetSystemTimePreciseAsFileTime");
  SetLastError(lastError);
  return precise ? precise : &GetSystemTimeAsFileTime;
}

}  // namespace

std::int64_t MonotonicMicros() noexcept {
  static const std::int64_t ticksPerSecond = TicksPerSecond();
  LARGE_INTEGER ticks = {};
  QueryPerformanceCounter(&ticks);
  const std::int64_t seconds = ticks.QuadPart / ticksPerSecond;
  const std::int64_t rest = ticks.QuadPart % ticksPerSecond;
  return seconds * 1000000 + rest * 1000000 / ticksPerSecond;
}

std::int64_t SystemMicros() noexcept {
  static const ReadTime readTime = FindSystemClock();
  FILETIME time = {};
  readTime(&time);
  const std::uint64_t units =
      (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
  return (static_cast<std::int64_t>(units) - kUnixEpoch) / 10;
}

std::uint64_t SystemMillis() noexcept { return static_cast<std::uint64_t>(SystemMicros()) / 1000; }

}  // namespace qx
