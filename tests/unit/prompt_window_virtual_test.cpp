// The frame around a shared window: where it lies, when it is seen, and that its
// thread ends whatever becomes of the window that owns it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Ledger.h"
#include "tests/support/ShareRecorder.h"
#include "win/prompt/PromptDesktop.h"
#include "win/prompt/PromptWindow.h"

// Rectangles in messages and comparisons of tests.
static bool operator==(const RECT& a, const RECT& b) { return EqualRect(&a, &b) != FALSE; }
static void PrintTo(const RECT& rect, std::ostream* out) {
  *out << rect.left << ',' << rect.top << ' ' << rect.right << ',' << rect.bottom;
}

namespace qx {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

constexpr RECT kMonitor = {0, 0, 200, 150};
constexpr RECT kTarget = {50, 40, 110, 90};
constexpr COLORREF kDesktopColor = RGB(32, 48, 64);
constexpr COLORREF kTargetColor = RGB(200, 30, 10);
constexpr COLORREF kFrameColor = RGB(41, 204, 163);

bool IsIn(const RECT& rect, int x, int y) { return PtInRect(&rect, {x, y}) != FALSE; }

// Half of each, give or take one for rounding.
bool IsMixOf(COLORREF seen, COLORREF over, COLORREF under) {
  for (int shift = 0; shift < 24; shift += 8) {
    const auto part = [shift](COLORREF color) { return static_cast<int>(color >> shift & 255); };
    if (std::abs(part(seen) - (part(over) * 128 + part(under) * 127) / 255) > 1) return false;
  }
  return true;
}

class PromptWindowTest : public testing::Test {
 protected:
  PromptWindowTest() {
    OwnClock();
    SetMonitorRect(PrimaryMonitor(), kMonitor);
    SetDesktopColor(kDesktopColor);
    target = OpenWindow({.rect = kTarget, .color = kTargetColor});
  }

  static std::optional<WindowState> frame() {
    const std::vector<WindowState> frames = LibraryWindows(L"OrvaSSPromptWindow");
    EXPECT_LE(frames.size(), 1u);
    return frames.empty() ? std::nullopt : std::optional(frames[0]);
  }
  static std::ptrdiff_t zPosition(HWND window) {
    const std::vector<HWND> all = WindowsInOrder();
    return std::find(all.begin(), all.end(), window) - all.begin();
  }

  // Whether the screen shows the target, and strips along the inside of `place`.
  static testing::AssertionResult shows(const RECT& place, int width,
                                        COLORREF color = kFrameColor) {
    Settle();
    const Picture screen = Screenshot(kMonitor);
    const RECT inside = {place.left + width, place.top + width, place.right - width,
                         place.bottom - width};
    for (int y = 0; y < screen.height; ++y) {
      for (int x = 0; x < screen.width; ++x) {
        const COLORREF under = IsIn(kTarget, x, y) ? kTargetColor : kDesktopColor;
        const bool strip = IsIn(place, x, y) && !IsIn(inside, x, y);
        const COLORREF seen = screen.At(x, y);
        if (strip ? IsMixOf(seen, color, under) : seen == under) continue;
        return testing::AssertionFailure()
               << std::hex << seen << " at " << std::dec << x << ',' << y
               << (strip ? ", where the frame should be" : ", where no frame should be");
      }
    }
    return testing::AssertionSuccess();
  }
  static testing::AssertionResult showsNoFrame() { return shows({}, 0); }

  void expectNothingLeft(const LedgerSnapshot& before, const std::string& what) {
    EXPECT_FALSE(frame()) << what;
    EXPECT_TRUE(ThreadNames().empty()) << what;
    EXPECT_EQ(Difference(before), "") << what;
    EXPECT_TRUE(Misuses().empty()) << what << ": " << Misuses().front();
  }

  HWND target;
  test::LogRecorder log;
};

TEST_F(PromptWindowTest, StartsWithoutASizeOverTheWindowThatOwnsIt) {
  const HWND other = OpenWindow({.rect = {0, 0, 10, 10}});
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  const auto started = frame();
  ASSERT_TRUE(started);
  EXPECT_EQ(started->handle, prompt.GetHwnd());
  EXPECT_EQ(started->title, L"OrvaSSPromptWindow");
  EXPECT_EQ(started->rect, RECT{});
  EXPECT_TRUE(started->visible);
  EXPECT_EQ(started->owner, target);
  EXPECT_EQ(started->exStyle,
            static_cast<DWORD>(WS_EX_TOOLWINDOW | WS_EX_LAYERED | WS_EX_TRANSPARENT));
  EXPECT_EQ(started->colorKey, RGB(255, 255, 255));
  EXPECT_EQ(started->alpha, 128);
  EXPECT_EQ(zPosition(target), started->zPosition + 1) << "at the target's height, not on top";
  EXPECT_LT(zPosition(other), started->zPosition);
  ToTop(target);
  EXPECT_EQ(frame()->zPosition, 0);
  Minimise(target);
  EXPECT_FALSE(frame()->visible);
  Restore(target);
  EXPECT_TRUE(frame()->visible);
}

TEST_F(PromptWindowTest, LiesAroundTheWindowCutAtTheDesktop) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  struct Case {
    const char* name;
    RECT desktop;
    RECT window;
    std::int32_t width;
    RECT place;
    int seen;  // thickness
  };
  const Case cases[] = {
      {"around it", kMonitor, kTarget, 4, {46, 36, 114, 94}, 4},
      {"over two edges", kMonitor, {-20, 2, 60, 148}, 4, {0, 0, 64, 150}, 4},
      {"as large as the monitor", kMonitor, kMonitor, 4, kMonitor, 4},
      {"larger than the monitor", kMonitor, {-8, -8, 208, 158}, 4, kMonitor, 4},
      {"a work area", {0, 0, 112, 150}, kTarget, 4, {46, 36, 112, 94}, 4},
      {"an engine that captures windows", kTarget, kTarget, 6, kTarget, 6},
      {"no thickness", kMonitor, kTarget, 0, kTarget, 0},
      {"thick", kMonitor, kTarget, 40, {10, 0, 150, 130}, 40},
      {"absurdly thick", kMonitor, kTarget, kMost, kMonitor, 150},
      {"absurdly thick at the far end", kMonitor, {150, 100, kMost, kMost}, kMost, kMonitor, 150},
      {"less than nothing", kMonitor, kTarget, -kMost - 1, {}, 0},
      {"off the monitor", kMonitor, {400, 300, 500, 400}, 4, {}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PromptWindow prompt(target, true);
    prompt.SetPromptWindowInfo({.r = 41, .g = 204, .b = 163, .width = c.width});
    ASSERT_TRUE(prompt.Start());
    prompt.UpdatePosition(true, c.desktop, c.window);
    EXPECT_EQ(frame()->rect, c.place);
    EXPECT_TRUE(frame()->style & WS_MAXIMIZE);
    EXPECT_TRUE(shows(c.place, c.seen));
  }
}

TEST_F(PromptWindowTest, MovesOnlyWhenSomethingHasChanged) {
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  ResetCounts();
  prompt.UpdatePosition(true, kMonitor, kTarget);
  EXPECT_EQ(Count("MoveWindow"), 1u);
  // Whoever took the style away, it comes back.
  SetWindowLongPtrW(prompt.GetHwnd(), GWL_STYLE, WS_POPUP | WS_VISIBLE);
  prompt.UpdatePosition(true, kMonitor, kTarget);
  EXPECT_EQ(Count("MoveWindow"), 1u);
  EXPECT_EQ(frame()->style, WS_POPUP | WS_VISIBLE | WS_MAXIMIZE);
  prompt.SetPromptWindowInfo({.r = 1, .g = 2, .b = 3, .width = 9});
  EXPECT_EQ(prompt.GetWidth(), 9);
  EXPECT_EQ(prompt.GetColor(), RGB(1, 2, 3));
  EXPECT_TRUE(shows({46, 36, 114, 94}, 9, RGB(1, 2, 3))) << "painted at once, in the old place";
  prompt.UpdatePosition(true, kMonitor, kTarget);
  EXPECT_EQ(Count("MoveWindow"), 1u);
  prompt.UpdatePosition(true, {0, 0, 200, 149}, kTarget);
  EXPECT_EQ(frame()->rect, (RECT{41, 31, 119, 99}));
  FailNth("GetWindowLongPtrW", 1);
  prompt.UpdatePosition(true, {0, 0, 200, 149}, kTarget);
  EXPECT_EQ(frame()->style, WS_POPUP | WS_VISIBLE | WS_MAXIMIZE) << "an unknown style stays";
  FailNth("MoveWindow", 1);
  prompt.UpdatePosition(true, kMonitor, {0, 0, 50, 50});
  prompt.UpdatePosition(true, kMonitor, {0, 0, 50, 50});
  EXPECT_EQ(Count("MoveWindow"), 3u) << "not tried again";
  EXPECT_EQ(Count("ShowWindow"), 0u);
}

TEST_F(PromptWindowTest, HidesAndShowsWithoutItsOwner) {
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  prompt.UpdatePosition(true, kMonitor, kTarget);
  for (const bool show : {false, true, false}) {
    ResetCounts();
    bool alone = false;
    AtNth("ShowWindow", 1, [&] { alone = !frame()->owner; });
    prompt.UpdatePosition(show, kMonitor, kTarget);
    EXPECT_TRUE(alone);
    EXPECT_EQ(frame()->visible, show);
    EXPECT_EQ(frame()->owner, target);
    EXPECT_EQ(Count("MoveWindow"), 1u);
    EXPECT_TRUE(show ? shows({46, 36, 114, 94}, 4) : showsNoFrame());
  }
  prompt.Stop();
  EXPECT_EQ(Count("CloseWindow"), 1u);
}

TEST_F(PromptWindowTest, PaintsNothingUntilItIsToBeShown) {
  PromptWindow prompt(target, false);
  ASSERT_TRUE(prompt.Start());
  prompt.UpdatePosition(true, kMonitor, kTarget);
  EXPECT_TRUE(frame()->visible);
  EXPECT_TRUE(showsNoFrame());
  prompt.ShowPrompt(true);
  EXPECT_TRUE(log.Has(3, "Set Prompt Window State:Show")) << log.Dump();
  EXPECT_TRUE(shows({46, 36, 114, 94}, 4));
  prompt.ShowPrompt(false);
  EXPECT_TRUE(log.Has(3, "Set Prompt Window State:Hide")) << log.Dump();
  EXPECT_TRUE(showsNoFrame());
  prompt.UpdatePosition(false, kMonitor, kTarget);
  prompt.ShowPrompt(true);
  EXPECT_TRUE(showsNoFrame()) << "the window itself is hidden";
  prompt.UpdatePosition(true, kMonitor, kTarget);
  EXPECT_TRUE(shows({46, 36, 114, 94}, 4));
  FailNth("GetClientRect", 1);
  prompt.ShowPrompt(true);
  Settle();
  EXPECT_TRUE(log.Has(5, "PromptWindow GetClient Error: left = 0, top = 0, right = 0, bottom = 0"))
      << log.Dump();
}

TEST_F(PromptWindowTest, TellsOfEmptyPlacesFromTimeToTime) {
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  const std::string line =
      "PromptWindow GetClient Error: rectDesktop left = 0, top = 0, right = 200, bottom = 150,\t\t "
      " "
      "rectWindow1 left = 396, top = 296, right = 504, bottom = 404, \t\t  "
      "rectWindow2 left = 0, top = 0, right = 0, bottom = 0";
  const RECT away = {400, 300, 500, 400};
  prompt.UpdatePosition(true, kMonitor, away);
  EXPECT_TRUE(log.Has(5, line)) << log.Dump();
  prompt.UpdatePosition(true, kMonitor, kTarget);
  Advance(4999ms);
  prompt.UpdatePosition(true, kMonitor, away);
  EXPECT_EQ(log.Count("rectWindow1"), 1);
  prompt.UpdatePosition(true, {0, 0, 0, 150}, kTarget);
  Advance(1ms);
  prompt.UpdatePosition(true, kMonitor, away);
  EXPECT_EQ(log.Count("rectWindow1"), 2);
}

TEST_F(PromptWindowTest, IsHarmlessWhenItCannotStart) {
  for (const char* call : {"CreateEventW", "_beginthreadex", "CreateWindowExW",
                           // The first is the window's link to its frame.
                           "SetWindowLongPtrW"}) {
    FailNth(call, 1);
    PromptWindow prompt(target, true);
    EXPECT_FALSE(prompt.Start()) << call;
    ClearFaults();
    ResetCounts();
    prompt.UpdatePosition(true, kMonitor, kTarget);
    prompt.ShowPrompt(false);
    EXPECT_EQ(Count("MoveWindow") + Count("InvalidateRect"), 0u) << call << ": there is no window";
    prompt.Stop();
    EXPECT_FALSE(frame()) << call;
  }
  PromptWindow(target, true).Stop();
}

// How the target can be gone, and which call fails besides.
TEST_F(PromptWindowTest, StopsWhateverBecomesOfItsOwner) {
  using Step = std::function<void()>;
  const auto at = [this](const char* call, std::uint64_t n) {
    return Step([=, this] { AtNth(call, n, [this] { Close(target); }); });
  };
  const Step close = [this] { Close(target); };
  const Step nothing = [] {};
  struct Case {
    const char* name;
    Step beforeStart = {};
    Step whileUp = {};
    Step beforeStop = {};
  };
  const Case cases[] = {
      {"nothing happens", nothing, nothing, nothing},
      {"gone before the start", close, nothing, nothing},
      {"gone before it owns", at("ShowWindow", 1), nothing, nothing},
      {"gone while the frame starts", at("SetWindowPos", 1), nothing, nothing},
      {"gone as the frame listens", at("GetMessageW", 1), nothing, nothing},
      {"gone while the frame is up", nothing, close, nothing},
      {"gone in the middle of a move", nothing, at("MoveWindow", 1), nothing},
      {"gone while it owns nothing", nothing, at("ShowWindow", 1), nothing},
      {"gone just before the stop", nothing, nothing, close},
      {"gone as the stop lets go of it", nothing, nothing, at("SetWindowLongPtrW", 1)},
      {"gone as the thread is told", nothing, nothing, at("PostThreadMessageW", 1)},
      {"gone while the stop waits", nothing, nothing, at("WaitForSingleObject", 1)},
      {"gone as the frame ends", nothing, nothing, at("CloseWindow", 1)},
  };
  Close(target);
  for (const Case& c : cases) {
    for (const char* failing : {"", "PostThreadMessageW", "WaitForSingleObject", "SetEvent",
                                "SetWindowLongPtrW", "GetMessageW", "CloseWindow"}) {
      const std::string what = std::string(c.name) + " and " + failing + " fails";
      target = OpenWindow({.rect = kTarget, .color = kTargetColor});
      const LedgerSnapshot before = Snapshot();
      {
        PromptWindow prompt(target, true);
        c.beforeStart();
        prompt.Start();
        c.whileUp();
        prompt.UpdatePosition(true, kMonitor, kTarget);
        prompt.UpdatePosition(false, kMonitor, kTarget);
        c.beforeStop();
        if (*failing) FailNth(failing, 1);
        prompt.Stop();
        ClearFaults();
        EXPECT_FALSE(prompt.GetHwnd()) << what;
      }
      if (IsWindow(target)) Close(target);
      expectNothingLeft(before, what);
      if (HasFailure()) return;
    }
  }
}

TEST_F(PromptWindowTest, LetsGoOfAWindowThatIsGone) {
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  bool known = true;
  AtNth("PostQuitMessage", 1, [&] { known = prompt.GetHwnd() != nullptr; });
  Close(target);
  Settle();
  EXPECT_FALSE(known) << "at once";
  EXPECT_TRUE(ThreadNames().empty()) << "nothing to do without a window";
  ResetCounts();
  prompt.UpdatePosition(true, kMonitor, kTarget);
  prompt.ShowPrompt(false);
  prompt.Stop();
  for (const char* call : {"SetWindowLongPtrW", "MoveWindow", "ShowWindow", "InvalidateRect",
                           "PostMessageW", "CloseWindow"})
    EXPECT_EQ(Count(call), 0u) << call << " on a dead handle";

  // A desktop's frame has no owner, but anybody can close it.
  PromptDesktop desktop(kMonitor, true);
  ASSERT_TRUE(desktop.Start());
  PostMessageW(desktop.GetHwnd(), WM_CLOSE, 0, 0);
  Settle();
  EXPECT_FALSE(desktop.GetHwnd());
  desktop.Stop();
}

TEST_F(PromptWindowTest, SurvivesTheFailureOfAnyCall) {
  const auto life = [this](PromptWindow& prompt) {
    prompt.SetPromptWindowInfo({.r = 41, .g = 204, .b = 163, .width = 4});
    prompt.Start();
    prompt.UpdatePosition(true, kMonitor, kTarget);
    Settle();
    prompt.ShowPrompt(false);
    prompt.UpdatePosition(false, kMonitor, kTarget);
    prompt.ShowPrompt(true);
    prompt.UpdatePosition(true, kMonitor, {20, 20, 60, 60});
    Settle();
    prompt.Stop();
  };
  std::uint64_t call = 1;
  for (;; ++call) {
    const LedgerSnapshot before = Snapshot();
    FailNthOfAll(call);
    {
      PromptWindow prompt(target, true);
      life(prompt);
    }
    const auto injected = InjectedInto();
    ClearFaults();
    if (!injected) break;
    const std::string after = "after call " + std::to_string(call) + ", " + *injected;
    expectNothingLeft(before, after);
    EXPECT_TRUE(showsNoFrame()) << after;
    PromptWindow next(target, true);
    ASSERT_TRUE(next.Start()) << after;
    next.UpdatePosition(true, kMonitor, kTarget);
    ASSERT_TRUE(shows({46, 36, 114, 94}, 4)) << after;
  }
  EXPECT_GT(call, 50u) << "the sweep went through the whole life";
}

}  // namespace
}  // namespace qx
