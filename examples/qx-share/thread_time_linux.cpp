#include <ctime>

#include "thread_time.h"

namespace {

double Micros(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

}  // namespace

double ThreadMicros() { return Micros(CLOCK_THREAD_CPUTIME_ID); }

double ProcessMicros() { return Micros(CLOCK_PROCESS_CPUTIME_ID); }
