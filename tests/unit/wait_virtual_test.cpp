#include <gtest/gtest.h>

#include "platform/control/Faults.h"
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

}  // namespace
}  // namespace qx
