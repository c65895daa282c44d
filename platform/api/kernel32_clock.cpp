#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/Modules.h"
#include "platform/model/Scheduler.h"

using namespace vwin;

namespace {

FILETIME SystemTime() {
  constexpr std::int64_t kFrom1601To1970 = 11'644'473'600'000'000;  // microseconds
  Lock lock;
  const auto ticks =
      static_cast<std::uint64_t>((scheduler::SystemMicros(lock) + kFrom1601To1970) * 10);
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace

BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* count) {
  VWIN_CALL_INFALLIBLE(QueryPerformanceCounter);
  Lock lock;
  count->QuadPart = scheduler::PerformanceCounter(lock);
  return TRUE;
}

BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
  VWIN_CALL_INFALLIBLE(QueryPerformanceFrequency);
  frequency->QuadPart = 1'000'000 * scheduler::kCountsPerMicro;
  return TRUE;
}

void WINAPI GetSystemTimeAsFileTime(LPFILETIME time) {
  VWIN_CALL_INFALLIBLE(GetSystemTimeAsFileTime);
  *time = SystemTime();
}

void WINAPI GetSystemTimePreciseAsFileTime(LPFILETIME time) {
  VWIN_CALL_INFALLIBLE(GetSystemTimePreciseAsFileTime);
  *time = SystemTime();
}
