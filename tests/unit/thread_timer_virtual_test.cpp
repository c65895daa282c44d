// When a timer runs its tasks, and who waits for whom. The tests own the clock;
// waits of the timer end on whole milliseconds of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "tests/support/ShareRecorder.h"
#include "win/task/ThreadTimer.h"
#include "win/util/Clock.h"

namespace qx {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;

class ThreadTimerTest : public testing::Test {
 protected:
  ThreadTimerTest() {
    OwnClock();
    EXPECT_TRUE(timer.Start());
    Settle();
    begin = MonotonicMicros();
  }

  std::int64_t elapsedMs() const { return (MonotonicMicros() - begin) / 1000; }

  // Runs that are due now come first; they may move the clock themselves.
  void advanceTo(std::int64_t ms) {
    Settle();
    Advance(std::chrono::milliseconds(ms - elapsedMs()));
  }

  // A task that notes when each run starts, in milliseconds since the test's
  // begin, and then keeps the thread busy for as long as `busy` says for the run.
  std::int32_t addRecorder(double intervalMs, std::vector<std::chrono::milliseconds> busy = {}) {
    return timer.AddPeriodicTask(0, intervalMs, [this, busy = std::move(busy)] {
      runs.push_back(elapsedMs());
      if (runs.size() <= busy.size() && busy[runs.size() - 1] > 0ms) {
        Spend(busy[runs.size() - 1]);
      }
    });
  }

  std::int64_t begin = 0;
  std::vector<std::int64_t> runs;  // read when the machine is quiet
  ThreadTimer timer;
};

using Times = std::vector<std::int64_t>;

TEST_F(ThreadTimerTest, OverrunsAreCaughtUpByOneRunAtMost) {
  using Durations = std::vector<std::chrono::milliseconds>;
  for (const auto& [busy, expected] :
       {std::pair{Durations{0ms, 150ms}, Times{0, 100, 250, 300, 400, 500}},
        {Durations{200ms}, Times{0, 200, 200, 300, 400, 500}},
        {Durations{330ms}, Times{0, 330, 430, 530}}}) {
    begin = MonotonicMicros();
    runs.clear();
    const std::int32_t id = addRecorder(100, busy);
    advanceTo(550);
    timer.RemoveTask(id);
    EXPECT_EQ(runs, expected);
  }
}

TEST_F(ThreadTimerTest, FirstRunIsNeverLate) {
  timer.AddTask(0, 0, true, [this] {
    addRecorder(100);  // due at once, but this task keeps the thread busy
    Spend(60ms);
  });
  advanceTo(300);
  EXPECT_EQ(runs, (Times{60, 160, 260}));
}

TEST_F(ThreadTimerTest, NewIntervalCountsFromTheRunThatWasDue) {
  const std::int32_t id = addRecorder(100);
  Advance(150ms);
  timer.SetInterval(id, 30);
  timer.SetInterval(id, -1);
  Advance(120ms);
  EXPECT_EQ(runs, (Times{0, 100, 200, 230, 260}));
}

TEST_F(ThreadTimerTest, ThrowingTaskGoesOn) {
  const test::LogRecorder log;
  int count = 0;
  timer.AddPeriodicTask(0, 100, [&] {
    if (++count == 1) {
      throw std::runtime_error("bad frame");
    }
    if (count == 2) {
      throw 5;
    }
  });
  Advance(250ms);
  EXPECT_EQ(count, 3);
  EXPECT_TRUE(log.Has(5, "a timer task threw:bad frame")) << log.Dump();
  EXPECT_TRUE(log.Has(5, "a timer task threw")) << log.Dump();
}

TEST_F(ThreadTimerTest, NobodyButRunWaitsForTheRunInProgress) {
  const std::int32_t id = addRecorder(100, {500ms});
  Settle();
  const std::int32_t other = timer.AddTask(1000, 1000, false, [this] { runs.push_back(-1); });
  timer.SetInterval(id, 50);
  timer.RunSoon(other);
  timer.RunSoon(other);
  EXPECT_EQ(elapsedMs(), 0);
  EXPECT_EQ(runs, Times{0});
  EXPECT_TRUE(timer.Run([this] { runs.push_back(-2); }));
  EXPECT_EQ(elapsedMs(), 500);
  EXPECT_EQ(std::count(runs.begin(), runs.end(), -1), 1) << "once, as soon as it can be";
  EXPECT_EQ(std::count(runs.begin(), runs.end(), -2), 1);
}

TEST_F(ThreadTimerTest, RemovedAndStoppedTasksLetGoOfWhatTheyHold) {
  auto first = std::make_shared<int>(0);
  auto second = std::make_shared<int>(0);
  const std::int32_t id = timer.AddPeriodicTask(0, 100, [first] { ++*first; });
  timer.AddPeriodicTask(0, 100, [second] { ++*second; });
  Advance(250ms);
  timer.RemoveTask(id);
  EXPECT_EQ(first.use_count(), 1) << "when RemoveTask returns";
  Advance(100ms);
  timer.Stop();
  EXPECT_EQ(second.use_count(), 1);
  EXPECT_EQ(*first, 3);
  EXPECT_EQ(*second, 4);
}

TEST_F(ThreadTimerTest, FirstComesWhatWasAddedBeforeTheStartAndLastTheFarewell) {
  ThreadTimer other;
  Times order;
  other.AddTask(20, 5, true, [&] { order.push_back(2); });
  other.AddTask(10, 5, true, [&] { order.push_back(1); });
  FailNth("CreateThread", 1);
  EXPECT_FALSE(other.Start());
  ASSERT_TRUE(other.Start([&] { order.push_back(other.IsCurrent() ? 3 : 0); }));
  Advance(1s);
  other.Stop();
  EXPECT_EQ(order, (Times{1, 2, 3}));
  EXPECT_FALSE(other.Run([&] { order.push_back(4); }));
}

}  // namespace
}  // namespace qx
