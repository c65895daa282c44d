// The owned clock.
#include "platform/control/Clock.h"

#include <chrono>
#include <string>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace {

using namespace std::chrono_literals;
using namespace vwin::control;
using Lines = std::vector<std::string>;
using qx::test::TestEvent;
using qx::test::TestThread;
using std::chrono::microseconds;

}  // namespace

TEST(OwnedClock, RunsAPingPongThroughAConditionVariableTheSameWayEveryTime) {
  OwnClock();
  for (int round = 0; round < 50; ++round) {
    const microseconds start = Now();
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
    bool served = false;
    Lines diary;  // what happened, and when; under the lock
    const auto note = [&](const std::string& what) {
      diary.push_back(what + " " + std::to_string((Now() - start) / 1ms));
    };
    {
      TestThread ping([&] {
        for (int i = 0; i < 3; ++i) {
          Sleep(10);
          AcquireSRWLockExclusive(&lock);
          note("ping");
          served = true;
          WakeAllConditionVariable(&changed);
          ReleaseSRWLockExclusive(&lock);
        }
      });
      TestThread pong([&] {
        AcquireSRWLockExclusive(&lock);
        for (int i = 0; i < 3; ++i) {
          while (!served) {
            if (SleepConditionVariableSRW(&changed, &lock, 4, 0) == FALSE) note("late");
          }
          served = false;
          note("pong");
        }
        ReleaseSRWLockExclusive(&lock);
      });
      Settle();
      ASSERT_EQ(Lines{}, diary) << "time stands still";
      Advance(30ms);
    }
    ASSERT_EQ((Lines{"late 4", "late 8", "ping 10", "pong 10", "late 14", "late 18", "ping 20",
                     "pong 20", "late 24", "late 28", "ping 30", "pong 30"}),
              diary)
        << "in round " << round;
  }
}

TEST(OwnedClockDeathTest, SaysWhereEachThreadStandsWhenTheTestHangs) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const auto hang = [] {
    OwnClock();
    SetPatience(50ms);
    TestEvent never;
    TestThread stuck([&] { never.Wait(); });
    WaitForSingleObject(stuck.handle(), INFINITE);
  };
  EXPECT_DEATH(hang(),
               "WaitForSingleObject took more than 50 ms(.|\n)*"
               "thread [0-9]+ \"\" waits in WaitForSingleObject");
}
