// What a host may expect of a share whichever engine serves it: the same demands on every
// kind of machine, with the engine that comes first there.
#include <algorithm>
#include <string>

#include "platform/control/Graphics.h"
#include "platform/control/Modules.h"
#include "tests/share/AllocationHook.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

struct Machine {
  const char* name;
  vwin::Version version;
  bool composition;
  int engine;
  bool sharesWindow = false;
};

class EveryEngine : public ShareTest, public testing::WithParamInterface<Machine> {
 protected:
  static constexpr std::uint32_t kColor = 0x0A781E;
  static constexpr std::uint32_t kOtherColor = 0x1E0A78;

  EveryEngine() {
    SetVersion(GetParam().version);
    SetComposition(GetParam().composition);
    if (GetParam().engine != kMag) {
      RemoveModule("Magnification.dll");
    }
    // A monitor is duplicated first.
    if (GetParam().engine == kWgc) {
      allowEngines({kWgc, kBitBlt});
    } else {
      allowEngines({});
    }
    capture.EnableActiveShareWindow(false);
  }

  static bool sharesWindow() { return GetParam().sharesWindow; }

  // Up to a picture: some engines look at the first one, or settle what to leave out.
  void begin() {
    host.Forget();
    if (sharesWindow()) {
      startWindow(window);
    } else {
      start();
    }
    tick(15);
    ASSERT_EQ(host.Engines(), Engines{GetParam().engine}) << log.Dump();
  }
  void paint(std::uint32_t rgb) {
    Fill(window, {0, 0, 640, 400}, RGB(rgb >> 16, rgb >> 8 & 255, rgb & 255));
  }
  // The window is all of its share, and lies at `place` of a monitor's picture.
  testing::AssertionResult shows(std::uint32_t rgb, const RECT& place) {
    const std::uint32_t redder = GetParam().engine == kMag ? kRedder : 0;
    const Patch whole = {place.left, place.top, place.right, place.bottom, rgb + redder};
    return sharesWindow() ? Shows(host.LastFrame(), rgb + redder, {}) << log.Dump()
                          : Shows(host.LastFrame(), kBackground + redder, {whole}) << log.Dump();
  }

  const HWND window =
      OpenWindow({.title = L"Shared", .rect = {20, 30, 120, 110}, .color = RGB(0x0A, 0x78, 0x1E)});
};

TEST_P(EveryEngine, ShowsWhatChangesRepeatsWhatDoesNotAndKeepsToTheLimit) {
  begin();
  EXPECT_TRUE(shows(kColor, {20, 30, 120, 110}));
  paint(kOtherColor);
  tick();
  EXPECT_TRUE(shows(kOtherColor, {20, 30, 120, 110}));
  EXPECT_EQ(host.Count("firstFrame"), 1);
  host.Forget();
  tick(20);
  EXPECT_EQ(host.FrameCount(), 20);
  const auto times = host.Timestamps();
  EXPECT_EQ(std::ranges::adjacent_find(times, std::greater_equal()), times.end());
  EXPECT_TRUE(shows(kOtherColor, {20, 30, 120, 110}));

  limitTo(sharesWindow() ? 50 : 160, sharesWindow() ? 40 : 100);
  for (const std::uint32_t color : {kColor, kOtherColor, kColor}) {  // it comes after a picture
    paint(color);
    tick(2);
  }
  EXPECT_EQ(frameSize(), sharesWindow() ? "50x40 of 100x80" : "160x100 of 320x200");
  EXPECT_TRUE(shows(kColor, {10, 15, 60, 55}));
  EXPECT_EQ(host.Engines(), Engines{});
}

TEST_P(EveryEngine, TakesNoMemoryForFramesOfTheSameSize) {
  AddMonitor({400, 0, 480, 100});
  for (int i = 0; i < 20; ++i) {
    OpenWindow({.title = L"Window",
                .rect = {10 * i, 5 * i, 10 * i + 40, 5 * i + 30},
                .processId = static_cast<DWORD>(7999 + i % 3)});
  }
  capture.AddExcludeWindow({.type = 1, .titleRule = 2, .processId = 8000});
  capture.EnableCaptureCursor(true);
  capture.EnablePromptWindow(true);
  // Figures of what changed are gathered where no window is left out.
  capture.EnableFilterWindowWhenShareDesktop(GetParam().engine != kDxgi);
  capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true, .scNewMouseCaptureWay = true});
  SetPointerShape(vwin::PointerShape{
      DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR, 1, 1, 4, {0, 0}, {0, 0, 0xFF, 0xFF}});
  host.keepPixels = false;
  ScreenCapture::UnregisterLogCallBack();
  begin();
  const auto run = [&](int ticks) {
    for (int i = 0; i < ticks; ++i) {
      paint(i % 2 == 0 ? kColor : kOtherColor);
      SetCursorPosition(50 + i % 2 * 20, 60);
      tick();
    }
  };
  for (const auto format :
       {IScreenCapture::ScreenFrameFormatARGB, IScreenCapture::ScreenFrameFormatI420}) {
    capture.SetScreenFrameFormatType(format);
    run(90);  // longer than any interval of the log
    host.Forget();
    const std::uint64_t textures = Count("ID3D11Device::CreateTexture2D");
    const LibraryAllocations allocations;
    run(20);
    if (GetParam().engine == kWgc) {
      EXPECT_LE(Count("ID3D11Device::CreateTexture2D") - textures, 20u) << "one for the scaler";
    }
    tick(20);  // nothing changes
    EXPECT_EQ(allocations.count(), 0) << allocations.where();
    EXPECT_EQ(host.FrameCount(), 40);
    EXPECT_EQ(host.LastFrame().format, format);
  }
  const LibraryAllocations allocations;
  SetMonitorRect(monitor(), {0, 0, 640, 480});
  Resize(window, 120, 90);
  tick(10);
  EXPECT_GT(allocations.count(), 0) << "a new size takes memory, or nothing is being counted";
}

class EveryMonitorEngine : public EveryEngine {};
class EveryCopyOfTheScreen : public EveryEngine {};

TEST_P(EveryMonitorEngine, ChangesOfTheMonitorAreFollowedAndToldOnceUntilItIsUnplugged) {
  capture.EnablePromptWindow(true);
  const IScreenCapture::PromptWindowInfo white = {255, 255, 255, 4};  // which is transparent
  capture.SetPromptWindowInfo(&white);
  HMONITOR target = AddMonitor({320, 0, 640, 200});
  begin();
  capture.ShareStop();
  start(target);
  tick(2);
  host.Forget();
  SetMonitorRect(target, {480, 390, 640, 490});
  MoveTo(window, 500, 400);
  tick(6);
  EXPECT_EQ(host.Events(), Events{"rect 480,390 160x100"});
  EXPECT_EQ(captureRect(), "480,390 160x100");
  EXPECT_EQ(frameSize(), "160x100 of 160x100");
  EXPECT_TRUE(shows(kColor, {20, 10, 120, 90}));
  const auto frames = LibraryWindows(L"OrvaSSPromptDesktop");
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_EQ(frames[0].rect.left, 480);
  EXPECT_EQ(frames[0].rect.bottom, 490);

  host.Forget();
  target = RenewMonitorHandle(target);
  paint(kOtherColor);
  tick(6);
  EXPECT_EQ(host.Events(), Events{"desktopChanged " + std::to_string(idOf(target))});
  EXPECT_TRUE(shows(kOtherColor, {20, 10, 120, 90}));

  host.Forget();
  RemoveMonitor(target);
  tick(4);
  EXPECT_EQ(host.Events(true), Events{"stop"});
  EXPECT_TRUE(log.Has(4, "Monitor disconnected"));
  EXPECT_FALSE(share(monitor()));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning) << "until the host stops it";
  capture.ShareStop();
  begin();
}

TEST_P(EveryCopyOfTheScreen, SecureDesktopSuspendsTheShareAndItsEngineComesBack) {
  begin();
  host.Forget();
  SetSecureDesktop(true);
  tick();
  EXPECT_TRUE(log.Has(3, "uac prompt, need try capture later")) << log.Dump();
  Advance(5s);
  EXPECT_EQ(host.FrameCount(), 0) << "nothing of the secure desktop is shown";
  SetSecureDesktop(false);
  paint(kOtherColor);
  Advance(800ms);
  EXPECT_EQ(host.FrameCount(), 0) << "it tries every two seconds";
  Advance(500ms);
  EXPECT_GT(host.FrameCount(), 0);
  EXPECT_TRUE(shows(kOtherColor, {20, 30, 120, 110}));
  EXPECT_EQ(host.Engines().back(), GetParam().engine);
  EXPECT_EQ(host.Count("stop"), 0);
}

TEST_P(EveryMonitorEngine, LackOfMemoryRepeatsTheLastPictureUntilThereIsSome) {
  begin();
  {
    const FailLargeAllocations noMemory(640 * 400 * 4);
    FailNth("CreateDIBSection", 1, {ERROR_NOT_ENOUGH_MEMORY, E_OUTOFMEMORY}, Repeat::kOnward);
    SetMonitorRect(monitor(), {0, 0, 640, 400});
    tick(4);
    EXPECT_TRUE(noMemory.failed() > 0 || InjectedInto());
    EXPECT_EQ(host.LastFrame().width, 320);
    EXPECT_TRUE(shows(kColor, {20, 30, 120, 110}));
    EXPECT_LE(log.Count("resize buffer failed, use last"), GetParam().engine == kMag ? 4 : 1);
    ClearFaults();
  }
  for (const std::uint32_t color : {kColor, kOtherColor}) {  // one to look at
    paint(color);
    tick(2);
  }
  EXPECT_EQ(host.LastFrame().width, 640);
  EXPECT_TRUE(shows(kOtherColor, {20, 30, 120, 110}));
  EXPECT_EQ(host.Engines(), Engines{GetParam().engine});
}

std::string NameOf(const testing::TestParamInfo<Machine>& test) { return test.param.name; }

constexpr Machine kMonitors[] = {
    {"Windows7Classic", kWindows7, false, kBitBlt}, {"Windows7", kWindows7, true, kBitBlt},
    {"Windows8", kWindows8, true, kBitBlt},         {"Windows81", kWindows81, true, kDxgi},
    {"Windows10", kWindows10, true, kDxgi},         {"Windows10Magnifier", kWindows10, true, kMag},
    {"Windows11", kWindows11, true, kDxgi}};
constexpr Machine kSessions[] = {{"Windows11GraphicsCapture", kWindows11, true, kWgc}};
constexpr Machine kWindows[] = {{"Windows7ClassicWindow", kWindows7, false, kBitBlt, true},
                                {"Windows10Window", kWindows10, true, kPrint, true},
                                {"Windows10MagnifiedWindow", kWindows10, true, kMag, true},
                                {"Windows11Window", kWindows11, true, kWgc, true}};

INSTANTIATE_TEST_SUITE_P(Monitors, EveryEngine, testing::ValuesIn(kMonitors), NameOf);
INSTANTIATE_TEST_SUITE_P(Sessions, EveryEngine, testing::ValuesIn(kSessions), NameOf);
INSTANTIATE_TEST_SUITE_P(Windows, EveryEngine, testing::ValuesIn(kWindows), NameOf);
INSTANTIATE_TEST_SUITE_P(Monitors, EveryMonitorEngine, testing::ValuesIn(kMonitors), NameOf);
INSTANTIATE_TEST_SUITE_P(Sessions, EveryMonitorEngine, testing::ValuesIn(kSessions), NameOf);
INSTANTIATE_TEST_SUITE_P(Monitors, EveryCopyOfTheScreen, testing::ValuesIn(kMonitors), NameOf);

}  // namespace
}  // namespace qx::test
