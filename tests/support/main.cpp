// main() of every test program.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tests/support/Environment.h"

namespace {

// Ends the process with a failure when it runs longer than that.
void startWatchdog(std::chrono::seconds limit) {
  std::thread([limit] {
    std::this_thread::sleep_for(limit);
    std::fprintf(stderr, "watchdog: not finished after %lld seconds\n",
                 static_cast<long long>(limit.count()));
    qx::test::PrintThreads();
    std::fflush(stderr);
    std::_Exit(3);
  }).detach();
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests)) {
    startWatchdog(std::chrono::seconds(60));
    qx::test::AddListeners();
  }
  return RUN_ALL_TESTS();
}
