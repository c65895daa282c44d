#include <windows.h>

#include "thread_time.h"

namespace {

double Micros(const FILETIME& time) {
  return (time.dwHighDateTime * 4294967296.0 + time.dwLowDateTime) / 10.0;
}

}  // namespace

double ThreadMicros() {
  FILETIME created;
  FILETIME ended;
  FILETIME kernel;
  FILETIME user;
  if (!GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user)) {
    return 0;
  }
  return Micros(kernel) + Micros(user);
}

double ProcessMicros() {
  FILETIME created;
  FILETIME ended;
  FILETIME kernel;
  FILETIME user;
  if (!GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user)) {
    return 0;
  }
  return Micros(kernel) + Micros(user);
}
