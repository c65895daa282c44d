// Windows that are kept out of a copy of the screen by their style, which they get back.
#include <string>
#include <vector>

#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

// Without desktop composition the GDI engine makes excluded windows layered,
// which a plain copy of the screen leaves out.
class WithoutComposition : public ShareTest {
 protected:
  WithoutComposition() {
    SetVersion(kWindows7);
    SetComposition(false);
  }

  static LONG_PTR exStyleOf(HWND window) { return GetWindowLongPtrW(window, GWL_EXSTYLE); }
  static bool isLayered(HWND window) { return (exStyleOf(window) & WS_EX_LAYERED) != 0; }

  const HWND under = OpenWindow({.rect = {0, 0, 100, 100}, .color = RGB(50, 60, 70)});
  const HWND secret = OpenWindow({.title = L"Secret",
                                  .rect = {20, 20, 80, 80},
                                  .color = RGB(250, 0, 0),
                                  .exStyle = WS_EX_TOOLWINDOW,
                                  .processId = 8000});
  const std::vector<Patch> hidden = {{0, 0, 100, 100, 0x323C46}};
  const std::vector<Patch> shown = {{0, 0, 100, 100, 0x323C46}, {20, 20, 80, 80, 0xFA0000}};
};

TEST_F(WithoutComposition, ExcludedWindowNeverShowsAndGetsItsStyleBack) {
  capture.Exclude({secret});
  start();
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, hidden));
  EXPECT_TRUE(isLayered(secret));

  capture.AddIncludeWindow({.window = secret});
  EXPECT_TRUE(nextFrameShows(shown)) << "include beats exclude";
  EXPECT_FALSE(isLayered(secret));
  EXPECT_GE(RedrawCount(secret), 1u);

  capture.ClearIncludeWindows();
  EXPECT_TRUE(nextFrameShows(hidden));
  SetExStyle(secret, WS_EX_TOOLWINDOW);
  EXPECT_TRUE(nextFrameShows(hidden)) << "it took its style back";
  capture.EnableFilterWindowWhenShareDesktop(false);
  tick();
  EXPECT_TRUE(nextFrameShows(shown)) << "filtering is off";
  EXPECT_FALSE(isLayered(secret));
  capture.EnableFilterWindowWhenShareDesktop(true);
  tick();
  EXPECT_TRUE(nextFrameShows(hidden));
  capture.SetExcludeWindows(nullptr, 3);
  const IScreenCapture::FilterWindowInfo none;
  capture.SetExcludeWindows(&none, -5);
  capture.SetIncludeWindows(&none, -5);
  EXPECT_TRUE(nextFrameShows(hidden)) << "null and negative counts harm nothing";
  capture.ShareStop();
  EXPECT_EQ(exStyleOf(secret), WS_EX_TOOLWINDOW);
}

TEST_F(WithoutComposition, WindowStaysHiddenUntilTheLastShareThatHidesItEnds) {
  capture.Exclude({secret});
  start();
  for (const bool stops : {true, false}) {
    OtherShare other;
    other.capture.Exclude({secret});
    ASSERT_TRUE(other.StartMonitor(monitor()));
    Settle();
    if (stops) {
      other.capture.ShareStop();
    }
  }
  EXPECT_TRUE(isLayered(secret)) << "not even for a moment";
  EXPECT_TRUE(nextFrameShows(hidden));
  {
    OtherShare last;
    last.capture.Exclude({secret});
    ASSERT_TRUE(last.StartMonitor(monitor()));
    capture.ShareStop();
    tick();
    EXPECT_TRUE(isLayered(secret));
  }
  EXPECT_EQ(exStyleOf(secret), WS_EX_TOOLWINDOW) << "object destroyed";

  start();
  Close(secret);
  EXPECT_TRUE(nextFrameShows(hidden)) << "a window that died on the list";
}

TEST_F(WithoutComposition, StyleThatCouldNotBeGivenBackIsGivenBackByTheNextShare) {
  capture.Exclude({secret});
  start();
  FailNth("SetWindowLongPtrW", 1, kOutOfMemory, vwin::Repeat::kOnward);
  capture.ShareStop();
  ClearFaults();
  EXPECT_TRUE(isLayered(secret));
  capture.ClearExcludeWindows();
  start();
  tick();
  EXPECT_FALSE(isLayered(secret));
}

TEST_F(WithoutComposition, StyleThatItsProgramGivesItMeanwhileIsNotCountedAsOurs) {
  capture.Exclude({secret});
  FailNth("SetWindowLongPtrW", 1, kOutOfMemory, vwin::Repeat::kOnward);
  start();
  EXPECT_FALSE(isLayered(secret));
  SetExStyle(secret, WS_EX_TOOLWINDOW | WS_EX_LAYERED);
  ClearFaults();
  tick();
  SetExStyle(secret, WS_EX_TOOLWINDOW);
  EXPECT_TRUE(nextFrameShows(hidden)) << "given now";
  EXPECT_TRUE(isLayered(secret));
  capture.ShareStop();
  EXPECT_EQ(exStyleOf(secret), WS_EX_TOOLWINDOW);
}

TEST_F(WithoutComposition, WindowThatCantBeMadeOpaqueIsNotHiddenFromTheUser) {
  capture.Exclude({secret});
  FailNth("SetLayeredWindowAttributes", 1, kOutOfMemory, vwin::Repeat::kOnward);
  start();
  EXPECT_EQ(InjectedInto(), "SetLayeredWindowAttributes");
  EXPECT_EQ(exStyleOf(secret), WS_EX_TOOLWINDOW);
  ClearFaults();
  EXPECT_TRUE(nextFrameShows(hidden)) << "tried again";
  BYTE alpha = 0;
  EXPECT_TRUE(GetLayeredWindowAttributes(secret, nullptr, &alpha, nullptr));
  EXPECT_EQ(alpha, 255);
}

TEST_F(WithoutComposition, HungWindowHoldsUpNoOthersAndIsNotShown) {
  const HWND other = OpenWindow({.rect = {100, 100, 120, 120}, .color = RGB(0, 0, 250)});
  capture.Exclude({secret, other});
  Hang(secret);
  ASSERT_TRUE(share(monitor())) << log.Dump();
  Advance(300ms);
  EXPECT_TRUE(isLayered(other));
  EXPECT_FALSE(isLayered(secret));
  Advance(2s);
  EXPECT_EQ(host.FrameCount(), 0);
  AnswerAfter(secret, 0ms);
  Advance(1s);
  EXPECT_GE(host.FrameCount(), 13);
  capture.RemoveExcludeWindow({.window = secret});
  Hang(secret);
  Advance(300ms);
  const auto before = Now();
  capture.ShareStop();
  EXPECT_LE(Now() - before, 250ms);
  EXPECT_FALSE(isLayered(other));
  AnswerAfter(secret, 0ms);
  Settle();
  EXPECT_EQ(exStyleOf(secret), WS_EX_TOOLWINDOW) << "given late, and taken back";
  EXPECT_GE(RedrawCount(secret), 1u);
}

}  // namespace
}  // namespace qx::test
