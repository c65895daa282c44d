// Pausing, keep-live frames, and pictures that outlive their frame.
#include <map>

#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(ShareTest, PauseRepeatsTheLastPictureUntilResume) {
  const HWND window = OpenWindow({.rect = {0, 0, 100, 100}, .color = RGB(90, 80, 70)});
  start();
  capture.SharePause();
  tick();
  host.Forget();
  const std::uint64_t copies = Count("BitBlt");
  capture.SharePause();
  Fill(window, {0, 0, 100, 100}, RGB(1, 1, 1));
  Advance(3s);

  EXPECT_EQ(host.Events(), Events{}) << "one OnPause, told before";
  EXPECT_EQ(Count("BitBlt"), copies);
  const auto stamps = host.Timestamps();
  ASSERT_EQ(stamps.size(), 3u) << "one keep-live frame a second";
  EXPECT_NEAR(static_cast<double>(stamps[2] - stamps[1]), 1e6, 2e3);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 100, 100, 0x5A5046}}))
      << "what was drawn during the pause stays hidden";
  SetMonitorRect(monitor(), {0, 0, 300, 180});
  tick(2);
  EXPECT_EQ(host.Events(), Events{"rect 0,0 300x180"}) << "the monitor is followed";

  host.Forget();
  capture.ShareResume();
  tick(2);
  EXPECT_EQ(host.Events(), Events{"resume"});
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 100, 100, 0x010101}}));
  host.Forget();
  Advance(2s);
  EXPECT_NEAR(host.FrameCount(), 30, 1) << "keep-live frames have ended";
}

TEST_F(ShareTest, PauseBeforeTheFirstFrameGivesEmptyKeepLiveFrames) {
  host.onEvent = [this](const std::string& event) {
    if (event == "start") {
      capture.SharePause();
    }
  };
  start();
  Advance(1500ms);
  EXPECT_EQ(host.Events(), (Events{"engine 4", "start", "pause 2"}));
  EXPECT_EQ(host.FrameCount(), 2);
  EXPECT_EQ(host.LastFrame().width, 0);
  EXPECT_FALSE(host.LastFrame().HasPixels());

  capture.ShareResume();
  tick(2);
  EXPECT_EQ(host.Events(), (Events{"engine 4", "start", "pause 2", "resume", "firstFrame"}));
}

TEST_F(ShareTest, KeepLivePeriodIsTheOneOfTheStartAndNoneWhenNegativeIn32Bits) {
  // 0 is a millisecond.
  const std::map<std::uint64_t, int> periods = {{500, 4}, {0, 2000}, {0x80000000, 0}};
  for (const auto& [period, frames] : periods) {
    capture.SetScreenCaptureConfig({.KeepAliveInterval = period});
    start();
    capture.SetScreenCaptureConfig({.KeepAliveInterval = 100});
    capture.SharePause();
    tick();
    host.Forget();
    Advance(2s);
    EXPECT_EQ(host.FrameCount(), frames);
    capture.ShareStop();
  }
}

TEST_F(ShareTest, NothingComesOfAShareThatEndedInAPause) {
  start();
  capture.SharePause();
  tick();
  RemoveMonitor(monitor());
  Advance(3s);
  // Would make another engine.
  capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
  Advance(1s);
  EXPECT_EQ(host.Events(true).back(), "stop");
}

// A capture of a new size can fail after the engine has resized the frame. What
// was delivered before must stay readable; the sanitizers see it if it does not.
TEST_F(ShareTest, KeepLiveFrameOutlivesAFrameThatWasResizedByAFailedCapture) {
  OpenWindow({.rect = {0, 0, 320, 200}, .color = RGB(12, 34, 56)});
  start();
  SetMonitorRect(monitor(), {0, 0, 64, 40});
  vwin::control::FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);
  tick(2);
  capture.SharePause();
  host.Forget();
  Advance(2500ms);
  EXPECT_EQ(host.FrameCount(), 3);
  EXPECT_EQ(host.LastFrame().width, 320);
  EXPECT_TRUE(Shows(host.LastFrame(), 0x0C2238, {}));
}

}  // namespace
}  // namespace qx::test
