// Settings that reach a running share, proved by frames, events and the prompt frame.
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using Events = std::vector<std::string>;
using FilterWindowInfo = IScreenCapture::FilterWindowInfo;

TEST_F(ShareTest, FrameRateChangesDuringAShareAndBadRatesChangeNothing) {
  start();
  const auto framesOfASecond = [this] {
    tick();  // the run already due keeps its time
    host.Forget();
    Advance(1s);
    return host.FrameCount();
  };
  EXPECT_EQ(framesOfASecond(), 15);
  for (const int fps : {0, 31, -1, 1000}) {
    capture.SetCaptureFPS(fps);
    EXPECT_EQ(framesOfASecond(), 15) << fps;
  }
  EXPECT_EQ(log.Count("set fps failed, please make sure your input is in (0, 30]"), 4);
  capture.SetCaptureFPS(30);
  EXPECT_EQ(framesOfASecond(), 30);
  capture.SetCaptureFPS(1);
  Advance(1s);
  EXPECT_EQ(framesOfASecond(), 1);
}

TEST_F(ShareTest, StatisticsComeEveryFiveSeconds) {
  start();
  host.Forget();
  Advance(20s);
  EXPECT_EQ(host.Count("statistics 15"), 4);
}

TEST_F(ShareTest, SettingsOutliveAShare) {
  capture.SetCaptureFPS(5);
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  for (int round = 0; round < 2; ++round) {
    host.Forget();
    start();
    Advance(1s);
    EXPECT_NEAR(host.FrameCount(), 6, 1);
    EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
    capture.ShareStop();
  }
}

TEST_F(ShareTest, OnlySettingsOfTheEngineRebuildIt) {
  start();
  const auto rebuilds = [this](int before) { return log.Count("bitblt: true") - before; };
  int before = log.Count("bitblt: true");
  IScreenCapture::ScreenCaptureConfig config;
  config.KeepAliveInterval = 1234;
  capture.SetScreenCaptureConfig(config);
  capture.EnableFilterWindowWhenShareDesktop(true);
  tick(2);
  EXPECT_EQ(rebuilds(before), 0);

  before = log.Count("bitblt: true");
  config.DynamicFrameCallback = true;
  capture.SetScreenCaptureConfig(config);
  tick(2);
  EXPECT_EQ(rebuilds(before), 1);
  EXPECT_TRUE(log.Has(3, "need recreate capture engine by update config")) << log.Dump();

  before = log.Count("bitblt: true");
  capture.EnableFilterWindowWhenShareDesktop(false);
  capture.EnableFilterWindowWhenShareDesktop(false);
  tick(2);
  EXPECT_EQ(rebuilds(before), 1);
  EXPECT_TRUE(log.Has(3, "need recreate capture engine"));
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(ShareTest, DirtyInfoComesBeforeItsFrameWhenAskedFor) {
  start();
  tick();
  EXPECT_EQ(host.Count("dirty 0 0 0"), 0);
  capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
  tick();
  host.Forget();
  tick(2);
  EXPECT_EQ(host.Events(true), (Events{"dirty 0 0 0", "frame", "dirty 0 0 0", "frame"}));
}

TEST_F(ShareTest, LivingConfigurationSetsTheWholeRecord) {
  IScreenCapture::LivingScreenCaptureConfig living;
  living.KeepAliveInterval = 250;
  capture.SetLivingScreenCaptureConfig(living);
  EXPECT_EQ(log.Count("KeepAliveInterval = 250"), 1);
  EXPECT_EQ(log.Count("scNewMouseCaptureWay = false"), 1);
  start();
  capture.SharePause();
  tick();
  host.Forget();
  Advance(1s);
  EXPECT_EQ(host.FrameCount(), 4);
}

}  // namespace
}  // namespace qx::test
