// Shares that duplicate the desktop: what their frames show, and when they come; what the
// system takes away, and what takes over.
#include <string>
#include <vector>

#include "platform/control/Graphics.h"
#include "platform/control/Modules.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

// A share's test on Windows 10, where desktop duplication comes first and copying from
// the screen takes over when it can't go on.
class DxgiShareTest : public ShareTest {
 protected:
  DxgiShareTest() { allowEngines({kDxgi, kBitBlt}); }

  // Starts a share and runs it up to its first frame: one tick after the start.
  void startDxgi(HMONITOR target = monitor()) {
    start(target);
    tick();
    ASSERT_EQ(host.Engines(), Engines{kDxgi}) << log.Dump();
    ASSERT_EQ(host.FrameCount(), 1);
  }

  int devices() const { return log.Count("CreateDXGIDuplication succeed"); }
};

TEST_F(DxgiShareTest, FirstPictureIsOnlyLookedAtAndAStillScreenIsNotDrawn) {
  OpenWindow({.rect = {20, 30, 120, 90}, .color = RGB(200, 10, 30)});
  const HWND upper = OpenWindow({.rect = {100, 80, 400, 150}, .color = RGB(10, 220, 40)});
  // Nothing is told before the system has a picture, and then that is looked at.
  FailNth("IDXGIOutputDuplication::AcquireNextFrame", 1, {0, DXGI_ERROR_WAIT_TIMEOUT});
  start();
  tick();
  EXPECT_EQ(host.Events(true), (Events{"engine 2", "start"})) << log.Dump();
  EXPECT_TRUE(nextFrameShows({{20, 30, 120, 90, 0xC80A1E}, {100, 80, 400, 150, 0x0ADC28}}));
  const std::uint64_t drawn = Count("ID3D11DeviceContext::Draw");
  tick(5);
  EXPECT_EQ(Count("ID3D11DeviceContext::Draw"), drawn);
  Minimise(upper);
  EXPECT_TRUE(nextFrameShows({{20, 30, 120, 90, 0xC80A1E}}));
  EXPECT_EQ(devices(), 1);
  capture.ShareStop();
  EXPECT_EQ(log.Count("ReleaseDXGIDuplication succeed"), 1);
}

TEST_F(DxgiShareTest, FirstNewsOfThePointerAloneIsNoPicture) {
  SetPointerBeforePicture(true);
  SetCursorShape(CursorPicture{2, 2, 0, 0, std::vector<std::uint32_t>(4, 0xFFFA0B0C)});
  SetCursorPosition(100, 60);
  for (const bool cursor : {false, true}) {
    for (const bool dynamicCheck : {true, false}) {
      SCOPED_TRACE(cursor ? "cursor" : "no cursor");
      capture.EnableCaptureCursor(cursor);
      capture.SetScreenCaptureConfig({.scDynamicCheck = dynamicCheck});
      host.Forget();
      log.Forget();
      start();
      tick();  // looks at the first picture
      EXPECT_EQ(host.Events(true), (Events{"engine 2", "start"}));
      OpenWindow({.rect = {0, 0, 9, 9}, .color = RGB(cursor, dynamicCheck, 3)});
      std::vector<Patch> patches = {
          {0, 0, 9, 9, (cursor ? 0x010000u : 0u) + (dynamicCheck ? 0x000103u : 0x000003u)}};
      if (cursor) {
        patches.push_back({100, 60, 102, 62, 0xFA0B0C});
      }
      EXPECT_TRUE(nextFrameShows(patches));
      EXPECT_EQ(devices(), 1);
      EXPECT_EQ(log.Count("find black frame"), 0);
      capture.ShareStop();
    }
  }
}

TEST_F(DxgiShareTest, StillScreenOfLimitedSizeIsHeldBackUntilItsKeepAliveTime) {
  limitTo(160, 100);
  capture.SetScreenCaptureConfig({.KeepAliveInterval = 1000, .DynamicFrameCallback = true});
  const HWND window = OpenWindow({.rect = {0, 0, 50, 60}, .color = RGB(1, 2, 3)});
  startDxgi();
  host.Forget();
  Advance(900ms);
  EXPECT_EQ(host.FrameCount(), 0);
  Advance(150ms);
  EXPECT_EQ(host.FrameCount(), 1);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 25, 30, 0x010203}}));
  MoveTo(window, 10, 10);
  EXPECT_TRUE(nextFrameShows({{5, 5, 30, 35, 0x010203}})) << "a change comes at once";
  EXPECT_EQ(log.Count("scale by CPU"), 0) << "the card does it";

  limitTo(0, 0, 20);  // no size is small enough, so it is the monitor's own
  Advance(2s);
  EXPECT_EQ(frameSize(), "320x200 of 320x200");
  host.Forget();
  Advance(900ms);
  EXPECT_LE(host.FrameCount(), 1);
}

class DxgiDirtyInfo : public DxgiShareTest {
 protected:
  void startWithDirtyInfo(bool filterWindows) {
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
    capture.EnableFilterWindowWhenShareDesktop(filterWindows);
    startDxgi();
    catchUp();
  }
  // The times of a frame that has none differ from those of the one before: lets the
  // screen rest for both.
  void catchUp() {
    Fill(window, {0, 0, 1, 1}, RGB(++m_shade, 0, 0));
    tick();
    Fill(window, {0, 0, 1, 1}, RGB(++m_shade, 0, 0));
    tick();
  }
  std::string nextDirtyInfo() {
    host.Forget();
    tick();
    const Events events = host.Events(true);
    EXPECT_EQ(events.size(), 2u);
    EXPECT_EQ(host.FrameCount(), 1);
    return events.empty() ? "" : events.front();
  }

  const HWND window = OpenWindow({.rect = {30, 40, 50, 50}, .color = RGB(200, 0, 0)});

 private:
  int m_shade = 0;
};

// The monitor has 64000 pixels, the window 200, and the cursor counts for 500.
TEST_F(DxgiDirtyInfo, CountsAndMeasuresWhatChanged) {
  startWithDirtyInfo(false);
  MoveTo(window, 130, 140);
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 2 0.00625") << "where it was and where it is";
  EXPECT_EQ(nextDirtyInfo(), "dirty 0 0 0") << "nothing changed";
  MoveTo(window, 30, 40);
  SetCursorPosition(5, 5);
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 3 0.0140625");
  catchUp();
  ReportMove(monitor(), {1, 2}, {3, 4, 23, 24});
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 0 0") << "what moved isn't counted";
  ReportMove(monitor(), {1, 2}, {3, 4, 23, 24});
  ReportMove(monitor(), {9, 2}, {3, 4, 23, 24});
  Fill(window, {0, 0, 10, 10}, RGB(1, 1, 1));
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 1 0.0015625") << "nor mixed up with what changed";
  SetCursorPosition(6, 6);
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 1 0.0078125") << "no picture changed";

  catchUp();
  std::uint8_t blue = 0;
  for (const char* call : {"IDXGIOutputDuplication::GetFrameMoveRects",
                           "IDXGIOutputDuplication::GetFrameDirtyRects"}) {
    MoveTo(window, 130, 140);
    EXPECT_EQ(nextDirtyInfo(), "dirty 1 2 0.00625");
    FailNth(call, 1);
    Fill(window, {0, 0, 20, 10}, RGB(0, 0, ++blue));
    EXPECT_EQ(nextDirtyInfo(), "dirty 1 2 0.00625") << "the last figures stay: " << call;
    EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{130, 140, 150, 150, blue}}));
    MoveTo(window, 30, 40);
    EXPECT_EQ(nextDirtyInfo(), "dirty 1 2 0.00625");
  }

  capture.ShareStop();
  host.Forget();
  startWithDirtyInfo(true);
  const std::uint64_t asked = Count("IDXGIOutputDuplication::GetFrameDirtyRects");
  MoveTo(window, 130, 140);
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 0 0") << "not gathered when windows are filtered";
  EXPECT_EQ(nextDirtyInfo(), "dirty 0 0 0");
  EXPECT_EQ(Count("IDXGIOutputDuplication::GetFrameDirtyRects"), asked);
}

TEST_F(DxgiShareTest, TurnedMonitorIsShownUprightWithItsCursor) {
  SetCursorShape(CursorPicture{4, 3, 0, 0, std::vector<std::uint32_t>(12, 0xFFFA0B0C)});
  SetCursorPosition(100, 60);
  capture.EnableCaptureCursor(true);
  OpenWindow({.rect = {0, 0, 30, 20}, .color = RGB(255, 0, 0)});
  OpenWindow({.rect = {290, 0, 320, 20}, .color = RGB(0, 255, 0)});
  OpenWindow({.rect = {0, 180, 30, 200}, .color = RGB(0, 0, 255)});
  OpenWindow({.rect = {290, 180, 320, 200}, .color = RGB(255, 255, 0)});
  const std::vector<Patch> corners = {
      {0, 0, 30, 20, 0xFF0000},       {290, 0, 320, 20, 0x00FF00},  {0, 180, 30, 200, 0x0000FF},
      {290, 180, 320, 200, 0xFFFF00}, {100, 60, 104, 63, 0xFA0B0C},
  };
  startDxgi();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, corners));
  for (const DXGI_MODE_ROTATION rotation :
       {DXGI_MODE_ROTATION_ROTATE90, DXGI_MODE_ROTATION_ROTATE180, DXGI_MODE_ROTATION_ROTATE270}) {
    SCOPED_TRACE(rotation);
    TurnMonitor(monitor(), rotation);
    tick(6);  // the rectangle is the same: three failures, a restart, a look
    host.Forget();
    EXPECT_TRUE(nextFrameShows(corners)) << log.Dump();
    EXPECT_EQ(host.Count("engine 4"), 0);
    EXPECT_EQ(host.LastFrame().width, 320);
    SetPointerShape(vwin::PointerShape{
        DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR, 1, 1, 4, {0, 0}, {0, 0, 0xFF, 0xFF}});
    SetCursorPosition(0, 199);
    std::vector<Patch> withCursor(corners.begin(), corners.end() - 1);
    withCursor.push_back({0, 199, 1, 200, 0xFF00FF});  // over the lower left window
    EXPECT_TRUE(nextFrameShows(withCursor));
    SetPointerShape({});
    SetCursorPosition(100, 60);
    EXPECT_TRUE(nextFrameShows(corners));
  }
  EXPECT_EQ(devices(), 4);
}

TEST_F(DxgiShareTest, CursorComesAndGoesWithItsSettingAndItsMonitor) {
  AddMonitor({320, 0, 400, 100});
  SetCursorShape(CursorPicture{2, 2, 0, 0, std::vector<std::uint32_t>(4, 0xFFFA0B0C)});
  SetCursorPosition(100, 60);
  startDxgi();
  EXPECT_TRUE(nextFrameShows({}));
  SetCursorPosition(50, 50);
  tick();
  SetCursorPosition(60, 60);
  const std::uint64_t drawn = Count("ID3D11DeviceContext::Draw");
  EXPECT_TRUE(nextFrameShows({}));
  EXPECT_EQ(Count("ID3D11DeviceContext::Draw"), drawn) << "the mouse alone is no change";
  capture.EnableCaptureCursor(true);
  OpenWindow({.rect = {0, 0, 10, 10}, .color = RGB(1, 2, 3)});
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x010203}, {60, 60, 62, 62, 0xFA0B0C}}))
      << "where it went meanwhile, in the shape that was told before";
  SetCursorPosition(110, 60);
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x010203}, {110, 60, 112, 62, 0xFA0B0C}}))
      << "the mouse alone is a change";
  SetCursorPosition(330, 60);
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x010203}})) << "on the other monitor";
  SetCursorPosition(5, 5);
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x010203}, {5, 5, 7, 7, 0xFA0B0C}}));
  vwin::control::HideCursor();
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x010203}}));
  vwin::control::ShowCursor();
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x010203}, {5, 5, 7, 7, 0xFA0B0C}}));
  capture.EnableCaptureCursor(false);
  OpenWindow({.rect = {0, 0, 10, 10}, .color = RGB(4, 5, 6)});
  EXPECT_TRUE(nextFrameShows({{0, 0, 10, 10, 0x040506}}));
}

TEST_F(DxgiShareTest, EachMonitorIsDuplicatedOnceAndASecondShareOfOneCopiesTheScreen) {
  const HMONITOR second = AddMonitor({320, 0, 480, 100});
  OpenWindow({.rect = {310, 0, 480, 100}, .color = RGB(3, 4, 5)});
  RemoveModule("Magnification.dll");
  startDxgi();
  for (const HMONITOR target : {second, monitor()}) {
    OtherShare other;
    ASSERT_TRUE(other.StartMonitor(target));
    tick(2);
    EXPECT_EQ(other.host.Engines(), (Engines{target == second ? kDxgi : kBitBlt})) << log.Dump();
    OpenWindow({.rect = {0, 0, 9, 9}, .color = RGB(0, target == second ? 1 : 2, 0)});
    tick();
    const std::uint32_t corner = target == second ? 0x000100 : 0x000200;
    const std::vector<Patch> first = {{310, 0, 320, 100, 0x030405}, {0, 0, 9, 9, corner}};
    EXPECT_TRUE(Shows(host.LastFrame(), kBackground, first));
    EXPECT_TRUE(target == second ? Shows(other.host.LastFrame(), 0x030405, {})
                                 : Shows(other.host.LastFrame(), kBackground, first));
  }
  capture.ShareStop();
  host.Forget();
  startDxgi();
}

TEST_F(DxgiShareTest, DesktopIsDuplicatedAnewOnlyForWhatTheKeptPictureLacks) {
  SetCursorShape(CursorPicture{2, 2, 0, 0, std::vector<std::uint32_t>(4, 0xFFFA0B0C)});
  SetCursorPosition(100, 60);
  const std::vector<Patch> withCursor = {{100, 60, 102, 62, 0xFA0B0C}};
  capture.EnableCaptureCursor(true);
  start();
  EXPECT_EQ(host.FrameCount(), 0);
  capture.EnableCaptureCursor(false);
  EXPECT_TRUE(nextFrameShows({})) << "not the first one, which has a cursor";
  EXPECT_EQ(devices(), 2);
  const std::uint64_t drawn = Count("ID3D11DeviceContext::Draw");
  tick(5);
  limitTo(160, 100);
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 160);
  limitTo(320, 200);
  tick(2);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  tick();
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  capture.EnableCaptureCursor(true);
  capture.EnableCaptureCursor(false);
  EXPECT_TRUE(nextFrameShows({})) << "changed and changed back";
  EXPECT_EQ(Count("ID3D11DeviceContext::Draw"), drawn);
  EXPECT_EQ(devices(), 2);

  // A restart that fails, and what the system won't give again.
  capture.EnableCaptureCursor(true);
  FailNth("IDXGIOutput1::DuplicateOutput", 1);
  tick(3);  // the third failure restarts it
  EXPECT_TRUE(InjectedInto());
  ClearFaults();
  EXPECT_TRUE(nextFrameShows(withCursor)) << "it is still wanted";
  SetBlackDuplicates(true);
  capture.EnableCaptureCursor(false);
  tick(5);
  EXPECT_EQ(log.Count("find black frame, drop it."), 1);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, withCursor)) << "the last good one";
  EXPECT_EQ(devices(), 4) << "and no more attempts";
  SetBlackDuplicates(false);
  const HWND window = OpenWindow({.rect = {0, 0, 9, 9}, .color = RGB(1, 2, 3)});
  EXPECT_TRUE(nextFrameShows({{0, 0, 9, 9, 0x010203}}));
  // When the screen changes there is no need.
  capture.EnableCaptureCursor(true);
  MoveTo(window, 10, 10);
  EXPECT_TRUE(nextFrameShows({{10, 10, 19, 19, 0x010203}, withCursor.front()}));
  SetCursorPosition(99, 60);
  tick();
  capture.EnableCaptureCursor(false);
  SetCursorPosition(101, 60);
  EXPECT_TRUE(nextFrameShows({{10, 10, 19, 19, 0x010203}})) << "the mouse alone brings it";
  tick(3);
  EXPECT_EQ(devices(), 4);
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
}

TEST_F(DxgiShareTest, ModeChangeRebuildsTheEngineAndItsPictureFollows) {
  OpenWindow({.rect = {20, 30, 60, 50}, .color = RGB(200, 10, 30)});
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
  EXPECT_EQ(log.Count("recreate ScreenCaptureEngineDXGI"), 1);
  EXPECT_EQ(host.Engines(), Engines{});
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
