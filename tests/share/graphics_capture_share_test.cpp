// Shares of monitors and windows that Windows.Graphics.Capture serves.
#include <algorithm>
#include <utility>

#include "platform/control/Graphics.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "tests/share/ListAnswers.h"
#include "tests/share/WgcShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(WgcShareTest, MonitorIsShownAsItIsAndAStillOneCostsNothing) {
  start();
  EXPECT_EQ(host.Engines(), Engines{kWgc}) << log.Dump();
  const std::vector<Patch> shown = {{20, 30, 120, 110, kColor}, {30, 40, 50, 50, kMark}};
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, shown));
  Advance(1s);  // the duplication gives its first picture
  const std::uint64_t read = Count("ID3D11DeviceContext::Map");
  tick(10);
  EXPECT_EQ(Count("ID3D11DeviceContext::Map"), read);
  for (const bool check : {false, true}) {
    capture.SetDynamicCheck(check);
    tick(4);
    const std::uint64_t looks = Count("IDirect3D11CaptureFramePool::TryGetNextFrame");
    tick(14);
    const std::uint64_t more = Count("IDirect3D11CaptureFramePool::TryGetNextFrame") - looks;
    EXPECT_EQ(more <= 4, check) << "once a second, and a little longer: " << more;
  }
  MoveTo(window, 50, 60);
  EXPECT_TRUE(nextFrameShows({{50, 60, 150, 140, kColor}, {60, 70, 80, 80, kMark}}));
}

TEST_F(WgcShareTest, WindowIsShownWithoutItsBorderAndWhatCoversItWhereverItLies) {
  OpenWindow({.rect = {60, 50, 200, 190}, .color = RGB(250, 0, 0)});
  startWindow();
  EXPECT_TRUE(showsWindow());
  const auto sessions = CaptureSessions();
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_FALSE(sessions[0].border);
  MoveTo(window, 70, 70);
  Advance(1s);
  EXPECT_TRUE(showsWindow());
  Fill(window, {40, 40, 60, 60}, RGB(1, 2, 3));
  tick();
  EXPECT_FALSE(showsWindow()) << "what is covered is followed, too";
  EXPECT_EQ(starts(), 1u);

  MoveTo(window, 270, 70);  // half of it is on no monitor
  Advance(1s);
  EXPECT_EQ(host.LastFrame().width, 50);
  EXPECT_EQ(host.LastFrame().At(20, 15), kMark);
  MoveTo(window, 400, 70);
  host.Forget();
  Advance(1s);
  EXPECT_EQ(host.Count("pause 3"), 1);
  EXPECT_EQ(host.Engines(), Engines{}) << log.Dump();
}

TEST_F(WgcShareTest, ChangedSizeIsFollowedFromPictureToPicture) {
  withoutDynamicCheck();
  startWindow();
  for (const auto& [width, height] : {std::pair(160, 120), {60, 50}, {280, 160}}) {
    Resize(window, width, height);
    Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF0));
    Advance(1s);
    EXPECT_TRUE(showsWindow(width, height));
  }
  EXPECT_GE(Count("IDirect3D11CaptureFramePool::Recreate"), 3u);
  EXPECT_EQ(starts(), 1u);
  EXPECT_EQ(host.Engines(), Engines{kWgc});
  Resize(window, 1, 1);  // all border
  Advance(3s);
  Resize(window, 100, 80);
  Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF0));
  Advance(1s);
  EXPECT_EQ(host.LastFrame().width, 100) << "whoever draws it";
  EXPECT_EQ(host.Count("stop"), 0);
}

TEST_F(WgcShareTest, ChangedStateOfTheWindowBringsANewSession) {
  startWindow();
  EXPECT_EQ(starts(), 1u);
  const auto expectRestart = [&](std::uint64_t count, const char* what) {
    Advance(1s);
    EXPECT_EQ(starts(), count) << what;
    EXPECT_EQ(host.Engines(), Engines{kWgc}) << what << '\n' << log.Dump();
  };
  Maximise(window);
  Fill(window, {0, 0, 320, 2}, RGB(1, 2, 3));
  expectRestart(2, "maximised");
  EXPECT_EQ(host.LastFrame().rawWidth, 298) << "what a maximised window has on the screen";
  EXPECT_EQ(host.LastFrame().At(9, 0), 0x010203u) << "without a border there is none to cut";
  Restore(window);
  expectRestart(3, "restored");
  EXPECT_EQ(host.LastFrame().width, 100);
  Minimise(window);
  Advance(1s);
  EXPECT_EQ(host.Count("pause 3"), 1) << log.Dump();
  Restore(window);
  expectRestart(4, "shown again");
  Hide(window);
  Advance(1s);
  Show(window);
  expectRestart(5, "and again");
}

TEST_F(WgcShareTest, SessionThatRefusesTheCursorIsNoSession) {
  SetCursorShape({2, 2, 0, 0, std::vector<std::uint32_t>(4, 0xFF00FFFF)});
  SetCursorPosition(200, 150);
  const std::vector<Patch> still = {{20, 30, 120, 110, kColor}, {30, 40, 50, 50, kMark}};
  start();
  FailNth("IGraphicsCaptureSession2::put_IsCursorCaptureEnabled", 2, kOutOfMemory, Repeat::kOnward);
  capture.EnableCaptureCursor(true);
  tick(3);
  EXPECT_FALSE(Shows(host.LastFrame(), kBackground, still));
  EXPECT_EQ(starts(), 1u) << "the same session shows it";
  capture.EnableCaptureCursor(false);
  Advance(1s);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, still)) << "the next engine has none either";
  EXPECT_EQ(host.Engines(), (Engines{kWgc, kBitBlt}));
}

TEST_F(WgcShareTest, SessionStartsWithTheCursorThatIsWantedAndItsFirstPictureCounts) {
  SetDuplicateFormat(DXGI_FORMAT_R16G16B16A16_FLOAT);  // the DXGI engine doesn't start
  for (const bool cursor : {false, true}) {
    for (const auto other : {kBitBlt, kDxgi}) {
      SCOPED_TRACE(other);
      allowEngines({other, kWgc});
      capture.EnableCaptureCursor(cursor);
      // A real session draws at once; what is drawn before a change of the cursor is old.
      FailNth("IDirect3D11CaptureFrame::get_SystemRelativeTime", 1);
      bool withCursor = !cursor;
      AtNth("IGraphicsCaptureSession::StartCapture", 1,
            [&] { withCursor = CaptureSessions().front().cursor; });
      host.Forget();
      start();
      EXPECT_EQ(withCursor, cursor);
      EXPECT_EQ(host.FrameCount(), 1);
      EXPECT_EQ(host.Engines(), Engines{kWgc});
      capture.ShareStop();
      ClearFaults();
    }
  }
}

TEST_F(WgcShareTest, ClosedItemIsReplacedWhileItsSourceLives) {
  startWindow();
  CloseCaptureItems(window);
  Settle();
  Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF1));
  Advance(1s);
  EXPECT_EQ(host.LastFrame().At(19, 13), 0xC80AF1u);
  EXPECT_EQ(starts(), 2u);
  EXPECT_EQ(log.Count("The target source has been closed"), 0) << "it is no failure";
  Close(window);
  Advance(1s);
  EXPECT_EQ(host.Count("stop"), 1);

  host.Forget();
  capture.ShareStop();
  start();
  CloseCaptureItems(monitor());
  Settle();
  const HWND late = OpenWindow({.rect = {0, 0, 50, 60}, .color = RGB(1, 2, 3)});
  Advance(1s);
  EXPECT_TRUE(log.Has(5, "The target source has been closed")) << log.Dump();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{0, 0, 50, 60, 0x010203}}));
  RenewMonitorHandle(monitor());
  MoveTo(late, 10, 10);
  Advance(1s);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {{10, 10, 60, 70, 0x010203}}));
  ASSERT_EQ(CaptureSessions().size(), 1u);
  EXPECT_EQ(CaptureSessions()[0].monitor, monitor());
  EXPECT_EQ(host.Engines(), Engines{kWgc}) << log.Dump();
}

TEST_F(WgcShareTest, LateClosedReachesNeitherAnEngineThatIsGoneNorTheNextSession) {
  startWindow();
  HoldClosed();
  CloseCaptureItems(window);
  Maximise(window);
  Fill(window, {0, 0, 9, 9}, RGB(9, 9, 9));
  Advance(1s);
  capture.ShareStop();
  EXPECT_EQ(std::ranges::count(Snapshot(), "pinned module", &LedgerSnapshot::value_type::kind), 1)
      << "its code must stay";
  ASSERT_TRUE(shareWindow(window)) << log.Dump();
  const std::uint64_t before = starts();
  DeliverClosed();
  Advance(1s);
  EXPECT_EQ(starts(), before);
  EXPECT_EQ(host.Count("stop"), 0);
}

TEST_F(WgcShareTest, EmptyPoolIsNoFailureAndNothingIsSentBeforeTheFirstPicture) {
  for (const bool check : {true, false}) {
    if (!check) {
      withoutDynamicCheck();
    }
    FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK}, Repeat::kOnward);
    host.Forget();
    startWindow();
    Advance(3s);
    EXPECT_EQ(host.FrameCount(), 0);
    ClearFaults();
    tick();
    EXPECT_TRUE(showsWindow());
    EXPECT_EQ(host.Engines(), Engines{kWgc});
    capture.ShareStop();
  }
  EXPECT_EQ(starts(), 2u);
}

// A duplication tells of a change before the pool has its picture, and a picture that is
// not delivered is told of no more.
TEST_F(WgcShareTest, ChangeIsShownThoughItsPictureComesLateOrIsDropped) {
  startWindow();
  Advance(1500ms);  // amid two looks at everything
  FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK});
  Fill(window, {40, 40, 60, 60}, RGB(1, 2, 3));
  tick();
  EXPECT_TRUE(InjectedInto());
  tick(2);
  EXPECT_EQ(host.LastFrame().At(50, 50), 0x010203u);

  withoutDynamicCheck();
  tick(2);
  Fill(window, {40, 40, 60, 60}, RGB(3, 2, 1));
  AtNth("ID3D11DeviceContext::Map", 1, [&] { MoveTo(window, 60, 70); });
  const std::uint64_t before = starts();
  tick();
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  tick(4);
  ASSERT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatARGB);
  EXPECT_EQ(host.LastFrame().At(50, 50), 0x010203u)
      << "what was dropped is neither repeated nor converted";
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  Advance(1s);
  EXPECT_EQ(starts(), before + 1);
  EXPECT_EQ(host.LastFrame().At(50, 50), 0x030201u);
  EXPECT_EQ(host.Engines().back(), kWgc);
}

// A watched monitor's duplication gives its picture once.
TEST_F(WgcShareTest, SharesOfAWindowAndOfItsMonitorShowTheirPicturesAtOnceSideBySide) {
  Minimise(OpenWindow({.title = L"In the list"}));
  const IScreenCapture::CaptureEngineType dxgi[] = {kDxgi, kBitBlt};
  const std::vector<Patch> shown = {{20, 30, 120, 110, kColor}, {30, 40, 50, 50, kMark}};
  for (const bool windowFirst : {true, false}) {
    OtherShare other;
    other.capture.SetCaptureEngineConfig(dxgi, 2, false);
    const ShareRecorder& screen = other.host;
    host.Forget();
    for (const bool startsWindow : {windowFirst, !windowFirst}) {
      if (startsWindow) {
        startWindow();
      } else {
        ASSERT_TRUE(other.StartMonitor(monitor())) << log.Dump();
      }
      Advance(2s);  // a window's share watches the monitor
    }
    tick(2);
    EXPECT_TRUE(showsWindow());
    EXPECT_TRUE(Shows(screen.LastFrame(), kBackground, shown)) << log.Dump();
    EXPECT_EQ(screen.Engines(), Engines{kDxgi}) << windowFirst << log.Dump();

    list();
    ThumbnailList thumbnails;
    capture.GetWindowThumbnailAll(50, 40, ThumbnailList::Take, &thumbnails);
    EXPECT_EQ(thumbnails.texts.size() - thumbnails.Failed(), 1u) << log.Dump();
    RenewMonitorHandle(monitor());  // access is lost
    Advance(2s);
    Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF1));
    Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF0));
    Advance(1s);
    EXPECT_TRUE(Shows(screen.LastFrame(), kBackground, shown)) << log.Dump();
    EXPECT_TRUE(showsWindow());
    EXPECT_EQ(host.Engines(), Engines{kWgc});
    capture.ShareStop();
  }
}

}  // namespace
}  // namespace qx::test
