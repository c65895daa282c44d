// The engine for Windows.Graphics.Capture without a share around it.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/control/Machine.h"
#include "win/engine/wgc/ScreenCaptureEngineWGC.h"

namespace qx {
namespace {

using namespace vwin::control;

TEST(GraphicsCaptureEngine, ClosedThatIsUnderWayKeepsTheLibraryAndNobodyElse) {
  OwnClock();
  SetVersion(kWindows11);
  const HWND window = OpenWindow({.rect = {2, 2, 40, 40}});
  const LedgerSnapshot ledger = Snapshot();
  {
    ScreenCaptureEngineWGC engine(window, {}, false, false);
    ASSERT_TRUE(engine.Initialize());
    HoldClosed();
    CloseCaptureItems(window);
  }
  EXPECT_EQ(std::ranges::count(Snapshot(), "pinned module", &LedgerSnapshot::value_type::kind), 1);
  DeliverClosed();
  Settle();
  EXPECT_EQ(Difference(ledger), "");
}

}  // namespace
}  // namespace qx
