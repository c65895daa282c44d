// Sharing a monitor: what the frames show, how a share begins and ends, and what its engine may
// suffer.
#include <tuple>
#include <utility>

#include "tests/share/AllocationHook.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(ShareTest, FramesShowTheMonitorsWindowsInTheirOrder) {
  OpenWindow({.rect = {20, 30, 120, 90}, .color = RGB(200, 10, 30)});
  const HWND upper = OpenWindow({.rect = {100, 80, 400, 150}, .color = RGB(10, 220, 40)});
  OpenWindow({.rect = {0, 0, 50, 50}, .color = RGB(1, 2, 3), .visible = false});
  start();
  EXPECT_EQ(host.Events(true), (Events{"engine 4", "start", "firstFrame", "statistics 0", "frame"}))
      << log.Dump();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground,
                    {{20, 30, 120, 90, 0xC80A1E}, {100, 80, 400, 150, 0x0ADC28}}));
  EXPECT_EQ(Count("GdiFlush"), Count("BitBlt")) << "the system may put drawing off";
  EXPECT_EQ(ThreadNames().front(), "SC-CaptureThread");
  Minimise(upper);
  EXPECT_TRUE(nextFrameShows({{20, 30, 120, 90, 0xC80A1E}}));
  capture.ShareStop();
  EXPECT_EQ(host.Count("stop"), 0);
}

TEST_F(ShareTest, WrongCallsAreRefusedInTheirOrderAndHarmNothing) {
  const int stale = idOf(AddMonitor({320, 0, 400, 100}));
  RemoveMonitor(Monitors().back());

  for (const int id : {0, -1, 123456789, stale}) {
    EXPECT_FALSE(capture.ShareDesktop(&context, id, &host, error)) << id;
    EXPECT_EQ(error, IScreenCapture::ShareErrorTargetMissing) << id;
  }
  EXPECT_FALSE(capture.ShareDesktop(&context, idOf(monitor()), nullptr, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorNullListener);
  EXPECT_FALSE(capture.ShareWindow(&context, 0, nullptr, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorNullListener);
  EXPECT_FALSE(capture.ShareWindow(&context, 0, &host, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTargetMissing);
  int ids[] = {1, 2};
  EXPECT_FALSE(capture.ShareWindows(&context, ids, 2, &host, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTargetMissing) << "left as it was";
  allowEngines({kPrint});  // which is for windows only
  EXPECT_FALSE(share(monitor()));
  EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed);
  EXPECT_TRUE(log.Has(5, "CreateEngine failed")) << log.Dump();
  capture.ShareStop();
  capture.SharePause();
  capture.ShareResume();
  EXPECT_EQ(captureRect(), "-1,-1 -1x-1");
  EXPECT_EQ(host.Events(), Events{});

  allowEngines({kBitBlt, kPrint});
  start();
  EXPECT_FALSE(capture.ShareDesktop(&context, idOf(monitor()), nullptr, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  EXPECT_FALSE(capture.ShareWindow(&context, 0, nullptr, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_TRUE(log.Has(5, "ShareDesktop m_task is running, please stop first"));

  capture.ShareStop();
  capture.ShareStop();
  EXPECT_EQ(captureRect(), "-1,-1 -1x-1");
  host.Forget();
  start();
  EXPECT_EQ(host.Events(), (Events{"engine 4", "start", "firstFrame"}));
}

TEST_F(ShareTest, PromptFrameShowsAlongTheEdgesAndFollowsTheSettings) {
  capture.EnablePromptWindow(true);
  start();
  tick();

  // Half of each.
  const auto showsFrame = [&](std::uint32_t color, int width) {
    std::uint32_t blended = 0;
    for (int shift = 0; shift < 24; shift += 8) {
      const std::uint32_t sum = (color >> shift & 255) * 128 + (kBackground >> shift & 255) * 127;
      blended |= (sum + 127) / 255 << shift;
    }
    return Shows(host.LastFrame(), blended,
                 {{width, width, 320 - width, 200 - width, kBackground}});
  };
  EXPECT_TRUE(showsFrame(0x29CCA3, 4));

  const IScreenCapture::PromptWindowInfo red = {240, 20, 10, 9};
  capture.SetPromptWindowInfo(&red);
  tick(2);
  EXPECT_TRUE(showsFrame(0xF0140A, 9));

  capture.SetPromptWindowInfo(nullptr);
  const IScreenCapture::PromptWindowInfo white = {255, 255, 255, 9};
  capture.SetPromptWindowInfo(&white);
  tick(2);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {})) << "white is the transparent colour";

  const IScreenCapture::PromptWindowInfo thick = {1, 2, 250, 1000};
  capture.SetPromptWindowInfo(&thick);
  tick(2);
  EXPECT_TRUE(showsFrame(0x0102FA, 160)) << "strips overlap";

  const auto frames = LibraryWindows(L"OrvaSSPromptDesktop");
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_EQ(frames[0].zPosition, 0);
  EXPECT_EQ(frames[0].exStyle & (WS_EX_LAYERED | WS_EX_TRANSPARENT | WS_EX_TOOLWINDOW),
            static_cast<DWORD>(WS_EX_LAYERED | WS_EX_TRANSPARENT | WS_EX_TOOLWINDOW));

  capture.EnablePromptWindow(false);
  tick();
  EXPECT_TRUE(nextFrameShows({}));
  capture.ShareStop();
  EXPECT_TRUE(LibraryWindows().empty());
}

TEST_F(ShareTest, CursorIsDrawnAtItsPositionAndOnlyInsideTheMonitor) {
  SetCursorShape(CursorPicture{4, 3, 2, 1, std::vector<std::uint32_t>(12, 0xFFFA0B0C)});
  SetCursorPosition(50, 60);
  capture.EnableCaptureCursor(true);
  start();
  // The position is the picture's top left: the hot spot plays no part here.
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{50, 60, 54, 63, 0xFA0B0C}}));

  SetCursorPosition(320, 60);
  EXPECT_TRUE(nextFrameShows({})) << "the right edge is outside";
  AddMonitor({-100, 0, 0, 200});
  SetCursorPosition(-2, 60);
  EXPECT_TRUE(nextFrameShows({})) << "a cursor of the next monitor that reaches over";
  SetCursorPosition(319, 199);
  EXPECT_TRUE(nextFrameShows({{319, 199, 320, 200, 0xFA0B0C}}));
  vwin::control::HideCursor();
  EXPECT_TRUE(nextFrameShows({}));
  vwin::control::ShowCursor();
  const std::uint64_t asked = Count("GetCursorInfo");
  capture.EnableCaptureCursor(false);
  tick();
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_LE(Count("GetCursorInfo"), asked + 1);
}

// Keeps the record of the last frame as it is.
struct RecordKeeper : ShareRecorder {
  using ShareRecorder::ShareRecorder;
  void OnFrame(void* context, const IScreenCapture::ScreenFrameData* frame) override {
    record = *frame;
    ShareRecorder::OnFrame(context, frame);
  }
  IScreenCapture::ScreenFrameData record = {};
};

TEST_F(ShareTest, FrameOfOneFormatLeavesTheFieldsOfTheOtherAlone) {
  RecordKeeper keeper(&context);
  ASSERT_TRUE(capture.ShareDesktop(&context, idOf(monitor()), &keeper, error));
  Settle();
  const IScreenCapture::ScreenFrameData argb = keeper.record;
  EXPECT_EQ(argb.stride, 1280);
  EXPECT_EQ(argb.dataY, nullptr);
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  tick();
  const IScreenCapture::ScreenFrameData i420 = keeper.record;
  EXPECT_EQ(i420.strideU, 160);
  EXPECT_EQ(std::tuple(i420.data, i420.stride), std::tuple(argb.data, argb.stride));
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  tick();
  EXPECT_EQ(std::tuple(keeper.record.dataU, keeper.record.strideV),
            std::tuple(i420.dataU, i420.strideV));
  capture.ShareStop();
}

TEST_F(ShareTest, I420FramesDropOddEdgesAndCarryTheRightColours) {
  SetMonitorRect(monitor(), {0, 0, 321, 201});
  OpenWindow({.rect = {160, 0, 321, 201}, .color = RGB(255, 0, 0)});
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  start();
  const Frame frame = host.LastFrame();
  ASSERT_EQ(frame.format, IScreenCapture::ScreenFrameFormatI420);
  EXPECT_EQ(frameSize(), "320x200 of 321x201");
  // BT.601, limited range: pure red is 82, 90, 240.
  const std::size_t row = 150;
  EXPECT_NEAR(frame.y[row * 320 + 300], 82, 2);
  EXPECT_NEAR(frame.u[row / 2 * 160 + 150], 90, 2);
  EXPECT_NEAR(frame.v[row / 2 * 160 + 150], 240, 2);
  EXPECT_NEAR(frame.y[row * 320 + 10], 16 + (66 * 0x20 + 129 * 0x30 + 25 * 0x40) / 256, 2);

  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  tick();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{160, 0, 321, 201, 0xFF0000}}));
  EXPECT_EQ(frameSize(), "321x201 of 321x201");
  capture.SetScreenFrameFormatType(static_cast<IScreenCapture::ScreenFrameFormat>(7));
  Minimise(WindowsInOrder().front());
  tick(2);
  EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatARGB);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{160, 0, 321, 201, 0xFF0000}}))
      << "an unknown format repeats the last record";
}

TEST_F(ShareTest, LargePicturesAreScaledToTheLimitAndInvalidLimitsYieldNothing) {
  limitTo(160, 100);
  OpenWindow({.rect = {0, 0, 160, 200}, .color = RGB(0, 0, 200)});
  start();
  EXPECT_EQ(frameSize(), "160x100 of 320x200");
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 80, 100, 0x0000C8}}));

  // Adopted after a frame of the old limit; sizes change from the next tick on.
  limitTo(0, 0, 200 * 125);
  tick(2);
  EXPECT_EQ(frameSize(), "200x125 of 320x200");

  limitTo(0, 0, 0);
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 200) << "a limit of 0 pixels is ignored";

  int frames = host.FrameCount();
  for (const RECT& rect : {RECT{0, 0, 7, 500}, {0, 0, 0, 0}}) {
    SetMonitorRect(monitor(), rect);
    tick(12);
    EXPECT_EQ(host.FrameCount(), frames) << "below the smallest size, which is no failure";
  }
  SetMonitorRect(monitor(), {0, 0, 320, 200});
  tick(2);
  EXPECT_EQ(host.FrameCount(), frames + 2);

  limitTo(100, 100, 10001);
  tick(2);
  frames = host.FrameCount();
  tick(5);
  EXPECT_EQ(host.FrameCount(), frames);
  EXPECT_EQ(log.Count("screenFrameResolutionLimit is not valid"), 1) << "limited";
  EXPECT_EQ(host.Count("stop"), 0);

  limitTo(100, 100, 10000, 1);
  tick(2);
  EXPECT_EQ(host.FrameCount(), frames);
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});

  limitTo(0, 0, 200 * 125);
  tick(2);
  EXPECT_EQ(host.FrameCount(), frames + 1) << "corrected, to that of the last frame";
  EXPECT_EQ(frameSize(), "200x125 of 320x200");

  capture.ShareStop();
  limitTo(100, 100, 10001);
  start();
  tick();
  limitTo(160, 100);
  tick(2);
  EXPECT_EQ(frameSize(), "160x100 of 320x200") << "corrected before the first frame";
}

TEST_F(ShareTest, LackOfMemoryForConversionAndScalingLeavesTheShareRunning) {
  start();
  {
    const FailLargeAllocations noMemory(320 * 200 * 3 / 2);
    capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
    tick(3);
    EXPECT_GE(noMemory.failed(), 1);
  }
  tick(2);
  EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
  EXPECT_EQ(host.LastFrame().width, 320);

  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  {
    const FailLargeAllocations noMemory(16000 * 4);
    limitTo(160, 100);
    tick(4);
    EXPECT_GE(noMemory.failed(), 1);
    EXPECT_TRUE(host.LastFrame().HasPixels());
  }
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 160);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
}

TEST_F(ShareTest, LockedScreenEndsTheShareOnlyWhenACaptureFails) {
  start();
  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick();
  EXPECT_EQ(host.Count("stop"), 0) << "unlocked: the share goes on";
  LockSession(true);
  EXPECT_TRUE(nextFrameShows({})) << "a capture that works goes on";
  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick(3);
  EXPECT_EQ(host.Count("stop"), 1);
  EXPECT_TRUE(log.Has(4, "screen lock, stop share")) << log.Dump();
}

// The host hears of the end and has yet to stop the share.
TEST_F(ShareTest, PromptFrameOfAShareThatEndedByItselfFollowsTheSettings) {
  const auto edge = [] { return Screenshot({0, 0, 1, 1}).At(0, 0); };
  const IScreenCapture::PromptWindowInfo white = {255, 255, 255, 4};
  for (const bool fromListener : {false, true}) {
    capture.EnablePromptWindow(true);
    capture.SetPromptWindowInfo(&white);
    host.onEvent = [&](const std::string& event) {
      if (fromListener && event == "stop") {
        capture.EnablePromptWindow(false);
      }
    };
    start();
    LockSession(true);
    FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
    tick();
    ASSERT_EQ(host.Count("stop"), 1) << log.Dump();
    const int engines = log.Count("bitblt: true");
    if (!fromListener) {
      const IScreenCapture::PromptWindowInfo red = {255, 0, 0, 4};
      capture.SetPromptWindowInfo(&red);
      capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
      Settle();
      EXPECT_EQ(edge(), RGB(0x90, 0x18, 0x20));
      capture.EnablePromptWindow(false);
      Settle();
    }
    tick();
    EXPECT_FALSE(LibraryWindows(L"OrvaSSPromptDesktop").at(0).visible) << fromListener;
    EXPECT_EQ(log.Count("bitblt: true"), engines) << "nothing is captured any more";
    EXPECT_EQ(host.Events().back(), "stop");
    capture.ShareStop();
    LockSession(false);
    host.Forget();
  }
}

TEST_F(ShareTest, FailingEngineIsRestartedAtThreeSixNineAndGivenUpAtTen) {
  start();
  host.Forget();
  const int initialized = log.Count("bitblt: true");
  FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);

  tick(9);
  EXPECT_EQ(log.Count("bitblt: true"), initialized + 3) << log.Dump();
  EXPECT_TRUE(host.Engines().empty());
  tick();
  EXPECT_EQ(host.Engines(), std::vector<int>{0}) << "no engine is left, and the host is told";
  EXPECT_EQ(log.Count("m_captureEngine are all failed"), 1) << log.Dump();
  EXPECT_TRUE(log.Has(4, "BitBlt failed,last Error:31"));
  EXPECT_EQ(log.Count("BitBlt failed"), 1) << "limited";
  ClearFaults();
  tick(3);
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_EQ(host.Count("stop"), 0);

  // Settings that rebuild the engine bring a new list and a new chance.
  capture.SetScreenCaptureConfig({.scDynamicCheck = false});
  tick(2);
  EXPECT_EQ(host.Engines(), (std::vector<int>{0, 4}));
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(ShareTest, EngineWithoutMemoryForAFirstPictureIsGivenUp) {
  const std::pair<const char*, const char*> failures[] = {
      {"GetDC", "GetDC failed,last Error:8"},
      {"CreateCompatibleDC", "CreateCompatibleDC failed,last Error:8"},
      {"CreateDIBSection", "CreateDIBSection of 320x200 failed,last Error:8"},
      {"SelectObject", "SelectObject failed,last Error:8"}};
  for (const auto& [call, message] : failures) {
    FailNth(call, 1, {ERROR_NOT_ENOUGH_MEMORY, E_OUTOFMEMORY}, Repeat::kOnward);
    host.Forget();
    start();
    tick(9);
    EXPECT_EQ(host.FrameCount(), 0);
    EXPECT_EQ(host.Engines(), (std::vector<int>{4, 0})) << "and the host is told";
    EXPECT_TRUE(log.Has(4, message)) << log.Dump();
    ClearFaults();
    capture.ShareStop();
  }
}

}  // namespace
}  // namespace qx::test
