// Shares that duplicate the desktop: what their frames show, and when they come.
#include "platform/control/Modules.h"
#include "tests/share/DxgiShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(DxgiShareTest, FirstPictureIsOnlyLookedAtAndAStillScreenIsNotDrawn) {
  OpenWindow({.rect = {20, 30, 120, 90}, .color = RGB(200, 10, 30)});
  const HWND upper = OpenWindow({.rect = {100, 80, 400, 150}, .color = RGB(10, 220, 40)});
  start();
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

TEST_F(DxgiShareTest, NothingIsToldBeforeTheSystemHasAPictureAndThenTheNewest) {
  FailNth("IDXGIOutputDuplication::AcquireNextFrame", 1, {0, DXGI_ERROR_WAIT_TIMEOUT});
  start();
  tick();  // looks at the first picture
  EXPECT_EQ(host.Events(true), (Events{"engine 2", "start"}));
  OpenWindow({.rect = {0, 0, 50, 60}, .color = RGB(1, 2, 3)});
  EXPECT_TRUE(nextFrameShows({{0, 0, 50, 60, 0x010203}}));
  EXPECT_TRUE(nextFrameShows({{0, 0, 50, 60, 0x010203}})) << "the older one never comes";
  EXPECT_EQ(devices(), 1);
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

TEST_F(DxgiShareTest, StillScreenIsHeldBackUntilItsKeepAliveTime) {
  capture.SetScreenCaptureConfig({.KeepAliveInterval = 1000, .DynamicFrameCallback = true});
  const HWND window = OpenWindow({.rect = {0, 0, 50, 60}, .color = RGB(1, 2, 3)});
  startDxgi();
  host.Forget();
  Advance(900ms);
  EXPECT_EQ(host.FrameCount(), 0);
  Advance(150ms);
  EXPECT_EQ(host.FrameCount(), 1);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 50, 60, 0x010203}}));
  MoveTo(window, 10, 10);
  EXPECT_TRUE(nextFrameShows({{10, 10, 60, 70, 0x010203}})) << "a change comes at once";
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
}

TEST_F(DxgiDirtyInfo, IsNotGatheredWhenWindowsAreFiltered) {
  startWithDirtyInfo(true);
  const std::uint64_t asked = Count("IDXGIOutputDuplication::GetFrameDirtyRects");
  MoveTo(window, 130, 140);
  EXPECT_EQ(nextDirtyInfo(), "dirty 1 0 0");
  EXPECT_EQ(nextDirtyInfo(), "dirty 0 0 0");
  EXPECT_EQ(Count("IDXGIOutputDuplication::GetFrameDirtyRects"), asked);
}

TEST_F(DxgiShareTest, PictureComesInItsLimitedSizeFromTheCard) {
  limitTo(160, 100);
  const HWND window = OpenWindow({.rect = {20, 40, 120, 90}, .color = RGB(200, 10, 30)});
  startDxgi();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{10, 20, 60, 45, 0xC80A1E}}));
  limitTo(640, 400);
  MoveTo(window, 40, 40);
  EXPECT_TRUE(nextFrameShows({{20, 20, 70, 45, 0xC80A1E}})) << "adopted after it";
  MoveTo(window, 60, 40);
  EXPECT_TRUE(nextFrameShows({{60, 40, 160, 90, 0xC80A1E}})) << "never enlarged";
  EXPECT_EQ(log.Count("need recreate m_cpuAccessTexture"), 1) << log.Dump();
  EXPECT_EQ(log.Count("scale by CPU"), 0);
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

}  // namespace
}  // namespace qx::test
