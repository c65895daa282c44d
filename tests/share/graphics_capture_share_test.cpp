// Shares of monitors and windows that Windows.Graphics.Capture serves.
#include <algorithm>
#include <tuple>
#include <utility>

#include "platform/control/Graphics.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/control/Modules.h"
#include "tests/share/ListAnswers.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

// A share's test on Windows 11, where WGC comes first and GDI takes over when it can't go
// on. There is a window of 100x80 whose picture is one colour, with a mark in a corner.
class WgcShareTest : public ShareTest {
 protected:
  static constexpr std::uint32_t kColor = 0x0A781E;
  static constexpr std::uint32_t kMark = 0xC80AF0;

  WgcShareTest() {
    SetVersion(kWindows11);
    allowEngines({kWgc, kBitBlt, kPrint});
    capture.EnableActiveShareWindow(false);
    Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF0));
  }

  using ShareTest::startWindow;
  void startWindow() { startWindow(window); }

  // The last frame is a picture of the window, which is cut by 2 pixels at each side and
  // scaled to its size again: what is near an edge between colours isn't looked at.
  testing::AssertionResult showsWindow(int width = 100, int height = 80) {
    const Frame frame = host.LastFrame();
    if (frame.width != width || frame.height != height) {
      return testing::AssertionFailure() << frame.width << 'x' << frame.height << '\n'
                                         << log.Dump();
    }
    const auto at = [&](int x, int y) {
      return frame.At((x - 2) * width / (width - 4), (y - 2) * height / (height - 4));
    };
    for (const auto& [x, y, rgb] : {std::tuple(2, 2, kColor),
                                    {width - 3, 2, kColor},
                                    {2, height - 3, kColor},
                                    {width - 3, height - 3, kColor},
                                    {20, 15, kMark},
                                    {40, 40, kColor}}) {
      if (at(x, y) != rgb) {
        return testing::AssertionFailure()
               << std::hex << at(x, y) << " at " << std::dec << x << ',' << y << '\n'
               << log.Dump();
      }
    }
    return testing::AssertionSuccess();
  }

  static std::uint64_t starts() { return Count("IGraphicsCaptureSession::StartCapture"); }

  const HWND window = OpenWindow({.rect = {20, 30, 120, 110}, .color = RGB(0x0A, 0x78, 0x1E)});
};

constexpr vwin::Fault kDeviceRemoved{0, static_cast<HRESULT>(0x887A0005)};

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

TEST_F(WgcShareTest, EachCallThatFailsForEverBringsTheNextEngineAndTheLogTellsWhy) {
  struct Failure {
    const char* call;
    const char* message;
    std::uint64_t nth = 1;
    vwin::Fault fault = kDeviceRemoved;
  };
  const Failure failures[] = {
      {"RoGetActivationFactory", "ScreenCaptureEngineWGC init failed"},
      {"WindowsCreateString", "ScreenCaptureEngineWGC init failed"},
      {"IGraphicsCaptureItemInterop::CreateForWindow", "ScreenCaptureEngineWGC init failed"},
      {"IGraphicsCaptureItemInterop::CreateForWindow", "CreateForWindow throw a exception", 1,
       kAccessViolation},
      {"IGraphicsCaptureItem::add_Closed", "Failed to add_Closed:"},
      {"CreateDirect3D11DeviceFromDXGIDevice", "Failed to get Direct3dDevice:"},
      {"CreateDirect3D11DeviceFromDXGIDevice", "Failed to get Direct3dDevice:", 1,
       kAccessViolation},
      {"RoGetActivationFactory", "Failed to get IDirect3D11CaptureFramePoolStatics:", 2},
      {"IGraphicsCaptureItem::get_Size", "Failed to get SizeInt32:"},
      {"IDirect3D11CaptureFramePoolStatics2::CreateFreeThreaded",
       "Failed to get IDirect3D11CaptureFramePool:"},
      {"IDirect3D11CaptureFramePool::CreateCaptureSession",
       "Failed to get IGraphicsCaptureSession:"},
      {"IGraphicsCaptureSession::StartCapture", "Failed to StartCapture:"},
      {"IDirect3D11CaptureFramePool::TryGetNextFrame", "TryGetNextFrame failed:"},
      {"IDirect3D11CaptureFrame::get_Surface", "get_Surface failed:"},
      {"IDirect3DDxgiInterfaceAccess::GetInterface", "Failed to get ID3D11Texture2D:"},
      {"IDirect3D11CaptureFrame::get_ContentSize", "Failed to get ContentSize:"},
      {"ID3D11Device::CreateVertexShader", "m_direct11Scale Init failed"},
      {"ID3D11DeviceContext::Map", "Failed to map frame:"},
      {"SendMessageTimeoutW", "ScreenCaptureEngineWGC init failed"},
  };
  for (const Failure& failure : failures) {
    SCOPED_TRACE(failure.call);
    const LedgerSnapshot ledger = Snapshot();
    log.Forget();
    host.Forget();
    FailNth(failure.call, failure.nth, failure.fault, Repeat::kOnward);
    startWindow();
    Advance(1s);
    ASSERT_FALSE(host.Engines().empty());
    EXPECT_EQ(host.Engines().back(), kPrint) << log.Dump();
    EXPECT_GE(host.FrameCount(), 1);
    EXPECT_GE(log.Count(failure.message), 1) << log.Dump();
    capture.ShareStop();
    ClearFaults();
    EXPECT_EQ(Difference(ledger), "");
  }
  startWindow();
  EXPECT_TRUE(showsWindow());
}

// One picture is lost, of a screen that stays as it is, and comes again.
TEST_F(WgcShareTest, CallThatFailsOnceCostsNoPictureOfAStillWindow) {
  for (const char* call :
       {"IDirect3D11CaptureFramePool::TryGetNextFrame", "IDirect3D11CaptureFrame::get_Surface",
        "IDirect3DDxgiInterfaceAccess::GetInterface", "IDirect3D11CaptureFrame::get_ContentSize",
        "ID3D11Device::CreateTexture2D", "ID3D11Device::CreateShaderResourceView",
        "ID3D11DeviceContext::Map", "DwmGetWindowAttribute"}) {
    SCOPED_TRACE(call);
    startWindow();
    Advance(2s);
    Fill(window, {40, 40, 60, 60}, RGB(1, 2, 3));
    AtNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, [&] { FailNth(call, 1); });
    Advance(2s);
    EXPECT_TRUE(InjectedInto());
    EXPECT_EQ(host.LastFrame().At(50, 50), 0x010203u) << log.Dump();
    EXPECT_EQ(host.Engines().back(), kWgc);
    Fill(window, {40, 40, 60, 60}, RGB(0x0A, 0x78, 0x1E));
    capture.ShareStop();
    ClearFaults();
  }
}

TEST_F(WgcShareTest, DeviceThatIsRemovedInTheMiddleIsMadeAnewOrTheNextEngineDraws) {
  for (const bool comesBack : {true, false}) {
    startWindow();
    Advance(1s);
    for (const char* call : {"ID3D11Device::CreateTexture2D", "ID3D11DeviceContext::Map",
                             "CreateDirect3D11DeviceFromDXGIDevice"}) {
      FailNth(call, 1, kDeviceRemoved, Repeat::kOnward);
    }
    Fill(window, {40, 40, 60, 60}, RGB(1, 2, 3));
    if (comesBack) {
      tick(2);
      ClearFaults();
    }
    Advance(2s);
    EXPECT_EQ(host.LastFrame().At(50, 50), 0x010203u) << log.Dump();
    EXPECT_EQ(host.Engines().back(), comesBack ? kWgc : kPrint) << log.Dump();
    Fill(window, {40, 40, 60, 60}, RGB(0x0A, 0x78, 0x1E));
    capture.ShareStop();
    ClearFaults();
  }
}

// A driver that is replaced, or hangs: what was made before is no good any more.
TEST_F(WgcShareTest, RemovedDeviceIsMadeAnewWhetherItsPoolFailsOrStaysEmpty) {
  for (const bool missesPicture : {false, true}) {
    for (const bool staysEmpty : {false, true}) {
      SCOPED_TRACE(testing::Message() << missesPicture << staysEmpty);
      startWindow();
      Advance(1500ms);  // amid two looks at everything
      const std::uint64_t before = starts();
      Fill(window, {40, 40, 60, 60}, RGB(1, 2, 3));
      if (missesPicture) {
        FailNth("ID3D11DeviceContext::Map", 1, kOutOfMemory, Repeat::kOnward);
        AtNth("IGraphicsCaptureSession::StartCapture", 1, [&] {
          FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK}, Repeat::kOnward);
        });
        Advance(1s);
        EXPECT_EQ(starts(), before + 1) << "and this session has yet to draw";
      }
      ClearFaults();
      RemoveD3DDevices();
      if (staysEmpty) {
        FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK}, Repeat::kOnward);
        AtNth("IGraphicsCaptureSession::StartCapture", 1, [] { ClearFaults(); });
      }
      Advance(3s);
      EXPECT_EQ(host.LastFrame().At(50, 50), 0x010203u) << log.Dump();
      EXPECT_EQ(host.Engines().back(), kWgc) << log.Dump();
      EXPECT_EQ(starts(), before + (missesPicture ? 2 : 1));
      Fill(window, {40, 40, 60, 60}, RGB(0x0A, 0x78, 0x1E));
      capture.ShareStop();
      ClearFaults();
    }
  }
}

// The engine's device is made with the share, long before it is used.
TEST_F(WgcShareTest, DeviceThatWasRemovedOrMissingBeforeTheEnginesTurnIsMadeThen) {
  const std::vector<Patch> shown = {{20, 30, 120, 110, kColor}, {30, 40, 50, 50, kMark}};
  allowEngines({kDxgi, kWgc, kBitBlt});
  start();
  Advance(1s);
  ASSERT_EQ(host.Engines(), Engines{kDxgi}) << log.Dump();
  SetDuplicateResult(E_FAIL);
  RemoveD3DDevices();
  Fill(window, {10, 10, 30, 20}, RGB(1, 2, 3));
  Advance(1s);
  EXPECT_EQ(host.Engines(), (Engines{kDxgi, kWgc})) << log.Dump();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground,
                    {{20, 30, 120, 110, kColor}, {30, 40, 50, 50, 0x010203}}));
  capture.ShareStop();

  Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF0));
  allowEngines({kWgc, kBitBlt});
  host.Forget();
  FailNth("D3D11CreateDevice", 1, kDeviceRemoved);
  start();
  EXPECT_TRUE(InjectedInto());
  EXPECT_EQ(host.Engines(), Engines{kWgc}) << log.Dump();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, shown));
}

TEST_F(WgcShareTest, DeviceThatRaisesWhileItIsWrappedEndsNothing) {
  const LedgerSnapshot ledger = Snapshot();
  AtNth("CreateDirect3D11DeviceFromDXGIDevice", 1,
        [] { FailNth("IUnknown::QueryInterface", 1, kAccessViolation); });
  startWindow();
  EXPECT_TRUE(InjectedInto());
  EXPECT_TRUE(log.Has(5, "Failed to get Direct3dDevice:-2147467259")) << log.Dump();
  EXPECT_EQ(host.Engines(), Engines{kPrint}) << log.Dump();
  capture.ShareStop();
  EXPECT_EQ(Difference(ledger), "");
}

// What a setting is made of while there is no new one.
TEST_F(WgcShareTest, PictureThatCannotBeReadLeavesTheLastOneWhereItIs) {
  for (const bool smallerBefore : {false, true}) {
    SCOPED_TRACE(smallerBefore);
    limitTo(320, 200);
    withoutDynamicCheck();
    startWindow();
    for (const COLORREF color : {RGB(9, 8, 7), RGB(1, 2, 3)}) {
      Fill(window, {40, 40, 60, 60}, color);
      tick(2);
    }
    ASSERT_EQ(host.LastFrame().At(50, 50), 0x010203u);
    if (smallerBefore) {
      limitTo(50, 40);
      tick();
    }
    FailNth("ID3D11DeviceContext::Map", 1);
    AtNth("IGraphicsCaptureSession::StartCapture", 1, [] {
      FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK}, Repeat::kOnward);
    });
    Fill(window, {40, 40, 60, 60}, RGB(3, 2, 1));
    tick();
    EXPECT_EQ(InjectedInto(), "ID3D11DeviceContext::Map");
    limitTo(50, 40);
    tick(8);
    ASSERT_EQ(host.LastFrame().width, 50) << log.Dump();
    EXPECT_EQ(host.LastFrame().At(25, 25), 0x010203u);
    ClearFaults();
    tick(2);
    EXPECT_EQ(host.LastFrame().At(25, 25), 0x030201u);
    EXPECT_EQ(host.Engines().back(), kWgc) << log.Dump();
    capture.ShareStop();
  }
}

TEST_F(WgcShareTest, StartThatTakesTooLongIsUndoneWheneverItComesToAnEnd) {
  for (const bool stoppedBefore : {false, true}) {
    const LedgerSnapshot ledger = Snapshot();
    SetCaptureStartTime(std::nullopt);
    host.Forget();
    const auto begin = Now();
    startWindow();
    EXPECT_EQ(host.Engines(), Engines{kPrint}) << log.Dump();
    EXPECT_EQ(CaptureSessions().size(), 1u) << "it hangs";
    if (stoppedBefore) {
      capture.ShareStop();
    }
    EXPECT_LE(Now() - begin, 2100ms) << "nobody waits for it twice";
    SetCaptureStartTime(0ms);
    Settle();
    EXPECT_TRUE(CaptureSessions().empty());
    capture.ShareStop();
    EXPECT_EQ(Difference(ledger), "");
  }
  SetCaptureStartTime(1900ms);
  host.Forget();
  startWindow();
  EXPECT_EQ(host.Engines(), Engines{kWgc});
  EXPECT_TRUE(showsWindow());
}

// The system has the thread, and the engine is long gone.
TEST_F(WgcShareTest, StopThatHangsEndsByItself) {
  const LedgerSnapshot ledger = Snapshot();
  startWindow();
  const HANDLE goOn = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  AtNth("IClosable::Close", 1, [&] { WaitForSingleObject(goOn, INFINITE); });
  const auto begin = Now();
  capture.ShareStop();
  EXPECT_LE(Now() - begin, 2100ms);
  EXPECT_EQ(CaptureSessions().size(), 1u);
  SetEvent(goOn);
  Settle();
  EXPECT_TRUE(CaptureSessions().empty());
  CloseHandle(goOn);
  EXPECT_EQ(Difference(ledger), "");
}

TEST_F(WgcShareTest, ThreadsThatAreNotToldOfTheirEndEndByThemselves) {
  const LedgerSnapshot ledger = Snapshot();
  for (const bool ofWindow : {false, true}) {
    ofWindow ? startWindow() : start();
    FailNth("PostMessageW", 1, kOutOfMemory, vwin::Repeat::kOnward);
    FailNth("PostThreadMessageW", 1, kOutOfMemory, vwin::Repeat::kOnward);
    capture.ShareStop();
    ClearFaults();
    Advance(1s);
    EXPECT_EQ(Difference(ledger), "") << ofWindow;
  }
}

TEST_F(WgcShareTest, SoftwareDeviceWillDoAndWithoutOneTheNextEngineDraws) {
  SetD3DResult(DXGI_ERROR_UNSUPPORTED);
  startWindow();
  EXPECT_EQ(host.Engines(), Engines{kWgc}) << log.Dump();
  EXPECT_TRUE(showsWindow());
  capture.ShareStop();
  SetD3DResult(E_FAIL);
  startWindow();
  EXPECT_GE(log.Count("Failed to create D3D11Device:"), 1);
  EXPECT_EQ(host.Engines().back(), kPrint);
}

TEST_F(WgcShareTest, WithoutItsModuleTheNextEngineDraws) {
  RemoveModule("combase.dll");
  startWindow();
  EXPECT_EQ(host.Engines(), Engines{kPrint});
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

TEST_F(WgcShareTest, FailuresBeforeAWindowIsIncludedAreNotThoseOfTheEngineThatShowsIt) {
  allowEngines({kWgc, kMag, kPrint});
  withoutDynamicCheck();
  startWindow();
  FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, kDeviceRemoved, Repeat::kOnward);
  tick(8);
  EXPECT_EQ(starts(), 3u) << "after 3 and 6 of them";
  capture.AddIncludeWindow({.window = OpenWindow({.rect = {40, 50, 60, 60}, .color = 0x030201})});
  FailNth("MagSetWindowSource", 2, kOutOfMemory, Repeat::kOnward);
  tick(2);
  ClearFaults();
  tick();
  EXPECT_EQ(host.LastFrame().At(20, 20), 0x010203u + kRedder) << log.Dump();
  EXPECT_EQ(host.Engines(), (Engines{kWgc, kMag}));
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
