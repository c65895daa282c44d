// How often a message that repeats reaches the host.
#include <gtest/gtest.h>

#include <chrono>

#include "common/Logging.h"
#include "platform/control/Clock.h"
#include "tests/support/ShareRecorder.h"

namespace qx {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

TEST(LogLimiter, OneMessageInFiveSecondsPerStatement) {
  OwnClock();
  const test::LogRecorder log;
  const auto say = [] { QX_LOG_LIMITED(LogLevelWarn, "limited {}", 1); };
  say();
  say();
  Advance(4999ms);
  say();
  EXPECT_EQ(log.Count("limited 1"), 1);
  QX_LOG_LIMITED(LogLevelWarn, "limited {}", 1);
  EXPECT_EQ(log.Count("limited 1"), 2) << "another statement";
  Advance(1ms);
  say();
  say();
  EXPECT_EQ(log.Count("limited 1"), 3);
  SetSystemTime(SystemTime() - 1h);
  say();
  EXPECT_EQ(log.Count("limited 1"), 4) << "after the user set the clock back";
}

}  // namespace
}  // namespace qx
