// Shares that a magnifier draws: what is kept out of their frames, what goes wrong in the
// graphics card and around it, and what is left behind.
#include <optional>
#include <string>

#include "platform/control/Modules.h"
#include "tests/share/MagShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class MagExclusion : public MagShareTest {
 protected:
  static constexpr std::uint32_t kSecret = 0xE00102;

  const HWND under = OpenWindow({.rect = {0, 0, 100, 100}, .color = RGB(50, 60, 70)});
  const HWND secret = OpenWindow({.rect = {20, 20, 80, 80}, .color = RGB(0xE0, 1, 2)});
  const HWND other = OpenWindow({.rect = {200, 20, 260, 80}, .color = RGB(10, 20, 30)});

  const std::vector<Patch> all = {
      {0, 0, 100, 100, 0x323C46}, {20, 20, 80, 80, kSecret}, {200, 20, 260, 80, 0x0A141E}};
  const std::vector<Patch> hidden = {{0, 0, 100, 100, 0x323C46}, {200, 20, 260, 80, 0x0A141E}};
};

// Nothing on the screen has changed, so that no picture would be made otherwise.
TEST_F(MagExclusion, RulesThatComeAndGoOnAStillScreenHoldForTheNextFrame) {
  startMag();
  tick(3);
  EXPECT_TRUE(magShows(all));
  forbid(kSecret);
  capture.Exclude({secret});
  tick(2);
  EXPECT_TRUE(magShows(hidden)) << "one tick is spent on the other number of windows";
  EXPECT_TRUE(nextMagFrameShows(hidden));
  forbid(0x0A141E);
  capture.Exclude({other});
  EXPECT_TRUE(nextMagFrameShows({{0, 0, 100, 100, 0x323C46}, {20, 20, 80, 80, kSecret}}))
      << "as many windows as before, but another one";
  EXPECT_TRUE(nextMagFrameShows({{0, 0, 100, 100, 0x323C46}, {20, 20, 80, 80, kSecret}}));
  EXPECT_EQ(leaks, 0);
  host.onEvent = {};
  capture.Exclude({});
  tick();
  EXPECT_TRUE(nextMagFrameShows(all));
}

TEST_F(MagExclusion, HoldsWhileTheShellHangs) {
  forbid(kSecret);
  capture.Exclude({secret});
  startMag();
  SetOnOtherVirtualDesktop(OpenWindow({}), true);
  SetShellHangs(true);
  for (int i = 0; i < 10; ++i) {
    Fill(other, {0, 0, 60, 60}, RGB(10, 20, 30 + i));
    tick();
  }
  EXPECT_GE(host.FrameCount(), 5) << "one tick waits";
  EXPECT_EQ(leaks, 0);
  const auto asked = Now();
  capture.ShareStop();
  EXPECT_LE(Now() - asked, 250ms);
  SetShellHangs(false);
  Settle();
}

TEST_F(MagExclusion, ListThatIsRefusedStopsTheFramesButNotTheShare) {
  withoutDynamicCheck();
  capture.Exclude({secret});
  startMag();
  host.Forget();
  FailNth("MagSetWindowFilterList", 1, {ERROR_INVALID_PARAMETER, 0}, vwin::Repeat::kOnward);
  tick(30);
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_TRUE(log.Has(4, "set exclude filter list failed,size:2 code:87")) << log.Dump();
  EXPECT_EQ(log.Count("set exclude filter list failed"), 1);
  ClearFaults();
  EXPECT_TRUE(nextMagFrameShows(hidden));
  EXPECT_EQ(host.Engines(), Engines{}) << "no failure of the engine";
}

TEST_F(MagExclusion, TwoSharesHaveMagnifiersAndListsOfTheirOwn) {
  OtherShare second;
  second.capture.Exclude({other});
  capture.Exclude({secret});
  startMag();
  ASSERT_TRUE(second.StartMonitor(monitor()));
  tick(3);
  const std::vector<Patch> withoutOther = {{0, 0, 100, 100, 0x323C46}, {20, 20, 80, 80, kSecret}};
  EXPECT_TRUE(magShows(hidden));
  EXPECT_TRUE(ShowsRedder(second.host.LastFrame(), withoutOther)) << log.Dump();
  EXPECT_EQ(magnifierWindows(), 2u);
  EXPECT_EQ(log.Count("begin message loop"), 1) << "one thread serves both";

  capture.ShareStop();
  EXPECT_EQ(magnifierWindows(), 1u);
  MoveTo(secret, 110, 20);
  tick();
  EXPECT_TRUE(ShowsRedder(second.host.LastFrame(),
                          {{0, 0, 100, 100, 0x323C46}, {110, 20, 170, 80, kSecret}}));
  EXPECT_EQ(log.Count("MagThread recv WM_QUIT message"), 0);

  startMag();
  LockSession(true);
  tick(2);
  EXPECT_EQ(host.Count("stop") + second.host.Count("stop"), 2);
  capture.ShareStop();
  EXPECT_EQ(magnifierWindows(), 0u) << "also the other share's";
  EXPECT_EQ(log.Count("MagThread recv WM_QUIT message"), 1);
  LockSession(false);
  startMag();
  EXPECT_EQ(magnifierWindows(), 1u);
  second.capture.ShareStop();
  EXPECT_EQ(magnifierWindows(), 1u) << "its own was an earlier thread's";
  EXPECT_TRUE(nextMagFrameShows(hidden));
}

TEST_F(MagShareTest, WindowIsSharedWithoutWhatCoversItAndWaitsUntilThatIsKnown) {
  const HWND window = OpenWindow({.rect = {40, 30, 140, 110}, .color = RGB(20, 30, 40)});
  OpenWindow({.rect = {60, 50, 200, 150}, .color = RGB(0xE0, 1, 2)});
  forbid(0xE00102);
  allowEngines({kMag});
  capture.EnableActiveShareWindow(false);
  startWindow(window);
  Advance(3s);
  EXPECT_TRUE(Shows(host.LastFrame(), 0x151E28, {})) << log.Dump();
  host.Forget();
  tick(15);
  EXPECT_EQ(host.FrameCount(), 15) << "a still window is a success";
  OpenWindow({.rect = {60, 50, 90, 80}, .color = RGB(0xE0, 1, 2)});
  tick();
  host.Forget();
  Advance(550ms);
  EXPECT_EQ(host.FrameCount(), 0) << "another number of covering windows takes a while";
  Advance(120ms);
  EXPECT_GE(host.FrameCount(), 1);
  EXPECT_EQ(host.Events(), Events{}) << "but is no pause";
  FailNth("MagSetWindowFilterList", 1, {ERROR_INVALID_PARAMETER, 0}, vwin::Repeat::kOnward);
  Fill(window, {30, 30, 40, 40}, RGB(3, 2, 1));
  tick(2);
  EXPECT_EQ(host.Events(), Events{"pause 6"});
  ClearFaults();
  tick();
  EXPECT_EQ(host.Events(), (Events{"pause 6", "resume"}));
  EXPECT_EQ(leaks, 0);
}

TEST_F(MagShareTest, StillScreenIsDrawnOnceASecondOnly) {
  const HWND window = OpenWindow({.rect = {0, 0, 50, 60}, .color = RGB(1, 2, 3)});
  startMag();
  tick(15);
  const std::uint64_t drawn = Count("MagSetWindowSource");
  host.Forget();
  tick(45);
  EXPECT_EQ(host.FrameCount(), 45) << "the last picture is repeated";
  EXPECT_LE(Count("MagSetWindowSource") - drawn, 4u);
  EXPECT_GE(Count("MagSetWindowSource") - drawn, 2u);
  MoveTo(window, 10, 10);
  EXPECT_TRUE(nextMagFrameShows({{10, 10, 60, 70, 0x010203}}));
  int x = 20;
  for (const char* call : {"MagSetWindowSource", "IDirect3DDevice9::GetRenderTargetData"}) {
    MoveTo(window, ++x, 30);
    FailNth(call, 1);
    tick();
    EXPECT_TRUE(nextMagFrameShows({{x, 30, x + 50, 90, 0x010203}})) << "missed with " << call;
  }
}

TEST_F(MagShareTest, FifthBlackPictureEndsTheEngineUnlessOneWasGood) {
  for (const bool good : {false, true}) {
    SCOPED_TRACE(good);
    withoutDynamicCheck();
    SetBlackMagnifier(!good);
    startMag();
    SetBlackMagnifier(true);
    tick(3);
    EXPECT_EQ(host.FrameCount(), 4);
    EXPECT_TRUE(Shows(host.LastFrame(), 0, {})) << "until then they are delivered";
    EXPECT_EQ(host.Engines(), Engines{kMag});
    tick(2);
    EXPECT_EQ(host.Engines(), good ? Engines{kMag} : (Engines{kMag, kBitBlt}));
    SetBlackMagnifier(false);
    EXPECT_TRUE(good ? nextMagFrameShows({}) : nextFrameShows({}));
    capture.ShareStop();
  }
  EXPECT_EQ(log.Count("mag engine capture black frame, change to next engine"), 1);
}

TEST_F(MagShareTest, MagnifierThatIsGoneOrDrawsNothingIsStartedAnewAndThenGivenUp) {
  withoutDynamicCheck();
  startMag();
  PostMessageW(LibraryWindows(L"Magnifier").front().handle, WM_CLOSE, 0, 0);
  tick(4);
  EXPECT_EQ(log.Count("m_magnificationWindow is nullptr"), 3) << log.Dump();
  EXPECT_TRUE(nextMagFrameShows({}));
  SetStretchRectCalls(0);
  host.Forget();
  tick(9);
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_EQ(host.Engines(), Engines{});
  SetStretchRectCalls(3);
  EXPECT_TRUE(nextMagFrameShows({})) << "in time";
  SetStretchRectCalls(0);
  tick(10);
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(MagShareTest, FaultInTheGraphicsDriverCostsOneShareItsEngine) {
  for (const std::uint64_t call : {1u, 2u}) {
    host.Forget();
    FailNth("Direct3DCreate9Ex", call, kAccessViolation);
    start();
    EXPECT_EQ(host.Engines(), Engines{kBitBlt}) << "the call no. " << call << '\n' << log.Dump();
    EXPECT_TRUE(nextFrameShows({}));
    EXPECT_EQ(magnifierWindows(), 0u);
    capture.ShareStop();
    ClearFaults();
  }
  EXPECT_EQ(log.Count("Direct3DCreate9Ex throw a exception"), 2);
  EXPECT_FALSE(log.Has(5, "Direct3DCreate9Ex")) << "the structured guard's";
  EXPECT_EQ(log.Count("Exception occurred when create MagWindow"), 1);
  EXPECT_TRUE(log.Has(5, "get stretchRectOriginal failed"));
  startMag();
  EXPECT_TRUE(magShows({}));
}

TEST_F(MagShareTest, SystemsWithoutAWorkingLibraryAreServedByTheNextEngine) {
  RaiseInMagnification();  // as Wine does
  start();
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});
  EXPECT_TRUE(log.Has(4, "MagInitialize raised an exception")) << log.Dump();
  EXPECT_FALSE(log.Has(5, "MagInitialize")) << "the structured guard's, not the last resort's";
  EXPECT_TRUE(log.Has(5, "MagThread Initialize failed"));
  EXPECT_TRUE(nextFrameShows({}));
  capture.ShareStop();
  ClearFaults();
  FailNth("MagSetColorEffect", 1, kAccessViolation);
  host.Forget();
  start();
  EXPECT_EQ(host.Engines(), Engines{kBitBlt}) << "nothing would be drawn through Direct3D";
  EXPECT_EQ(magnifierWindows(), 0u);
  EXPECT_EQ(log.Count("MagThread recv WM_QUIT message"), 1);
  capture.ShareStop();
  startMag();
}

TEST_F(MagShareTest, LibraryWithoutAllFunctionsIsNotUsed) {
  RemoveExport("Magnification.dll", "MagSetColorEffect");
  start();
  EXPECT_EQ(host.Engines(), Engines{kBitBlt});
  EXPECT_TRUE(log.Has(5, "Load Magnification functions failed")) << log.Dump();
}

TEST_F(MagShareTest, Direct3D12StaysLoadedWhereDirect3D9WorksByWayOfIt) {
  LoadModule("d3d9on12.dll");
  LoadModule("d3d12.dll");
  startMag();
  EXPECT_EQ(log.Count("CheckD3D9On12Feature"), 0) << "unless it was asked for, and in time";
}

TEST_F(MagShareTest, Direct3D12IsPinnedWhenAskedFor) {
  LoadModule("d3d9on12.dll");
  LoadModule("d3d12.dll");
  ScreenCapture::EnableScreenShareD3D12CompatibleFix();
  startMag();
  EXPECT_TRUE(log.Has(3, "CheckD3D9On12Feature successfully pinned d3d12 module.")) << log.Dump();
}

}  // namespace
}  // namespace qx::test
