// A share of one window: what it shows, and how it follows the window.
#include <algorithm>
#include <utility>

#include "tests/share/WindowShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(WindowShareTest, DraggedWindowPausesOnceUntilItStandsStill) {
  startWindow();
  host.Forget();
  for (int step = 1; step <= 6; ++step) {
    MoveTo(window, 40 + 10 * step, 30);
    tick();
  }
  EXPECT_EQ(host.Events(), (Events{"rect 50,30 100x80", "pause 4", "rect 80,30 100x80"}));
  EXPECT_EQ(host.FrameCount(), 1) << "nothing but the first keep-live frame";
  settleMove();
  EXPECT_EQ(host.Events(), (Events{"rect 50,30 100x80", "pause 4", "rect 80,30 100x80",
                                   "rect 100,30 100x80", "resume"}));
  EXPECT_TRUE(showsWindow());

  host.Forget();
  Resize(window, 60, 50);
  settleMove();
  EXPECT_EQ(host.Events(), (Events{"rect 100,30 60x50", "pause 4", "resume"}));
  EXPECT_EQ(frameSize(), "60x50 of 60x50");
  EXPECT_EQ(captureRect(), "100,30 60x50");

  capture.SetScreenCaptureConfig({.MovedWindowStableKeepMinDuration = 2000});
  MoveTo(window, 50, 50);
  tick(2);
  host.Forget();
  Advance(1700ms);
  EXPECT_EQ(host.Count("resume"), 0) << "how long is a setting";
  Advance(300ms);
  EXPECT_EQ(host.Count("resume"), 1);
}

struct Absence {
  const char* name;
  void (*leave)(HWND);
  void (*comeBack)(HWND);
  const char* pause;
};

class WindowAbsenceTest : public WindowShareTest, public testing::WithParamInterface<Absence> {};

TEST_P(WindowAbsenceTest, PausesAndGoesOn) {
  startWindow();
  host.Forget();
  GetParam().leave(window);
  Fill(window, {0, 0, 100, 80}, RGB(7, 7, 7));
  Advance(1500ms);
  EXPECT_EQ(host.Events(), Events{GetParam().pause});
  EXPECT_EQ(host.FrameCount(), 2) << "keep-live frames, once a second";
  EXPECT_TRUE(showsWindow()) << "with the last picture from before";

  GetParam().comeBack(window);
  settleMove();
  EXPECT_EQ(host.Events(), (Events{GetParam().pause, "resume"}));
  EXPECT_TRUE(Shows(host.LastFrame(), 0x070707, {}));
}

INSTANTIATE_TEST_SUITE_P(All, WindowAbsenceTest,
                         testing::Values(Absence{"Minimised", Minimise, Restore, "pause 3"},
                                         Absence{"Hidden", Hide, Show, "pause 3"},
                                         Absence{"Cloaked", [](HWND w) { SetCloaked(w, true); },
                                                 [](HWND w) { SetCloaked(w, false); }, "pause 3"},
                                         Absence{"OtherVirtualDesktop",
                                                 [](HWND w) { SetOnOtherVirtualDesktop(w, true); },
                                                 [](HWND w) { SetOnOtherVirtualDesktop(w, false); },
                                                 "pause 5"}),
                         [](const auto& test) { return test.param.name; });

// The shell knows the virtual desktops, and is asked about cloaked windows only.
TEST_F(WindowShareTest, ShellThatHangsHoldsUpNoFrameNoPauseAndNoStop) {
  startWindow();
  host.Forget();
  SetShellHangs(true);
  Fill(window, {0, 0, 100, 80}, RGB(7, 7, 7));
  const auto hung = Now();
  tick(2);
  EXPECT_TRUE(Shows(host.LastFrame(), 0x070707, {}));
  EXPECT_LE(Now() - hung, 200ms) << "nobody asks";
  SetOnOtherVirtualDesktop(window, true);
  Advance(1500ms);
  EXPECT_EQ(host.Events(), Events{"pause 3"}) << "cloaked, wherever it is";
  const auto asked = Now();
  capture.ShareStop();
  EXPECT_LE(Now() - asked, 450ms);
  SetShellHangs(false);
  Settle();
}

TEST_F(WindowShareTest, ChildIsHiddenWithItsParent) {
  const HWND child = openShared({.parent = window});
  startWindow(child);
  Hide(window);
  tick(2);
  EXPECT_EQ(host.Events().back(), "pause 3");
  Show(window);
  settleMove();
  EXPECT_EQ(host.Events().back(), "resume");
}

TEST_F(WindowShareTest, MinimisedWindowIsRestoredAtTheStartAndLaterGivenTimeToDrawItself) {
  Minimise(window);
  startWindow();
  EXPECT_FALSE(IsIconic(window));
  EXPECT_TRUE(showsWindow());
  Minimise(window);
  tick(2);
  Restore(window);
  host.Forget();
  Advance(180ms);
  EXPECT_EQ(host.FrameCount(), 0);
  Advance(100ms);
  EXPECT_GE(host.FrameCount(), 1);
}

TEST_F(WindowShareTest, OffScreenWindowCountsAsHiddenUntilAMonitorShowsIt) {
  startWindow();
  host.Forget();
  MoveTo(window, 5000, 5000);
  settleMove();
  EXPECT_EQ(host.Events(), (Events{"pause 4", "pause 3"}));
  MoveTo(window, 10, 10);
  settleMove();
  EXPECT_EQ(host.Events(),
            (Events{"pause 4", "pause 3", "rect 10,10 100x80", "pause 4", "resume"}));

  RemoveMonitor(monitor());
  tick(2);
  EXPECT_EQ(host.Events().back(), "stop");
  EXPECT_TRUE(log.Has(4, "screen disconnect"));
}

TEST_F(WindowShareTest, SizesThatCantBeShown) {
  for (const auto& [rect, starts] :
       {std::pair{RECT{40, 30, 40, 30}, false}, std::pair{RECT{5000, 30, 5100, 100}, false},
        std::pair{RECT{40, 30, 41, 31}, true}, std::pair{RECT{40, 30, 47, 430}, true}}) {
    host.Forget();
    SetRect(window, rect);
    EXPECT_EQ(shareWindow(window), starts);
    if (!starts) {
      EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed);
      EXPECT_EQ(host.Events(), Events{});
      continue;
    }
    tick();
    EXPECT_EQ(host.Events(), (Events{"engine 5", "start", "pause 1"}));
    SetRect(window, kWindowRect);
    settleMove();
    EXPECT_EQ(host.Events().back(), "resume");
    EXPECT_EQ(host.LastFrame().width, 100);
    capture.ShareStop();
  }
}

class SystemsTest : public WindowShareTest, public testing::WithParamInterface<bool> {};

TEST_P(SystemsTest, WindowThatPrintsItselfIsWholeAndTheScreenHoldsThePartAboveTheTaskbar) {
  const bool copies = GetParam();
  if (copies) {
    useClassicWindows7();
  }
  AddMonitor({320, 0, 640, 200}, {.workArea = RECT{320, 0, 640, 180}});
  AddMonitor({640, 0, 960, 200});
  SetRect(window, {300, 100, 700, 195});
  startWindow();
  EXPECT_EQ(frameSize(), copies ? "320x80 of 320x80" : "400x95 of 400x95");
  host.Forget();
  MoveTo(window, 310, 100);
  settleMove();
  const std::string rect = copies ? "rect 320,100 320x80" : "rect 310,100 400x95";
  EXPECT_EQ(host.Events(), (Events{rect, "pause 4", "resume"})) << "what the audience sees";
}

INSTANTIATE_TEST_SUITE_P(Engines, SystemsTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Copied" : "Printed"; });

TEST_F(WindowShareTest, CoveringWindowsAreCutOutAndLeftAsTheyWere) {
  useClassicWindows7();
  const HWND cover = OpenWindow({.rect = {60, 40, 90, 70}, .color = RGB(1, 250, 1)});
  const HWND glass = OpenWindow({.rect = {90, 40, 100, 70}, .color = RGB(1, 1, 250)});
  SetLayered(glass, std::nullopt, std::uint8_t{255});
  OpenWindow({.rect = {60, 80, 90, 90}, .color = RGB(9, 9, 9), .owner = window});
  const auto isLayered = [](HWND w) {
    return (GetWindowLongPtrW(w, GWL_EXSTYLE) & WS_EX_LAYERED) != 0;
  };
  capture.EnableActiveShareWindow(false);
  startWindow();
  const std::vector<Patch> own = {{0, 0, 10, 10, kMarkColor}, {20, 50, 50, 60, 0x090909}};
  EXPECT_TRUE(Shows(host.LastFrame(), kWindowColor, own)) << "with the dialog it owns";
  EXPECT_TRUE(isLayered(cover));
  SetLayered(window, std::nullopt, std::uint8_t{255});
  tick(3);
  EXPECT_EQ(log.Count("is layered, a copy of the screen lacks it"), 1) << "limited";
  capture.ShareStop();
  EXPECT_FALSE(isLayered(cover)) << "as it was";
  EXPECT_TRUE(isLayered(glass)) << "as it was";
}

// The window prints itself, which takes as long as its thread likes.
TEST_F(WindowShareTest, WindowThatDoesNotAnswerPausesTheShareUntilItDoes) {
  startWindow();
  ASSERT_EQ(host.Engines(), (std::vector<int>{5}));
  host.Forget();
  Hang(window);
  Advance(60s);
  EXPECT_EQ(host.Events(), (Events{"pause 1"})) << "the engine is kept";
  AnswerAfter(window, 0ms);
  Advance(2s);
  EXPECT_EQ(host.Count("resume"), 1);
  EXPECT_GT(host.FrameCount(), 20);
  EXPECT_TRUE(showsWindow());

  AnswerAfter(window, 300ms);
  host.Forget();
  Advance(2s);
  EXPECT_GE(host.FrameCount(), 4) << "what comes late is shown";
  EXPECT_TRUE(showsWindow());

  Hang(window);
  Advance(1s);
  const auto asked = Now();
  AtNth("MsgWaitForMultipleObjectsEx", 1, [] { SetSystemTime(SystemTime() - 1h); });
  capture.ShareStop();
  EXPECT_LE(Now() - asked, 450ms);
  AnswerAfter(window, 0ms);
  Settle();
}

TEST_F(WindowShareTest, EngineThatHasYetToDrawShowsNothingOfTheOneBefore) {
  SetVersion(kWindows11);
  allowEngines({kWgc, kMag});
  withoutDynamicCheck();
  capture.EnableActiveShareWindow(false);
  const HWND included = OpenWindow({.rect = {60, 50, 90, 70}, .color = RGB(0xE0, 1, 2)});
  capture.AddIncludeWindow({.window = included});
  startWindow();
  Advance(1s);
  ASSERT_EQ(host.LastFrame().Count(0xE00102 + kRedder), 600) << log.Dump();
  host.Forget();
  capture.ClearIncludeWindows();
  FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK}, Repeat::kOnward);
  tick(4);
  EXPECT_EQ(host.Engines(), Engines{kWgc});
  EXPECT_EQ(host.FrameCount(), 0);
  ClearFaults();
  tick(2);
  ASSERT_GE(host.FrameCount(), 1) << log.Dump();
  EXPECT_EQ(host.LastFrame().Count(0xE00102), 0);
}

// A picture is refused when what it shows has changed in the middle of its capture.
TEST_F(WindowShareTest, RefusedPictureIsNotShownWhenTheNextCaptureHasNone) {
  constexpr std::uint32_t kSecret = 0xE00102;
  SetVersion(kWindows11);
  allowEngines({kWgc, kMag});
  withoutDynamicCheck();
  capture.AddIncludeWindow({.window = OpenWindow({.rect = {300, 180, 310, 190}})});
  startWindow();
  Advance(1s);
  ASSERT_EQ(host.Engines(), Engines{kMag}) << log.Dump();
  int leaks = 0;
  host.onEvent = [&](const std::string& event) {
    if (event == "frame") {
      leaks += host.LastFrame().Count(kSecret) + host.LastFrame().Count(kSecret + kRedder);
    }
  };
  HWND secret = nullptr;
  AtNth("MagSetWindowSource", 1, [&] {
    secret = OpenWindow({.rect = {60, 50, 90, 70}, .color = RGB(0xE0, 1, 2)});
    capture.ClearIncludeWindows();
    FailNth("IDirect3D11CaptureFramePool::TryGetNextFrame", 1, {0, S_OK}, Repeat::kOnward);
  });
  tick(4);
  EXPECT_EQ(leaks, 0) << "the next engine has no picture yet";
  ClearFaults();
  host.Forget();
  tick(2);
  EXPECT_GE(host.FrameCount(), 1) << log.Dump();
  capture.ShareStop();

  allowEngines({kBitBlt});
  ToBottom(secret);
  startWindow();
  AtNth("BitBlt", 1, [&] { Hide(window); });
  tick();
  Show(window);
  Resize(window, 120, 90);
  FailNth("CreateDIBSection", 1, kOutOfMemory, Repeat::kOnward);
  Advance(500ms);
  EXPECT_TRUE(InjectedInto());
  EXPECT_EQ(leaks, 0) << "there is no memory for the next size";
}

TEST_F(WindowShareTest, WindowThatCanNotBePrintedIsToldOnce) {
  startWindow();
  FailNth("PrintWindow", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);
  tick(5);
  EXPECT_TRUE(log.Has(4, "PrintWindow in Windows 10 failed,last Error:31")) << log.Dump();
  EXPECT_TRUE(log.Has(4, "PrintWindow failed,last Error:31"));
  EXPECT_EQ(log.Count("last Error:31"), 2) << "limited";
}

TEST_F(WindowShareTest, RaisesTheWindowWhenItMay) {
  const HWND cover = OpenWindow({.rect = {60, 40, 90, 70}});
  const auto isCovered = [&] {
    const std::vector<HWND> order = WindowsInOrder();
    return std::find(order.begin(), order.end(), cover) <
           std::find(order.begin(), order.end(), window);
  };
  capture.EnableActiveShareWindow(false);
  startWindow();
  EXPECT_TRUE(isCovered());
  capture.EnableActiveShareWindow(true);
  EXPECT_TRUE(isCovered()) << "the next time that the share raises it";
  capture.ShareResume();
  Settle();
  EXPECT_FALSE(isCovered());
  capture.ShareStop();

  ToTop(cover);
  startWindow();
  EXPECT_FALSE(isCovered());
}

TEST_F(WindowShareTest, HostsPauseHoldsWhateverTheWindowDoes) {
  capture.EnablePromptWindow(true);
  startWindow();
  capture.SharePause();
  tick();
  EXPECT_TRUE(LibraryWindows(L"OrvaSSPromptWindow").at(0).visible) << "it is shared all the same";
  host.Forget();
  MoveTo(window, 50, 50);
  settleMove();
  EXPECT_EQ(host.Events(), (Events{"rect 50,50 100x80", "pause 4", "pause 2"}));
  Minimise(window);
  tick(2);
  EXPECT_FALSE(LibraryWindows(L"OrvaSSPromptWindow").at(0).visible);
  Restore(window);
  settleMove();
  EXPECT_EQ(host.Count("resume"), 0);
  capture.ShareResume();
  tick();
  EXPECT_EQ(host.Count("resume"), 1);
  EXPECT_TRUE(showsWindow());
}

TEST_F(WindowShareTest, PromptFollowsTheWindowAndSettings) {
  useClassicWindows7();
  capture.EnablePromptWindow(true);
  const IScreenCapture::PromptWindowInfo blue = {0, 0, 255, 4};
  capture.SetPromptWindowInfo(&blue);
  startWindow();
  const auto prompt = [] { return LibraryWindows(L"OrvaSSPromptWindow").at(0); };
  const auto edge = [] { return Screenshot({38, 60, 39, 61}).At(0, 0); };
  const auto liesAt = [&](const RECT& rect) {
    const RECT actual = prompt().rect;
    return EqualRect(&actual, &rect) != FALSE;
  };
  EXPECT_TRUE(liesAt({36, 26, 144, 114}));
  EXPECT_TRUE(prompt().visible);
  EXPECT_TRUE(showsWindow()) << "never in the picture";
  EXPECT_EQ(edge(), RGB(0x10, 0x18, 0xA0)) << "half of the blue and half of what lies below";

  const IScreenCapture::PromptWindowInfo red = {255, 0, 0, 6};
  capture.SetPromptWindowInfo(&red);
  Settle();
  EXPECT_EQ(edge(), RGB(0x90, 0x18, 0x20));
  capture.EnablePromptWindow(false);
  Settle();
  EXPECT_EQ(edge(), RGB(0x20, 0x30, 0x40));
  tick();
  EXPECT_FALSE(prompt().visible);
  capture.EnablePromptWindow(true);
  MoveTo(window, 50, 40);
  settleMove();
  EXPECT_TRUE(liesAt({44, 34, 156, 126})) << "with the new thickness";
  capture.ShareStop();
  EXPECT_TRUE(LibraryWindows().empty());
}

TEST_F(WindowShareTest, CursorAndEnginesReachARunningShare) {
  SetCursorPosition(60, 60);
  startWindow();
  EXPECT_TRUE(showsWindow());
  capture.EnableCaptureCursor(true);
  tick();
  EXPECT_FALSE(showsWindow());
  capture.EnableCaptureCursor(false);
  tick();
  EXPECT_TRUE(showsWindow());

  allowEngines({kBitBlt});
  tick();
  EXPECT_EQ(host.Engines(), Engines{kPrint}) << "not before the next engine";
  capture.SetScreenCaptureConfig({.DynamicFrameCallback = true});
  tick();
  EXPECT_EQ(host.Engines(), (Engines{kPrint, kBitBlt}));
}

}  // namespace
}  // namespace qx::test
