#include "tests/support/Watchdog.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace qx::test {

void StartWatchdog(std::chrono::seconds limit) {
  std::thread([limit] {
    std::this_thread::sleep_for(limit);
    std::fprintf(stderr, "watchdog: not finished after %lld seconds\n",
                 static_cast<long long>(limit.count()));
    PrintThreads();
    std::fflush(stderr);
    std::_Exit(3);
  }).detach();
}

}  // namespace qx::test
