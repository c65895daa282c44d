// The engine for Windows.Graphics.Capture without a share around it.
#include <gtest/gtest.h>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/control/Machine.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/wgc/ScreenCaptureEngineWGC.h"

namespace qx {
namespace {

using namespace vwin::control;

class GraphicsCaptureEngineTest : public testing::Test {
 protected:
  GraphicsCaptureEngineTest() {
    OwnClock();
    SetVersion(kWindows11);
    SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
    SetDesktopColor(RGB(0x20, 0x30, 0x40));
  }

  // What a capture of the monitor comes to.
  testing::AssertionResult captures(ScreenCaptureEngine& engine, std::uint32_t width,
                                    std::uint32_t height) {
    result = CaptureResult::Success;
    if (!engine.Capture(0, 0, 64, 48, frame, result) || result != CaptureResult::Success) {
      return testing::AssertionFailure() << static_cast<int>(result) << '\n' << log.Dump();
    }
    const auto* const pixels = reinterpret_cast<const std::uint32_t*>(frame.Buffer().get());
    if (frame.Width() != width || frame.Height() != height ||
        (pixels[width * height - 1] & 0xFFFFFF) != 0x203040) {
      return testing::AssertionFailure() << frame.Width() << 'x' << frame.Height();
    }
    return testing::AssertionSuccess();
  }

  test::LogRecorder log;
  ScreenCaptureFrame frame;
  CaptureResult result = CaptureResult::Failed;
};

TEST_F(GraphicsCaptureEngineTest, PictureHasTheTargetSizeOrThatOfTheRectangle) {
  ScreenCaptureEngineWGC engine(PrimaryMonitor(), false, false);
  EXPECT_FALSE(engine.Capture(0, 0, 64, 48, frame, result));
  EXPECT_TRUE(log.Has(5, "The capture session has not been started"));
  ASSERT_TRUE(engine.Initialize()) << log.Dump();
  EXPECT_FALSE(engine.Capture(0, 0, 0, 48, frame, result));
  EXPECT_TRUE(captures(engine, 64, 48));
  const struct {
    std::int32_t width;
    std::int32_t height;
    std::uint32_t becomes[2];
  } sizes[] = {{200, 100, {200, 100}}, {16, 12, {16, 12}}, {0, 12, {64, 12}}, {0, 0, {64, 48}}};
  for (const auto& size : sizes) {
    engine.SetTargetSize(size.width, size.height);
    engine.WantAnotherPicture();
    // On a screen that stays as it is the session is started anew.
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(engine.Capture(0, 0, 64, 48, frame, result));
      EXPECT_EQ(result, CaptureResult::Failed) << "the last one counts";
    }
    EXPECT_TRUE(captures(engine, size.becomes[0], size.becomes[1]));
  }
  const std::uint64_t draws = Count("ID3D11DeviceContext::Draw");
  for (const auto& [width, height] : {std::pair(-5, 48), {64, -1}, {1 << 30, 1 << 30}}) {
    engine.SetTargetSize(width, height);
    engine.UnInitialize();
    ASSERT_TRUE(engine.Initialize());
    EXPECT_FALSE(engine.Capture(0, 0, 64, 48, frame, result));
    EXPECT_EQ(result, CaptureResult::Failed);
  }
  EXPECT_EQ(Count("ID3D11DeviceContext::Draw"), draws);
  EXPECT_EQ(frame.Width(), 64u);
}

TEST_F(GraphicsCaptureEngineTest, ClosedThatIsUnderWayKeepsTheLibraryAndNobodyElse) {
  const HWND window = OpenWindow({.rect = {2, 2, 40, 40}});
  const LedgerSnapshot ledger = Snapshot();
  {
    ScreenCaptureEngineWGC engine(window, {}, false, false);
    ASSERT_TRUE(engine.Initialize());
    HoldClosed();
    CloseCaptureItems(window);
  }
  std::uint64_t pinned = 0;
  for (const auto& entry : Snapshot()) {
    pinned += entry.kind == "pinned module" ? 1 : 0;
  }
  EXPECT_EQ(pinned, 1u);
  DeliverClosed();
  Settle();
  EXPECT_EQ(Difference(ledger), "");
}

}  // namespace
}  // namespace qx
