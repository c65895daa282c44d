#include <gtest/gtest.h>

#include <chrono>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "win/util/Errand.h"
#include "win/util/Wait.h"

namespace qx {
namespace {

using namespace vwin::control;

TEST(WaitAnsweringTest, GoesOnWhenTheSystemRefusesToWait) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  for (const bool set : {false, true}) {
    if (set) {
      SetEvent(event);
    }
    FailNth("MsgWaitForMultipleObjectsEx", 1);
    EXPECT_EQ(WaitAnswering(event, 20), set);
    EXPECT_TRUE(InjectedInto());
    ClearFaults();
  }
  CloseHandle(event);
}

TEST(Errand, EndsItsThreadWhenTheSystemRefusesEverySignal) {
  OwnClock();
  FailNth("SetEvent", 1, kOutOfMemory, vwin::Repeat::kOnward);
  EXPECT_FALSE(RunWithin(kPatienceMs, [] {}));
  ClearFaults();
  Advance(std::chrono::seconds(2));
  EXPECT_TRUE(ThreadNames().empty());
}

}  // namespace
}  // namespace qx
