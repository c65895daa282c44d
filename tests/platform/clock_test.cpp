// The owned clock.
#include "platform/control/Clock.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace {

using namespace std::chrono_literals;
using namespace vwin::control;
using qx::test::TestThread;
using std::chrono::microseconds;

// What happened, and when since the test took the clock. The machine runs one thread
// at a time in these tests, but for starts and ends.
class Diary {
 public:
  Diary() {
    OwnClock();
    m_start = Now();
  }
  void Note(const std::string& what) {
    AcquireSRWLockExclusive(&m_lock);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Now() - m_start);
    m_lines.push_back(what + " " + std::to_string(ms.count()));
    ReleaseSRWLockExclusive(&m_lock);
  }
  std::vector<std::string> Lines() {
    AcquireSRWLockExclusive(&m_lock);
    std::vector<std::string> lines = std::move(m_lines);
    m_lines.clear();
    ReleaseSRWLockExclusive(&m_lock);
    return lines;
  }

 private:
  microseconds m_start{};
  SRWLOCK m_lock = SRWLOCK_INIT;
  std::vector<std::string> m_lines;
};

using Lines = std::vector<std::string>;

}  // namespace

TEST(OwnedClock, RunsAPingPongThroughAConditionVariableTheSameWayEveryTime) {
  Diary diary;
  for (int round = 0; round < 50; ++round) {
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
    bool served = false;
    const microseconds start = Now();
    Lines lines;
    const auto note = [&](const char* what) {
      lines.push_back(what + std::to_string((Now() - start) / 1ms));
    };
    {
      TestThread ping([&] {
        AcquireSRWLockExclusive(&lock);
        for (int i = 0; i < 3; ++i) {
          ReleaseSRWLockExclusive(&lock);
          Sleep(10);
          AcquireSRWLockExclusive(&lock);
          note("ping ");
          served = true;
          WakeAllConditionVariable(&changed);
        }
        ReleaseSRWLockExclusive(&lock);
      });
      TestThread pong([&] {
        AcquireSRWLockExclusive(&lock);
        for (int i = 0; i < 3; ++i) {
          while (!served) {
            if (SleepConditionVariableSRW(&changed, &lock, 4, 0) == FALSE) note("late ");
          }
          served = false;
          note("pong ");
        }
        ReleaseSRWLockExclusive(&lock);
      });
      Settle();
      ASSERT_TRUE(lines.empty()) << "time stands still";
      Advance(30ms);
    }
    ASSERT_EQ((Lines{"late 4", "late 8", "ping 10", "pong 10", "late 14", "late 18", "ping 20",
                     "pong 20", "late 24", "late 28", "ping 30", "pong 30"}),
              lines)
        << "in round " << round;
  }
}

TEST(OwnedClock, StopsAtEveryDeadlineOnTheWay) {
  Diary diary;
  const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  {
    TestThread every30([&] {
      while (WaitForSingleObject(stop, 30) == DWORD{WAIT_TIMEOUT}) diary.Note("a");
    });
    TestThread every50([&] {
      while (WaitForSingleObject(stop, 50) == DWORD{WAIT_TIMEOUT}) diary.Note("b");
    });
    Advance(29ms);
    EXPECT_EQ(Lines{}, diary.Lines());
    Advance(100ms);
    EXPECT_EQ((Lines{"a 30", "b 50", "a 60", "a 90", "b 100", "a 120"}), diary.Lines());
    SetEvent(stop);
  }
  CloseHandle(stop);
}

TEST(OwnedClock, MovesByItselfWhenTheTestsOwnThreadWaits) {
  OwnClock();
  const microseconds start = Now();
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(event, 60'000));
  EXPECT_EQ(start + 60s, Now());
  {
    // Also for a wait without end, as long as somebody else has a deadline.
    TestThread setter([&] {
      Sleep(5000);
      SetEvent(event);
    });
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, INFINITE));
  }
  EXPECT_EQ(start + 65s, Now());
  CloseHandle(event);
}

TEST(OwnedClock, ShowsInEveryWindowsClock) {
  OwnClock();
  LARGE_INTEGER frequency{};
  LARGE_INTEGER before{};
  LARGE_INTEGER after{};
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
    const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    TestThread stuck([&] { WaitForSingleObject(never, INFINITE); });
    WaitForSingleObject(stuck.handle(), INFINITE);
  };
  EXPECT_DEATH(hang(),
               "WaitForSingleObject took more than 50 ms(.|\n)*"
               "thread [0-9]+ \"\" waits in WaitForSingleObject");
}
