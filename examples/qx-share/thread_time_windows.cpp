#include <windows.h>

#include "thread_time.h"

namespace {

double Micros(const FILETIME& time) {
  return (time.dwHighDateTime * 4294967296.0 + time.dwLowDateTime) / 10.0;
}

// `getTimes` is GetThreadTimes or its like.
template <typename GetTimes>
double MicrosOf(GetTimes getTimes, HANDLE whose) {
  FILETIME created;
  FILETIME ended;
  FILETIME kernel;
  FILETIME user;
  return getTimes(whose, &created, &ended, &kernel, &user) ? Micros(kernel) + Micros(user) : 0;
}

}  // namespace

double ThreadMicros() { return MicrosOf(&GetThreadTimes, GetCurrentThread()); }

double ProcessMicros() { return MicrosOf(&GetProcessTimes, GetCurrentProcess()); }
