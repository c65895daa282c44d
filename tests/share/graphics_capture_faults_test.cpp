// Calls that fail, devices that go, and what hangs, in shares by Windows.Graphics.Capture.
#include "platform/control/Graphics.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/control/Modules.h"
#include "tests/share/WgcShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr vwin::Fault kDeviceRemoved{0, DXGI_ERROR_DEVICE_REMOVED};

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

}  // namespace
}  // namespace qx::test
