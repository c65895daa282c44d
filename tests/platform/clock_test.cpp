// The owned clock.
#include "platform/control/Clock.h"

#include <chrono>
#include <utility>

#include "tests/platform/TestWindow.h"

namespace {

using namespace std::chrono_literals;
using namespace vwin::control;
using Lines = std::vector<std::string>;
using qx::test::TestEvent;
using qx::test::TestThread;
using std::chrono::microseconds;

// What happened, and when since the test took the clock. The machine runs one thread
// at a time in these tests, but for starts and ends.
class Diary {
 public:
  void Note(const std::string& what) {
    AcquireSRWLockExclusive(&m_lock);
    m_lines.push_back(what + " " + std::to_string((Now() - m_start) / 1ms));
    ReleaseSRWLockExclusive(&m_lock);
  }
  Lines Take() {
    AcquireSRWLockExclusive(&m_lock);
    Lines lines = std::exchange(m_lines, {});
    ReleaseSRWLockExclusive(&m_lock);
    return lines;
  }

 private:
  const microseconds m_start = (OwnClock(), Now());
  SRWLOCK m_lock = SRWLOCK_INIT;
  Lines m_lines;
};

}  // namespace

TEST(OwnedClock, RunsAPingPongThroughAConditionVariableTheSameWayEveryTime) {
  for (int round = 0; round < 50; ++round) {
    Diary diary;
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
    bool served = false;
    {
      TestThread ping([&] {
        for (int i = 0; i < 3; ++i) {
          Sleep(10);
          AcquireSRWLockExclusive(&lock);
          diary.Note("ping");
          served = true;
          WakeAllConditionVariable(&changed);
          ReleaseSRWLockExclusive(&lock);
        }
      });
      TestThread pong([&] {
        AcquireSRWLockExclusive(&lock);
        for (int i = 0; i < 3; ++i) {
          while (!served) {
            if (SleepConditionVariableSRW(&changed, &lock, 4, 0) == FALSE) diary.Note("late");
          }
          served = false;
          diary.Note("pong");
        }
        ReleaseSRWLockExclusive(&lock);
      });
      Settle();
      ASSERT_EQ(Lines{}, diary.Take()) << "time stands still";
      Advance(30ms);
    }
    ASSERT_EQ((Lines{"late 4", "late 8", "ping 10", "pong 10", "late 14", "late 18", "ping 20",
                     "pong 20", "late 24", "late 28", "ping 30", "pong 30"}),
              diary.Take())
        << "in round " << round;
  }
}

TEST(OwnedClock, StopsAtEveryDeadlineOnTheWay) {
  Diary diary;
  TestEvent stop;
  const auto every = [&](DWORD time, const char* name) {
    return [&, time, name] {
      while (WaitForSingleObject(stop.handle, time) == DWORD{WAIT_TIMEOUT}) diary.Note(name);
    };
  };
  TestThread every30(every(30, "a"));
  TestThread every50(every(50, "b"));
  Advance(29ms);
  EXPECT_EQ(Lines{}, diary.Take());
  Advance(100ms);
  EXPECT_EQ((Lines{"a 30", "b 50", "a 60", "a 90", "b 100", "a 120"}), diary.Take());
  stop.Set();
}

TEST(OwnedClock, MovesByItselfWhenTheTestsOwnThreadWaits) {
  OwnClock();
  const microseconds start = Now();
  TestEvent event;
  EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(event.handle, 60'000));
  EXPECT_EQ(start + 60s, Now());
  // Also for a wait without end, as long as somebody else has a deadline.
  TestThread setter([&] {
    Sleep(5000);
    event.Set();
  });
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event.handle, INFINITE));
  EXPECT_EQ(start + 65s, Now());
}

TEST(OwnedClock, ShowsInEveryWindowsClock) {
  OwnClock();
  LARGE_INTEGER frequency{}, before{}, after{};
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&before);
  SetSystemTime(microseconds(1'700'000'000'000'000));
  Advance(1500ms);
  QueryPerformanceCounter(&after);
  EXPECT_EQ(frequency.QuadPart * 3 / 2, after.QuadPart - before.QuadPart);

  FILETIME time{};
  GetSystemTimeAsFileTime(&time);
  const auto ticks = (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
  EXPECT_EQ((1'700'000'001'500'000u + 11'644'473'600'000'000u) * 10, ticks);
  SetSystemTime(SystemTime() - 1h);
  Advance(1ms);
  EXPECT_EQ(microseconds(1'700'000'001'501'000) - 1h, SystemTime());
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
