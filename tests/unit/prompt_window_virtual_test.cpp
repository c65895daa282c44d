// The frame around a shared window: where it lies, when it is seen, and that its
// thread ends whatever becomes of the window that owns it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Ledger.h"
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

  // When its thread has done what it was asked for.
  static std::optional<WindowState> frame() {
    Settle();
    const std::vector<WindowState> frames = LibraryWindows(L"OrvaSSPromptWindow");
    EXPECT_LE(frames.size(), 1u);
    return frames.empty() ? std::nullopt : std::optional(frames[0]);
  }

  // Whether the screen shows the target, and strips along the inside of `place`.
  static testing::AssertionResult shows(const RECT& place, int width) {
    Settle();
    const Picture screen = Screenshot(kMonitor);
    const RECT inside = {place.left + width, place.top + width, place.right - width,
                         place.bottom - width};
    for (int y = 0; y < screen.height; ++y) {
      for (int x = 0; x < screen.width; ++x) {
        const COLORREF under = IsIn(kTarget, x, y) ? kTargetColor : kDesktopColor;
        const bool strip = IsIn(place, x, y) && !IsIn(inside, x, y);
        const COLORREF seen = screen.At(x, y);
        if (strip ? IsMixOf(seen, kFrameColor, under) : seen == under) continue;
        return testing::AssertionFailure()
               << std::hex << seen << " at " << std::dec << x << ',' << y
               << (strip ? ", where the frame should be" : ", where no frame should be");
      }
    }
    return testing::AssertionSuccess();
  }

  void expectNothingLeft(const LedgerSnapshot& before, const std::string& what) {
    EXPECT_TRUE(LibraryWindows(L"OrvaSSPromptWindow").empty()) << what;
    EXPECT_TRUE(ThreadNames().empty()) << what;
    EXPECT_EQ(Difference(before), "") << what;
    EXPECT_TRUE(Misuses().empty()) << what << ": " << Misuses().front();
  }

  HWND target;
};

TEST_F(PromptWindowTest, StaysOverTheWindowThatOwnsItAndIsHiddenWithIt) {
  const HWND other = OpenWindow({.rect = {0, 0, 10, 10}});
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  EXPECT_EQ(frame()->rect, RECT{}) << "nobody has placed it";
  EXPECT_EQ(WindowsInOrder(), (std::vector<HWND>{other, prompt.GetHwnd(), target}))
      << "at the target's height, not on top";
  ToTop(target);
  EXPECT_EQ(frame()->zPosition, 0);
  Minimise(target);
  EXPECT_FALSE(frame()->visible);
  Restore(target);
  EXPECT_TRUE(frame()->visible);
  for (const bool show : {false, true}) {
    bool alone = false;
    AtNth("ShowWindow", 1, [&] { alone = !LibraryWindows(L"OrvaSSPromptWindow").at(0).owner; });
    prompt.UpdatePosition(show, kMonitor, kTarget);
    EXPECT_EQ(frame()->visible, show);
    EXPECT_TRUE(alone) << "it waits for no owner";
    EXPECT_EQ(frame()->owner, target);
  }
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
      {"larger than the monitor", kMonitor, {-8, -8, 208, 158}, 4, kMonitor, 4},
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

TEST_F(PromptWindowTest, ActsOnlyWhenSomethingHasChangedAndIsToldUntilItHears) {
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  prompt.UpdatePosition(true, kMonitor, kTarget);
  ASSERT_EQ(frame()->rect, (RECT{46, 36, 114, 94}));
  LogCalls(true);
  prompt.UpdatePosition(true, kMonitor, kTarget);
  Settle();
  for (const LoggedCall& call : LoggedCalls()) EXPECT_EQ(call.function, "EqualRect");
  LogCalls(false);
  FailNth("PostThreadMessageW", 1);
  prompt.UpdatePosition(true, kMonitor, {0, 0, 50, 50});
  SetWindowLongPtrW(prompt.GetHwnd(), GWL_STYLE, WS_POPUP | WS_VISIBLE);
  prompt.UpdatePosition(true, kMonitor, {0, 0, 50, 50});
  EXPECT_EQ(frame()->rect, (RECT{0, 0, 54, 54}));
  EXPECT_EQ(frame()->style, WS_POPUP | WS_VISIBLE | WS_MAXIMIZE) << "whoever took it away";
}

// The target goes before a moment of the frame's life, or at a call in it, and a call of its
// end fails besides.
TEST_F(PromptWindowTest, StopsWhateverBecomesOfItsOwner) {
  enum Moment { kStart, kUp, kStop };
  const std::pair<Moment, std::vector<std::string>> moments[] = {
      {kStart, {"before", "ShowWindow", "SetWindowPos", "GetMessageW"}},
      {kUp, {"before", "MoveWindow", "ShowWindow"}},
      {kStop,
       {"before", "PostThreadMessageW", "MsgWaitForMultipleObjectsEx", "SetWindowLongPtrW",
        "CloseWindow", "never"}}};
  const std::string failing[] = {"",           "PostThreadMessageW", "MsgWaitForMultipleObjectsEx",
                                 "SetEvent",   "SetWindowLongPtrW",  "GetMessageW",
                                 "CloseWindow"};
  Close(target);
  const auto run = [&](Moment when, const std::string& call, const std::string& fails) {
    target = OpenWindow({.rect = kTarget, .color = kTargetColor});
    const auto enter = [&](Moment moment) {
      Settle();
      if (moment != when) return;
      if (call == "before")
        Close(target);
      else
        AtNth(call, 1, [this] { Close(target); });
    };
    const LedgerSnapshot before = Snapshot();
    {
      PromptWindow prompt(target, true);
      enter(kStart);
      prompt.Start();
      enter(kUp);
      prompt.UpdatePosition(true, kMonitor, kTarget);
      prompt.UpdatePosition(false, kMonitor, kTarget);
      enter(kStop);
      if (!fails.empty()) FailNth(fails, 1);
      prompt.Stop();
      ClearFaults();
      EXPECT_FALSE(prompt.GetHwnd());
    }
    if (IsWindow(target)) Close(target);
    expectNothingLeft(before, call);
  };
  for (const auto& [moment, calls] : moments) {
    for (const std::string& call : calls) {
      for (const std::string& fails : failing) {
        SCOPED_TRACE(std::to_string(moment) + " at " + call + " and " + fails + " fails");
        run(moment, call, fails);
        if (HasFailure()) return;
      }
    }
  }
}

TEST_F(PromptWindowTest, LetsGoOfAWindowThatIsGone) {
  PromptWindow prompt(target, true);
  ASSERT_TRUE(prompt.Start());
  Settle();
  bool known = true;
  AtNth("PostQuitMessage", 1, [&] { known = prompt.GetHwnd() != nullptr; });
  Close(target);
  Settle();
  EXPECT_FALSE(known) << "at once";
  EXPECT_TRUE(ThreadNames().empty()) << "nothing to do without a window";
  prompt.UpdatePosition(true, kMonitor, kTarget);
  prompt.ShowPrompt(false);

  // A desktop's frame has no owner, but anybody can close it.
  PromptDesktop desktop(kMonitor, true);
  ASSERT_TRUE(desktop.Start());
  PostMessageW(desktop.GetHwnd(), WM_CLOSE, 0, 0);
  Settle();
  EXPECT_FALSE(desktop.GetHwnd());
  desktop.Stop();
}

}  // namespace
}  // namespace qx
