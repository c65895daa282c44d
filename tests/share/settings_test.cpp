// Settings that reach a running share, and the exclude list, proved by frames,
// events and the prompt frame.
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
  IScreenCapture::ScreenCaptureConfig config;
  config.GetDirtyRectInfo = true;
  capture.SetScreenCaptureConfig(config);
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

// Without desktop composition the GDI engine makes excluded windows layered,
// which a plain copy of the screen leaves out.
class WithoutComposition : public ShareTest {
 protected:
  WithoutComposition() {
    SetVersion(kWindows7);
    SetComposition(false);
  }

  static FilterWindowInfo byHandle(HWND window) {
    FilterWindowInfo info;
    info.window = window;
    return info;
  }

  const HWND under = OpenWindow({.rect = {0, 0, 100, 100}, .color = RGB(50, 60, 70)});
  const HWND secret = OpenWindow(
      {.title = L"Secret", .rect = {20, 20, 80, 80}, .color = RGB(250, 0, 0), .processId = 8000});
  const std::vector<Patch> hidden = {{0, 0, 100, 100, 0x323C46}};
  const std::vector<Patch> shown = {{0, 0, 100, 100, 0x323C46}, {20, 20, 80, 80, 0xFA0000}};
};

TEST_F(WithoutComposition, ExcludedWindowNeverShowsAndGetsItsStyleBack) {
  capture.AddExcludeWindow(byHandle(secret));
  start();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, hidden));
  EXPECT_TRUE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED);

  capture.AddIncludeWindow(byHandle(secret));
  EXPECT_TRUE(nextFrameShows(shown)) << "include beats exclude";
  EXPECT_FALSE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED);
  EXPECT_GE(RedrawCount(secret), 1u);

  capture.ClearIncludeWindows();
  EXPECT_TRUE(nextFrameShows(hidden));
  capture.ShareStop();
  EXPECT_FALSE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED);
}

TEST_F(WithoutComposition, ChangesOfTheListShowAtTheNextFrame) {
  start();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, shown));
  FilterWindowInfo process;
  process.type = 1;
  process.processId = 8000;
  process.titleRule = 1;
  std::snprintf(process.title, sizeof(process.title), "%s", "Secret");
  capture.SetExcludeWindows(&process, 1);
  EXPECT_TRUE(nextFrameShows(hidden));
  SetTitle(secret, L"Public");
  EXPECT_TRUE(nextFrameShows(shown));
  SetTitle(secret, L"Secret");
  EXPECT_TRUE(nextFrameShows(hidden));
  capture.SetExcludeWindows(nullptr, 3);
  capture.SetExcludeWindows(&process, -5);
  capture.SetIncludeWindows(&process, -5);
  EXPECT_TRUE(nextFrameShows(hidden)) << "null and negative counts harm nothing";
  capture.RemoveExcludeWindow(process);
  EXPECT_TRUE(nextFrameShows(shown));
}

TEST_F(WithoutComposition, FilteringCanBeTurnedOffDuringAShare) {
  capture.AddExcludeWindow(byHandle(secret));
  start();
  EXPECT_TRUE(nextFrameShows(hidden));
  capture.EnableFilterWindowWhenShareDesktop(false);
  tick();
  EXPECT_TRUE(nextFrameShows(shown));
  EXPECT_FALSE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED);
}

TEST_F(WithoutComposition, WindowThatIsLayeredByItselfKeepsItsStyle) {
  SetLayered(secret, std::nullopt, std::uint8_t{255});
  capture.AddExcludeWindow(byHandle(secret));
  start();
  tick(2);
  capture.ShareStop();
  EXPECT_TRUE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED);
}

TEST_F(WithoutComposition, StylesComeBackHoweverTheShareEnds) {
  capture.AddExcludeWindow(byHandle(secret));
  {
    ScreenCapture other;
    other.EnablePromptWindow(false);
    other.AddExcludeWindow(byHandle(secret));
    ASSERT_TRUE(other.ShareDesktop(&context, idOf(monitor()), &host, error));
    Settle();
    EXPECT_TRUE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED);
  }
  EXPECT_FALSE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED) << "object destroyed";

  start();
  Close(secret);
  EXPECT_TRUE(nextFrameShows(hidden)) << "a window that died on the list";
  capture.ShareStop();
}

}  // namespace
}  // namespace qx::test
