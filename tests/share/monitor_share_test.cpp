// Sharing a monitor: what the frames show, and how a share begins and ends.
#include "platform/control/Modules.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using Events = std::vector<std::string>;

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

  MoveTo(upper, 10, 20);
  EXPECT_TRUE(nextFrameShows({{20, 30, 120, 90, 0xC80A1E}, {10, 20, 310, 90, 0x0ADC28}}));
  Minimise(upper);
  EXPECT_TRUE(nextFrameShows({{20, 30, 120, 90, 0xC80A1E}}));

  const Frame frame = host.LastFrame();
  EXPECT_EQ(frame.rawWidth, 320);
  EXPECT_EQ(frame.rawHeight, 200);
  capture.ShareStop();
  EXPECT_EQ(host.Count("stop"), 0);
}

TEST_F(ShareTest, MonitorLeftOfThePrimaryIsCapturedAtItsOwnPlace) {
  HMONITOR left = nullptr;
  for (int i = 1; i <= 2 && (left == nullptr || idOf(left) >= 0); ++i) {
    left = AddMonitor({-200 * i, -40, -200 * (i - 1), 60});  // one of two has a negative id
  }
  ASSERT_LT(idOf(left), 0);
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  ASSERT_TRUE(GetMonitorInfoW(left, &info));
  const int x = info.rcMonitor.left;
  OpenWindow({.rect = {x - 30, -50, x + 50, 10}, .color = RGB(9, 90, 200)});

  start(left);

  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{-30, -10, 50, 50, 0x095AC8}}));
  IScreenCapture::CaptureRect rect = {};
  capture.GetCaptureRect(rect);
  EXPECT_EQ(rect.x, x);
  EXPECT_EQ(rect.y, -40);
  EXPECT_EQ(rect.width, 200);
  EXPECT_EQ(rect.height, 100);
}

TEST_F(ShareTest, ListedMonitorsAreTheOnesThatCanBeShared) {
  using Desktops = std::vector<IScreenCapture::DesktopInfo>;
  const auto list = [this] {
    std::vector<Desktops> calls;
    capture.GetDesktopList(
        [](const IScreenCapture::DesktopInfo* desktops, const int& count, void* user) {
          EXPECT_EQ(desktops == nullptr, count == 0);
          static_cast<std::vector<Desktops>*>(user)->emplace_back(desktops, desktops + count);
        },
        &calls);
    EXPECT_EQ(calls.size(), 1u);
    return calls.at(0);
  };
  const HMONITOR second = AddMonitor({-640, 20, 0, 500});
  const Desktops desktops = list();
  ASSERT_EQ(desktops.size(), 2u);
  EXPECT_EQ(desktops[0].isPrimary, 1);
  EXPECT_EQ(desktops[1].isPrimary, 0);
  EXPECT_EQ(desktops[1].id, idOf(second));
  EXPECT_EQ(desktops[1].handle, desktops[1].id);
  EXPECT_EQ(desktops[1].x, -640);
  EXPECT_EQ(desktops[1].y, 20);
  EXPECT_EQ(desktops[1].width, 640);
  EXPECT_EQ(desktops[1].height, 480);
  FailNth("GetMonitorInfoW", 1);
  EXPECT_EQ(list().size(), 1u);
  RemoveMonitor(second);
  RemoveMonitor(monitor());
  EXPECT_TRUE(list().empty());
  capture.GetDesktopList(nullptr, nullptr);
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
  capture.ShareStop();
  capture.SharePause();
  capture.ShareResume();
  IScreenCapture::CaptureRect rect = {};
  capture.GetCaptureRect(rect);
  EXPECT_EQ(rect.x, -1);
  EXPECT_EQ(rect.height, -1);
  EXPECT_EQ(host.Events(), Events{});

  start();
  EXPECT_FALSE(capture.ShareDesktop(&context, idOf(monitor()), nullptr, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  EXPECT_FALSE(capture.ShareWindow(&context, 0, nullptr, error));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_TRUE(log.Has(5, "ShareDesktop m_task is running, please stop first"));

  capture.ShareStop();
  capture.ShareStop();
  capture.GetCaptureRect(rect);
  EXPECT_EQ(rect.width, -1);
  host.Forget();
  start();
  EXPECT_EQ(host.Events(), (Events{"engine 4", "start", "firstFrame"}));
}

TEST_F(ShareTest, OnlyAnEngineForWindowsAllowedMeansNoMonitorShare) {
  allowEngines({IScreenCapture::CaptureEngineGDIPrintWindow});
  EXPECT_FALSE(share(monitor()));
  EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed);
  EXPECT_TRUE(log.Has(5, "CreateEngine failed")) << log.Dump();
  EXPECT_EQ(host.Events(), Events{});

  allowEngines({});
  start();
  EXPECT_EQ(host.Engines(), std::vector<int>{1});
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

TEST_F(ShareTest, I420FramesDropOddEdgesAndCarryTheRightColours) {
  SetMonitorRect(monitor(), {0, 0, 321, 201});
  OpenWindow({.rect = {160, 0, 321, 201}, .color = RGB(255, 0, 0)});
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  start();

  Frame frame = host.LastFrame();
  ASSERT_EQ(frame.format, IScreenCapture::ScreenFrameFormatI420);
  EXPECT_EQ(frame.width, 320);
  EXPECT_EQ(frame.height, 200);
  EXPECT_EQ(frame.rawWidth, 321);
  EXPECT_EQ(frame.rawHeight, 201);
  // BT.601, limited range: pure red is 82, 90, 240.
  const std::size_t row = 150;
  EXPECT_NEAR(frame.y[row * 320 + 300], 82, 2);
  EXPECT_NEAR(frame.u[row / 2 * 160 + 150], 90, 2);
  EXPECT_NEAR(frame.v[row / 2 * 160 + 150], 240, 2);
  EXPECT_NEAR(frame.y[row * 320 + 10], 16 + (66 * 0x20 + 129 * 0x30 + 25 * 0x40) / 256, 2);

  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  tick();
  frame = host.LastFrame();
  EXPECT_EQ(frame.width, 321);
  EXPECT_TRUE(Shows(frame, kBackground, {{160, 0, 321, 201, 0xFF0000}}));
}

TEST_F(ShareTest, UnknownFormatRepeatsTheLastRecord) {
  start();
  capture.SetScreenFrameFormatType(static_cast<IScreenCapture::ScreenFrameFormat>(7));
  tick(2);
  const Frame frame = host.LastFrame();
  EXPECT_EQ(frame.format, IScreenCapture::ScreenFrameFormatARGB);
  EXPECT_EQ(frame.width, 320);
  EXPECT_EQ(host.Count("firstFrame"), 1);
}

TEST_F(ShareTest, LargePicturesAreScaledToTheLimitAndInvalidLimitsYieldNothing) {
  limitTo(160, 100);
  OpenWindow({.rect = {0, 0, 160, 200}, .color = RGB(0, 0, 200)});
  start();
  Frame frame = host.LastFrame();
  EXPECT_EQ(frame.width, 160);
  EXPECT_EQ(frame.height, 100);
  EXPECT_EQ(frame.rawWidth, 320);
  EXPECT_TRUE(Shows(frame, kBackground, {{0, 0, 80, 100, 0x0000C8}}));

  // Adopted after a frame of the old limit; sizes change from the next tick on.
  limitTo(0, 0, 200 * 125);
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 200);
  EXPECT_EQ(host.LastFrame().height, 125);

  limitTo(0, 0, 0);
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 200) << "a limit of 0 pixels is ignored";

  limitTo(100, 100, 10001);
  tick(2);
  const int frames = host.FrameCount();
  tick(5);
  EXPECT_EQ(host.FrameCount(), frames);
  EXPECT_EQ(log.Count("screenFrameResolutionLimit is not valid"), 1) << "limited";
  EXPECT_EQ(host.Count("stop"), 0);

  limitTo(100, 100, 10000, 1);
  tick(2);
  EXPECT_EQ(host.FrameCount(), frames);
}

// A share on every kind of machine that the library knows, with the engine that comes
// first there.
struct Machine {
  const char* name;
  vwin::Version version;
  bool composition;
  bool magnifier;
  int engine;
};

class EveryMachine : public ShareTest, public testing::WithParamInterface<Machine> {};

TEST_P(EveryMachine, SharesAMonitor) {
  SetVersion(GetParam().version);
  SetComposition(GetParam().composition);
  OpenWindow({.rect = {10, 10, 60, 60}, .color = RGB(11, 22, 33)});
  if (!GetParam().magnifier) {
    RemoveModule("Magnification.dll");
  }
  allowEngines({});
  start();
  EXPECT_EQ(host.Engines(), std::vector<int>{GetParam().engine});
  tick();
  const std::uint32_t redder = GetParam().magnifier ? kRedder : 0;
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground + redder, {{10, 10, 60, 60, 0x0B1621 + redder}}));
}

INSTANTIATE_TEST_SUITE_P(Versions, EveryMachine,
                         testing::Values(Machine{"Windows7Classic", kWindows7, false, false, 4},
                                         Machine{"Windows7", kWindows7, true, false, 4},
                                         Machine{"Windows8", kWindows8, true, false, 4},
                                         Machine{"Windows81", kWindows81, true, false, 2},
                                         Machine{"Windows10", kWindows10, true, false, 2},
                                         Machine{"Windows11", kWindows11, true, false, 2},
                                         Machine{"Windows10Magnifier", kWindows10, true, true, 1}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace qx::test
