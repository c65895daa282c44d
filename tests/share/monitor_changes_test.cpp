// What happens to a share when its monitor, the session or the desktop changes.
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using Events = std::vector<std::string>;

TEST_F(ShareTest, MonitorThatMovesOrChangesSizeIsFollowedAndToldOnce) {
  capture.EnablePromptWindow(true);
  const IScreenCapture::PromptWindowInfo white = {255, 255, 255, 4};
  capture.SetPromptWindowInfo(&white);
  start();
  host.Forget();

  OpenWindow({.rect = {500, 400, 520, 410}, .color = RGB(200, 1, 2)});
  SetMonitorRect(monitor(), {480, 390, 640, 490});
  tick(3);
  EXPECT_EQ(host.Events(), Events{"rect 480,390 160x100"});
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{20, 10, 40, 20, 0xC80102}}));
  const auto frames = LibraryWindows(L"OrvaSSPromptDesktop");
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_EQ(frames[0].rect.left, 480);
  EXPECT_EQ(frames[0].rect.bottom, 490);
  IScreenCapture::CaptureRect rect = {};
  capture.GetCaptureRect(rect);
  EXPECT_EQ(rect.x, 480);
  EXPECT_EQ(rect.width, 160);
}

TEST_F(ShareTest, EmptyMonitorGivesNoFramesAndNoFailure) {
  start();
  SetMonitorRect(monitor(), {0, 0, 0, 0});
  const int frames = host.FrameCount();
  tick(3);
  EXPECT_EQ(host.FrameCount(), frames);
  EXPECT_EQ(host.Count("stop"), 0);

  SetMonitorRect(monitor(), {0, 0, 100, 50});
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 100);
}

TEST_F(ShareTest, NarrowMonitorIsBelowTheSmallestSize) {
  SetMonitorRect(monitor(), {0, 0, 7, 500});
  ASSERT_TRUE(share(monitor()));
  tick(2);
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_TRUE(log.Has(4, "captureFrame::GetLimitedEncodeResolution fail.")) << log.Dump();
  SetMonitorRect(monitor(), {0, 0, 8, 500});
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 8);
}

TEST_F(ShareTest, SameDeviceUnderANewHandleGoesOn) {
  start();
  host.Forget();
  const HMONITOR renewed = RenewMonitorHandle(monitor());
  tick();
  EXPECT_EQ(host.Events(true), Events{"desktopChanged " + std::to_string(idOf(renewed))});
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_EQ(host.Events(), Events{"desktopChanged " + std::to_string(idOf(renewed))});
}

TEST_F(ShareTest, UnpluggedMonitorEndsTheShareUntilTheHostStopsIt) {
  const HMONITOR second = AddMonitor({320, 0, 640, 200});
  start(second);
  host.Forget();
  RemoveMonitor(second);
  tick(4);
  EXPECT_EQ(host.Events(true), Events{"stop"});
  EXPECT_TRUE(log.Has(4, "Monitor disconnected"));

  EXPECT_FALSE(share(monitor()));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  capture.ShareStop();
  host.Forget();
  start();
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(ShareTest, LockedScreenEndsTheShareOnlyWhenACaptureFails) {
  start();
  LockSession(true);
  EXPECT_TRUE(nextFrameShows({})) << "a capture that works goes on";
  EXPECT_EQ(host.Count("stop"), 0);

  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick(3);
  EXPECT_EQ(host.Count("stop"), 1);
  EXPECT_TRUE(log.Has(4, "screen lock, stop share")) << log.Dump();
}

TEST_F(ShareTest, WindowsSevenReportsItsLockTheOtherWayRound) {
  SetVersion(kWindows7);
  start();
  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick();
  EXPECT_EQ(host.Count("stop"), 0) << "unlocked: the share goes on";
  LockSession(true);
  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick();
  EXPECT_EQ(host.Count("stop"), 1);
}

TEST_F(ShareTest, SecureDesktopSuspendsTheShareAndItsEngineComesBack) {
  start();
  host.Forget();
  SetSecureDesktop(true);
  tick();
  EXPECT_TRUE(log.Has(3, "uac prompt, need try capture later")) << log.Dump();
  Advance(5s);
  EXPECT_EQ(host.FrameCount(), 0) << "nothing of the secure desktop is shown";
  EXPECT_EQ(host.Count("stop"), 0);

  SetSecureDesktop(false);
  OpenWindow({.rect = {0, 0, 9, 9}, .color = RGB(7, 8, 9)});
  Advance(800ms);
  EXPECT_EQ(host.FrameCount(), 0) << "it tries every two seconds";
  Advance(500ms);
  EXPECT_GT(host.FrameCount(), 0);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 9, 9, 0x070809}}));
  EXPECT_EQ(host.Count("stop"), 0);
}

TEST_F(ShareTest, FailingEngineIsRestartedAtThreeSixNineAndGivenUpAtTen) {
  start();
  host.Forget();
  const std::uint64_t initialized = static_cast<std::uint64_t>(log.Count("bitblt: true"));
  vwin::control::FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);

  tick(9);
  EXPECT_EQ(log.Count("bitblt: true"), static_cast<int>(initialized) + 3) << log.Dump();
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

}  // namespace
}  // namespace qx::test
