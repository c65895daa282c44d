// Shares that duplicate the desktop: what the system takes away, and what takes over.
#include "tests/share/DxgiShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(DxgiShareTest, ModeChangeRebuildsTheEngineAndItsPictureFollows) {
  const HWND window = OpenWindow({.rect = {20, 30, 60, 50}, .color = RGB(200, 10, 30)});
  startDxgi();
  host.Forget();
  SetMonitorRect(monitor(), {0, 0, 160, 100});
  tick();
  EXPECT_EQ(host.Events(true), (Events{"rect 0,0 160x100", "frame"}));
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{10, 15, 30, 25, 0xC80A1E}}))
      << "the last picture once more";
  tick(2);  // a look
  EXPECT_EQ(host.FrameCount(), 2);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{20, 30, 60, 50, 0xC80A1E}})) << log.Dump();
  SetMonitorRect(monitor(), {-40, 10, 360, 310});
  tick();
  EXPECT_EQ(host.LastFrame().width, 160);
  tick(2);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{60, 20, 100, 40, 0xC80A1E}})) << log.Dump();
  EXPECT_EQ(frameSize(), "400x300 of 400x300");
  EXPECT_EQ(log.Count("recreate ScreenCaptureEngineDXGI"), 2);
  MoveTo(window, 100, 100);
  EXPECT_TRUE(nextFrameShows({{140, 90, 180, 110, 0xC80A1E}}));
  EXPECT_EQ(host.Engines(), Engines{});
}

TEST_F(DxgiShareTest, RebuildingThatFailsChangesTheEngineAtOnce) {
  startDxgi();
  SetDuplicateResult(DXGI_ERROR_UNSUPPORTED);
  SetMonitorRect(monitor(), {0, 0, 160, 100});
  tick();
  EXPECT_EQ(host.Engines(), (Engines{kDxgi, kBitBlt})) << log.Dump();
  EXPECT_TRUE(log.Has(4, "current engine error, change to next engine"));
}

TEST_F(DxgiShareTest, LostAccessIsAFailureAndTenOfThemEndTheEngine) {
  startDxgi();
  failFrames(DXGI_ERROR_ACCESS_LOST);
  tick(9);
  EXPECT_EQ(devices(), 4) << "three restarts";
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
  tick();
  EXPECT_EQ(host.Engines(), (Engines{kDxgi, kBitBlt}));
  EXPECT_EQ(log.Count("AcquireNextFrame return DXGI_ERROR_ACCESS_LOST"), 10);
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(DxgiShareTest, OneSuccessForgives) {
  const HWND window = OpenWindow({.rect = {0, 0, 9, 9}});
  startDxgi();
  for (int round = 0; round < 3; ++round) {
    failFrames(E_FAIL);
    tick(7);
    ClearFaults();
    const auto shade = static_cast<std::uint8_t>(round);
    Fill(window, {0, 0, 9, 9}, RGB(0, 0, shade));
    tick();  // the restarted engine looks
    EXPECT_TRUE(nextFrameShows({{0, 0, 9, 9, shade}})) << "round " << round;
  }
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
  EXPECT_EQ(log.Count("AcquireNextFrame failed res:"), 1) << "limited";
}

TEST_F(DxgiShareTest, StepsBetweenFrameAndPictureFailOneTickAndLeaveNoFrameHeld) {
  const HWND window = OpenWindow({.rect = {0, 0, 9, 9}});
  startDxgi();
  for (const char* call : {"IUnknown::QueryInterface", "ID3D11Device::CreateShaderResourceView",
                           "ID3D11Device::CreateTexture2D", "ID3D11Device::CreateRenderTargetView",
                           "IDXGISurface::Map"}) {
    SCOPED_TRACE(call);
    const int frames = host.FrameCount();
    Fill(window, {0, 0, 9, 9}, RGB(9, 9, 9));
    FailNth(call, 1);
    tick();
    EXPECT_TRUE(InjectedInto());
    EXPECT_EQ(host.FrameCount(), frames);
    ClearFaults();
    Fill(window, {0, 0, 9, 9}, RGB(1, 9, 9));
    EXPECT_TRUE(nextFrameShows({{0, 0, 9, 9, 0x010909}}));
  }
  EXPECT_EQ(devices(), 1);
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
}

TEST_F(DxgiShareTest, PictureThatCouldNotBeFetchedIsNotForgottenWhenTheScreenRests) {
  const HWND window = OpenWindow({.rect = {0, 0, 9, 9}});
  startDxgi();
  const auto failingTick = [] {
    FailNth("IDXGISurface::Map", 1);
    tick();
    EXPECT_TRUE(InjectedInto());
    ClearFaults();
  };
  Fill(window, {0, 0, 9, 9}, RGB(1, 9, 9));
  failingTick();
  tick(3);  // two more failures, a restart, a look
  EXPECT_TRUE(nextFrameShows({{0, 0, 9, 9, 0x010909}}));
  EXPECT_EQ(devices(), 2);
  // News of the mouse, which nobody asked for, brings it as well.
  Fill(window, {0, 0, 9, 9}, RGB(2, 9, 9));
  failingTick();
  SetCursorPosition(8, 8);
  failingTick();
  SetCursorPosition(9, 9);
  EXPECT_TRUE(nextFrameShows({{0, 0, 9, 9, 0x020909}}));
  EXPECT_EQ(devices(), 2);
}

TEST_F(DxgiShareTest, BlackFirstPicturesAreNeverDeliveredAndNeverChangeTheEngine) {
  const HWND window = OpenWindow({.rect = {0, 0, 9, 9}});
  SetBlackDuplicates(true);
  start();
  for (int i = 0; i < 40; ++i) {
    if (i % 2 == 0) {
      Fill(window, {0, 0, 9, 9}, RGB(i, 9, 9));
    }
    tick();
  }
  EXPECT_EQ(host.Events(true), (Events{"engine 2", "start"})) << "nor anything in their place";
  EXPECT_TRUE(log.Has(4, "find black frame, drop it."));
  EXPECT_EQ(devices(), 1);

  SetBlackDuplicates(false);
  Fill(window, {0, 0, 9, 9}, RGB(1, 2, 3));
  tick();
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_TRUE(nextFrameShows({{0, 0, 9, 9, 0x010203}}));
  SetBlackDuplicates(true);
  Fill(window, {0, 0, 9, 9}, RGB(3, 2, 1));
  EXPECT_TRUE(nextFrameShows({{0, 0, 320, 200, 0}})) << "only the beginning is tested";

  capture.ShareStop();
  SetBlackDuplicates(false);
  SetDesktopColor(RGB(0, 0, 0));
  Close(window);
  host.Forget();
  startDxgi();  // a dark desktop is no black picture
  EXPECT_TRUE(Shows(host.LastFrame(), 0, {}));
}

TEST_F(DxgiShareTest, StillScreenIsAFailureWhereItCannotBeTold) {
  for (const bool remote : {false, true}) {
    SCOPED_TRACE(remote);
    SetRemoteSession(remote);
    capture.SetScreenCaptureConfig({.scDynamicCheck = remote});
    host.Forget();
    start();
    EXPECT_EQ(host.Engines(), Engines{kDxgi});
    tick(8);
    EXPECT_EQ(host.Engines(), Engines{kDxgi});
    tick();
    EXPECT_EQ(host.Engines(), (Engines{kDxgi, kBitBlt})) << "the first look was a failure, too";
    EXPECT_TRUE(nextFrameShows({}));
    capture.ShareStop();
  }
}

TEST_F(DxgiShareTest, WithoutDynamicCheckEveryFrameIsDeliveredAlsoOfTheMouseAlone) {
  capture.SetScreenCaptureConfig({.scDynamicCheck = false});
  start();
  for (int i = 0; i < 20; ++i) {
    SetCursorPosition(i, i);
    tick();
  }
  EXPECT_EQ(host.FrameCount(), 20);
  EXPECT_EQ(devices(), 1);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
}

TEST_F(DxgiShareTest, WhereDuplicationIsUnsupportedItIsNotEvenTried) {
  SetDuplicateResult(DXGI_ERROR_UNSUPPORTED);
  start();
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_EQ(log.Count("Capture engines add ScreenCaptureEngineDXGI"), 0);
}

TEST_F(DxgiShareTest, OtherPixelsThanThirtyTwoBitAreNotTaken) {
  SetDuplicateFormat(DXGI_FORMAT_R16G16B16A16_FLOAT);
  start();
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});
  EXPECT_TRUE(log.Has(5, "IDXGIDuplicateOutput does not use RGBA (8 bit):10")) << log.Dump();
  EXPECT_EQ(log.Count("ReleaseDXGIDuplication succeed"), 1);
}

TEST_F(DxgiShareTest, DriverThatFaultsIsNeverAskedAgain) {
  SetD3DFault(0xC0000005);
  start();
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});
  EXPECT_TRUE(log.Has(5, "D3D11CreateDevice throw a exception")) << log.Dump();
  EXPECT_TRUE(nextFrameShows({}));
  SetD3DFault({});
  capture.EnableFilterWindowWhenShareDesktop(false);
  tick(2);
  EXPECT_EQ(host.Engines(), (Engines{kBitBlt, kBitBlt})) << "a new list";
  EXPECT_EQ(Count("D3D11CreateDevice"), 1u);
}

}  // namespace
}  // namespace qx::test
