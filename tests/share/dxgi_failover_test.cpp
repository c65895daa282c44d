// Shares that duplicate the desktop: what the system takes away, and what takes over.
#include <algorithm>

#include "tests/share/DxgiShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using Events = std::vector<std::string>;

// ---------------------------------------------------------------- the monitor changes

TEST_F(DxgiShareTest, ModeChangeRebuildsTheEngineAndItsPictureFollows) {
  const HWND window = OpenWindow({.rect = {20, 30, 60, 50}, .color = RGB(200, 10, 30)});
  startDxgi();
  host.Forget();
  for (const RECT& rect : {RECT{0, 0, 160, 100}, RECT{-40, 10, 360, 310}}) {
    SetMonitorRect(monitor(), rect);
    const int width = rect.right - rect.left;
    const int height = rect.bottom - rect.top;
    const auto oldWidth = host.FrameCount() == 0 ? 320 : 160;
    host.Forget();
    tick();
    EXPECT_EQ(host.Events(true),
              (Events{"rect " + std::to_string(rect.left) + "," + std::to_string(rect.top) + " " +
                          std::to_string(width) + "x" + std::to_string(height),
                      "frame"}));
    EXPECT_EQ(host.LastFrame().width, std::min(oldWidth, width)) << "the last picture once more";
    tick();
    EXPECT_EQ(host.FrameCount(), 1) << "the new one is only looked at";
    const RECT seen = {20 - rect.left, 30 - rect.top, 60 - rect.left, 50 - rect.top};
    EXPECT_TRUE(
        nextFrameShows({{static_cast<int>(seen.left), static_cast<int>(seen.top),
                         static_cast<int>(seen.right), static_cast<int>(seen.bottom), 0xC80A1E}}))
        << log.Dump();
    EXPECT_EQ(host.LastFrame().width, width);
    EXPECT_EQ(host.LastFrame().height, height);
  }
  EXPECT_EQ(log.Count("recreate ScreenCaptureEngineDXGI"), 2);
  MoveTo(window, 100, 100);
  EXPECT_TRUE(nextFrameShows({{140, 90, 180, 110, 0xC80A1E}}));
  EXPECT_EQ(host.Engines(), Engines{});
}

TEST_F(DxgiShareTest, RebuildingThatFailsChangesTheEngineAtOnceAndANewListBringsItBack) {
  startDxgi();
  SetDuplicateResult(DXGI_ERROR_UNSUPPORTED);
  SetMonitorRect(monitor(), {0, 0, 160, 100});
  tick();
  EXPECT_EQ(host.Engines(), (Engines{kDxgi, kGdi})) << log.Dump();
  EXPECT_TRUE(log.Has(4, "current engine error, change to next engine"));
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_EQ(host.LastFrame().width, 160);

  SetDuplicateResult(S_OK);
  capture.EnableFilterWindowWhenShareDesktop(false);
  OpenWindow({.rect = {1, 1, 9, 9}, .color = RGB(7, 8, 9)});
  tick(3);
  EXPECT_EQ(host.Engines(), (Engines{kDxgi, kGdi, kDxgi}));
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{1, 1, 9, 9, 0x070809}}));
}

TEST_F(DxgiShareTest, SameDeviceUnderANewHandleIsDuplicatedAnew) {
  startDxgi();
  const std::string changed =
      "desktopChanged " + std::to_string(idOf(RenewMonitorHandle(monitor())));
  OpenWindow({.rect = {1, 1, 9, 9}, .color = RGB(7, 8, 9)});
  tick(6);
  EXPECT_EQ(host.Count(changed), 1);
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{1, 1, 9, 9, 0x070809}})) << log.Dump();
  EXPECT_EQ(log.Count("ReleaseDXGIDuplication succeed"), 1) << "the old handle's";
}

TEST_F(DxgiShareTest, SecureDesktopTakesTheDuplicationAndTheNextOneComesAfterIt) {
  startDxgi();
  SetSecureDesktop(true);
  Advance(3s);
  EXPECT_EQ(host.Count("stop"), 0);
  SetSecureDesktop(false);
  OpenWindow({.rect = {1, 1, 9, 9}, .color = RGB(7, 8, 9)});
  Advance(2500ms);
  EXPECT_EQ(host.Engines().back(), kDxgi) << log.Dump();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{1, 1, 9, 9, 0x070809}}));
}

// -------------------------------------------------------------------- it goes on failing

TEST_F(DxgiShareTest, LostAccessRestartsAtThreeSixNineAndGivesUpAtTen) {
  startDxgi();
  failFrames(DXGI_ERROR_ACCESS_LOST);
  const int expected[] = {1, 1, 2, 2, 2, 3, 3, 3, 4};
  for (const int count : expected) {
    tick();
    EXPECT_EQ(devices(), count);
  }
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
  tick();
  EXPECT_EQ(host.Engines(), (Engines{kDxgi, kGdi}));
  EXPECT_EQ(log.Count("ReleaseDXGIDuplication succeed"), 4);
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

// ------------------------------------------------------------------------ black, still

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
}

TEST_F(DxgiShareTest, DarkDesktopIsNoBlackPicture) {
  SetDesktopColor(RGB(0, 0, 0));
  startDxgi();
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
    EXPECT_EQ(host.Engines(), (Engines{kDxgi, kGdi})) << "the first look was a failure, too";
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

// ---------------------------------------------------------------------- it can't start

TEST_F(DxgiShareTest, WhereDuplicationIsUnsupportedItIsNotEvenTried) {
  SetDuplicateResult(DXGI_ERROR_UNSUPPORTED);
  start();
  EXPECT_EQ(host.Engines(), Engines{kGdi});
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_EQ(log.Count("Capture engines add ScreenCaptureEngineDXGI"), 0);
}

TEST_F(DxgiShareTest, OtherPixelsThanThirtyTwoBitAreNotTaken) {
  SetDuplicateFormat(DXGI_FORMAT_R16G16B16A16_FLOAT);
  start();
  EXPECT_EQ(host.Engines(), Engines{kGdi});
  EXPECT_TRUE(log.Has(5, "IDXGIDuplicateOutput does not use RGBA (8 bit):10")) << log.Dump();
  EXPECT_EQ(log.Count("ReleaseDXGIDuplication succeed"), 1);
}

TEST_F(DxgiShareTest, DriverThatFaultsIsNeverAskedAgain) {
  SetD3DFault(0xC0000005);
  start();
  EXPECT_EQ(host.Engines(), Engines{kGdi});
  EXPECT_TRUE(log.Has(5, "D3D11CreateDevice throw a exception")) << log.Dump();
  EXPECT_TRUE(nextFrameShows({}));
  SetD3DFault({});
  capture.EnableFilterWindowWhenShareDesktop(false);
  tick(2);
  EXPECT_EQ(host.Engines(), (Engines{kGdi, kGdi})) << "a new list";
  EXPECT_EQ(Count("D3D11CreateDevice"), 1u);
}

}  // namespace
}  // namespace qx::test
