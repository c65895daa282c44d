// main() of every test program.
#include <gtest/gtest.h>

#include "tests/support/Environment.h"
#include "tests/support/Watchdog.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests)) {
    qx::test::StartWatchdog(std::chrono::seconds(60));
    qx::test::AddListeners();
  }
  return RUN_ALL_TESTS();
}
