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

TEST(Errand, LateSignalOfOneRunIsNotTakenForTheEndOfTheNext) {
  OwnClock();
  const HANDLE goOn = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const HANDLE begun = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  {
    Errand errand([=] { WaitForSingleObject(goOn, INFINITE); });
    EXPECT_FALSE(errand.Run(10));
    AtNth("SetEvent", 2, [=] { WaitForSingleObject(begun, INFINITE); });
    SetEvent(goOn);
    Settle();
    EXPECT_FALSE(errand.IsUnderWay());
    AtNth("SetEvent", 1, [=] { SetEvent(begun); });
    EXPECT_FALSE(errand.Run(10));
    EXPECT_TRUE(errand.IsUnderWay());
    SetEvent(goOn);
    Settle();
    SetEvent(goOn);
    EXPECT_TRUE(errand.Run(10));
  }
  CloseHandle(goOn);
  CloseHandle(begun);
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
