// Settings that reach a running share, proved by frames, events and the prompt frame.
#include <string>
#include <vector>

#include "platform/control/Graphics.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

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
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  Advance(1s);
  EXPECT_EQ(framesOfASecond(), 1);
  capture.ShareStop();
  start();
  EXPECT_EQ(framesOfASecond(), 1) << "settings outlive a share";
  EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
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

// The engine is made anew and named, on the share's thread, when the host knows of the start.
TEST_F(ShareTest, WhatIsSetWhileTheStartIsToldComesAfterIt) {
  host.onEvent = [&](const std::string& event) {
    if (event == "start") {
      capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
      Settle();
      EXPECT_EQ(host.Events(true), (Events{"engine 4", "start"}));
    }
  };
  start();
  EXPECT_EQ(host.Engines(), (Engines{kBitBlt, kBitBlt}));
}

// At each call that a start makes, whichever thread makes it.
TEST_F(ShareTest, PromptFrameThatIsTurnedOffDuringTheStartIsNotSeen) {
  bool ran = true;
  for (std::uint64_t n = 1; ran; ++n) {
    capture.EnablePromptWindow(true);
    OnNthCall(n, [this] { capture.EnablePromptWindow(false); });
    start();
    ran = ActionRan();
    ClearFaults();
    tick();
    EXPECT_EQ(Screenshot({0, 0, 1, 1}).At(0, 0) == RGB(0x20, 0x30, 0x40), ran) << "at call " << n;
    capture.ShareStop();
  }
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

// ------------------------------------------------------- settings and a screen that rests

struct Still {
  const char* name;
  IScreenCapture::CaptureEngineType engine;
  bool pointerFirst = false;  // as duplications may begin
  int ticks = 1;              // until another picture is there
};

// One window of 100x48 and a cursor of 4x4 over the desktop, and unchanged frames held back.
class StillScreen : public ShareTest, public testing::WithParamInterface<Still> {
 protected:
  StillScreen() {
    if (isWgc()) {
      SetVersion(kWindows11);
    }
    SetPointerBeforePicture(GetParam().pointerFirst);
    allowEngines({GetParam().engine});
    OpenWindow({.rect = {20, 40, 120, 88}, .color = RGB(200, 10, 30)});
    SetCursorShape(CursorPicture{4, 4, 0, 0, std::vector<std::uint32_t>(16, 0xFFFA0B0C)});
    SetCursorPosition(200, 60);
    capture.EnableCaptureCursor(true);
    capture.SetScreenCaptureConfig({.KeepAliveInterval = 60000, .DynamicFrameCallback = true});
    start();
    tick(4);
    host.Forget();
  }

  bool isDxgi() const { return GetParam().engine == IScreenCapture::CaptureEngineDXGI; }
  bool isWgc() const { return GetParam().engine == IScreenCapture::CaptureEngineWGC; }

  // A new frame shows the desktop like this after as many ticks, and no other one came.
  testing::AssertionResult shows(int ticks, int width, bool cursor) {
    host.Forget();
    tick(ticks);
    const Frame frame = host.LastFrame();
    if (frame.width != width || frame.height != width * 200 / 320) {
      return testing::AssertionFailure() << frame.width << 'x' << frame.height << '\n'
                                         << log.Dump();
    }
    if (isDxgi() && host.FrameCount() != 1) {
      return testing::AssertionFailure() << host.FrameCount() << " frames\n" << log.Dump();
    }
    const bool redder = GetParam().engine == IScreenCapture::CaptureEngineMag;
    const auto scaled = [width](int x) { return x * width / 320; };
    std::vector<Patch> patches = {
        {scaled(20), scaled(40), scaled(120), scaled(88), redder ? 0xC90A1Eu : 0xC80A1Eu}};
    if (cursor) {
      patches.push_back({scaled(200), scaled(60), scaled(204), scaled(64), 0xFA0B0C});
    }
    return Shows(frame, kBackground + (redder ? kRedder : 0), patches) << log.Dump();
  }
};

TEST_P(StillScreen, ShowsEachSettingWithTheNextPicture) {
  const int another = GetParam().ticks;
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    capture.EnableCaptureCursor(false);
    EXPECT_TRUE(shows(another, 320, false));
    limitTo(80, 50);  // adopted after the next tick
    EXPECT_TRUE(shows(2, 80, false));
    limitTo(160, 100);
    EXPECT_TRUE(shows(2, 160, false));
    capture.EnableCaptureCursor(true);
    tick(another);
    capture.EnableCaptureCursor(false);
    EXPECT_TRUE(shows(another, 160, false));
    limitTo(320, 200);
    EXPECT_TRUE(shows(isWgc() ? 6 : 1 + another, 320, false)) << "none is kept that large";
    capture.EnableCaptureCursor(true);
    EXPECT_TRUE(shows(another, 320, true));

    capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
    host.Forget();
    tick();
    EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
    EXPECT_NEAR(host.LastFrame().y.at(65 * 320 + 100), 16 + (66 * 200 + 129 * 10 + 25 * 30) / 256,
                2);
    // Two at once.
    capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
    capture.EnableCaptureCursor(false);
    tick(another);
    capture.SharePause();
    tick();
    capture.EnableCaptureCursor(true);
    tick();
    EXPECT_EQ(host.LastFrame().Count(0xFA0B0C), 0) << "nothing shows in a pause";
    capture.ShareResume();
    EXPECT_TRUE(shows(another, 320, true));
  }
  EXPECT_EQ(host.Engines(), std::vector<int>{});
}

INSTANTIATE_TEST_SUITE_P(
    Engines, StillScreen,
    testing::Values(Still{"Dxgi", IScreenCapture::CaptureEngineDXGI},
                    Still{"DxgiPointerFirst", IScreenCapture::CaptureEngineDXGI, true, 2},
                    Still{"Mag", IScreenCapture::CaptureEngineMag},
                    Still{"MagPointerFirst", IScreenCapture::CaptureEngineMag, true},
                    Still{"Wgc", IScreenCapture::CaptureEngineWGC, false, 2},
                    Still{"Gdi", IScreenCapture::CaptureEngineGDIBitBlt}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace qx::test
