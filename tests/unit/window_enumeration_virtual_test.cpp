// Which windows and monitors there are, and how they lie.
#include <gtest/gtest.h>
#include <objbase.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Machine.h"
#include "win/source/VirtualDesktops.h"
#include "win/source/WindowEnumeration.h"
#include "win/util/WindowHelpers.h"

// Rectangles in messages and comparisons of tests.
static bool operator==(const RECT& a, const RECT& b) { return EqualRect(&a, &b) != FALSE; }
static void PrintTo(const RECT& rect, std::ostream* out) {
  *out << rect.left << ',' << rect.top << ' ' << rect.right << ',' << rect.bottom;
}

namespace qx {
namespace {

using namespace vwin::control;
using namespace WindowsUtil;
using Windows = std::vector<HWND>;

Windows List(EnumMode mode) {
  Windows windows;
  VirtualDesktops desktops;
  EnumTopLevelWindows(windows, mode, desktops);
  return windows;
}

bool IsListed(HWND window, EnumMode mode = EnumMode::ShareCandidates) {
  const Windows windows = List(mode);
  return std::find(windows.begin(), windows.end(), window) != windows.end();
}

// COM for the thread of a test.
struct Com {
  Com() { EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); }
  ~Com() { CoUninitialize(); }
};

TEST(EnumTopLevelWindows, ClassesAreComparedWhole) {
  for (const wchar_t* name : {L"Progman", L"Button"}) {
    const HWND window = OpenWindow({.className = name});
    EXPECT_FALSE(IsListed(window));
    EXPECT_FALSE(IsListed(window, EnumMode::VisibleNotMinimized));
  }
  for (const wchar_t* name : {L"ProgmanX", L"progman", L"Progma", L"SEARCHPANE"}) {
    EXPECT_TRUE(IsListed(OpenWindow({.className = name})));
  }
  for (const wchar_t* name :
       {L"OrvaSSPromptDesktop", L"OrvaSSPromptWindow", L"NativeHWNDHost", L"Shell_CharmWindow",
        L"SearchPane", L"ImmersiveLauncher", L"Snapped Desktop", L"ImmersiveBackgroundWindow"}) {
    const HWND window = OpenWindow({.className = name});
    EXPECT_FALSE(IsListed(window)) << testing::PrintToString(std::wstring(name));
    EXPECT_TRUE(IsListed(window, EnumMode::VisibleNotMinimized));
    Minimise(window);
    EXPECT_FALSE(IsListed(window, EnumMode::VisibleNotMinimized));
  }
}

TEST(EnumTopLevelWindows, StoreApplications) {
  const HWND core = OpenWindow({.title = L"App", .className = L"Windows.UI.Core.CoreWindow"});
  const HWND untitled = OpenWindow({.className = L"ApplicationFrameWindow"});
  const HWND empty = OpenWindow({.title = L"App", .className = L"ApplicationFrameWindow"});
  const HWND full = OpenWindow({.title = L"App", .className = L"ApplicationFrameWindow"});
  OpenWindow({.className = L"Windows.UI.Core.CoreWindow", .parent = full});
  OpenWindow({.className = L"Windows.UI.Core.CoreWindow", .parent = untitled});
  OpenWindow({.className = L"TitleBar", .parent = empty});
  EXPECT_EQ(List(EnumMode::ShareCandidates), Windows{full});
  EXPECT_TRUE(IsHiddenStoreAppWindow(core));
  EXPECT_FALSE(IsHiddenStoreAppWindow(full));

  Minimise(empty);
  EXPECT_TRUE(IsListed(empty)) << "the shell has borrowed its content";
  SetVersion(kWindows7);
  EXPECT_EQ(List(EnumMode::ShareCandidates).size(), 4u) << "no such classes there";
}

TEST(EnumTopLevelWindows, OtherVirtualDesktopsNeedCom) {
  const HWND away = OpenWindow({.title = L"Away"});
  const HWND host = OpenWindow({.className = L"ThumbnailWindow"});
  const HWND here = OpenWindow({.title = L"Here"});
  SetOnOtherVirtualDesktop(away, true);
  EXPECT_EQ(List(EnumMode::ShareCandidates), (Windows{here, host, away}));
  VirtualDesktops desktops;
  EXPECT_TRUE(desktops.IsWindowOnCurrentVirtualDesktop(away)) << "unknown";

  const Com com;
  EXPECT_EQ(List(EnumMode::ShareCandidates), Windows{here});
  EXPECT_FALSE(desktops.IsWindowOnCurrentVirtualDesktop(away));
  EXPECT_TRUE(desktops.IsWindowOnCurrentVirtualDesktop(here));
  FailNth("IVirtualDesktopManager::IsWindowOnCurrentVirtualDesktop", 1, kOutOfMemory,
          Repeat::kOnward);
  EXPECT_EQ(List(EnumMode::ShareCandidates), (Windows{here, away})) << "no answer counts as yes";
  EXPECT_TRUE(desktops.IsWindowOnCurrentVirtualDesktop(away));
}

struct CaptureRectRow {
  vwin::Version version;
  RECT normal, minimised;
  LONG inset;  // of a maximised window
};
class CaptureRect : public testing::TestWithParam<CaptureRectRow> {};

TEST_P(CaptureRect, EveryStateOfAWindow) {
  SetVersion(GetParam().version);
  const HWND window = OpenWindow({.rect = {100, 100, 500, 400}, .invisibleFrame = {7, 0, 7, 7}});
  RECT rect = {};
  EXPECT_TRUE(GetCaptureRect(window, rect));
  EXPECT_EQ(rect, GetParam().normal);
  Minimise(window);
  EXPECT_TRUE(GetCaptureRect(window, rect));
  EXPECT_EQ(rect, GetParam().minimised) << "where it will be restored to";
  FailNth("GetWindowPlacement", 1);
  EXPECT_FALSE(GetCaptureRect(window, rect));
  ClearFaults();
  Restore(window);
  Maximise(window);
  GetWindowRect(window, &rect);
  const LONG inset = GetParam().inset;
  const RECT zoomed = {rect.left + inset, rect.top + inset, rect.right - inset,
                       rect.bottom - inset};
  EXPECT_TRUE(GetCaptureRect(window, rect));
  EXPECT_EQ(rect, zoomed);
  Close(window);
  EXPECT_FALSE(GetCaptureRect(window, rect));
}

constexpr RECT kBounds = {100, 100, 500, 400};
INSTANTIATE_TEST_SUITE_P(
    Versions, CaptureRect,
    testing::Values(CaptureRectRow{kWindows7, kBounds, kBounds, 0},
                    CaptureRectRow{kWindows10, {107, 100, 493, 393}, kBounds, 8},
                    CaptureRectRow{kWindows11, {107, 100, 493, 393}, kBounds, 11}));

TEST(IsWindowObscured, CloakIsGuessedOnWindows8) {
  SetVersion(kWindows8);
  const HWND window = OpenWindow({.rect = {100, 100, 200, 200}});
  OpenWindow({.rect = {0, 0, 500, 500}});
  EXPECT_FALSE(IsWindowObscured(window, true));
  SetExStyle(window, WS_EX_NOREDIRECTIONBITMAP);
  for (const auto& [style, obscured] :
       {std::pair{0u, true}, {WS_BORDER, true}, {WS_CAPTION, false}, {WS_THICKFRAME, false}}) {
    SetStyle(window, WS_POPUP | WS_VISIBLE | style);
    EXPECT_EQ(IsWindowObscured(window, true), obscured) << "half a caption is none: " << style;
  }
}

TEST(GetWindowsAbove, WhatCoversARectangle) {
  OpenWindow({.rect = {0, 0, 900, 900}});  // below
  const HWND window = OpenWindow({.rect = {100, 100, 300, 300}});
  const HWND first = OpenWindow({.rect = {290, 290, 400, 400}});
  OpenWindow({.rect = {300, 100, 400, 300}});  // touches
  OpenWindow({.rect = {100, 100, 300, 300}, .owner = window});
  OpenWindow({.rect = {100, 100, 300, 300}, .visible = false});
  OpenWindow({.rect = {100, 100, 300, 300}, .cloaked = true});
  const HWND second = OpenWindow({.rect = {0, 0, 101, 101}});
  const RECT rect = {100, 100, 300, 300};
  Windows above;
  EXPECT_TRUE(GetWindowsAbove(window, rect, above));
  EXPECT_EQ(above, (Windows{second, first}));

  above.clear();
  const HWND closing = OpenWindow({.visible = false});
  AtNth("FindWindowExW", 2, [closing] { Close(closing); });
  EXPECT_TRUE(GetWindowsAbove(window, rect, above));
  EXPECT_EQ(above, (Windows{second, first})) << "nothing is lost behind a window that closes";

  above.clear();
  EXPECT_TRUE(GetWindowsAbove(second, rect, above)) << "nothing above";
  EXPECT_FALSE(GetWindowsAbove(nullptr, rect, above));
  EXPECT_FALSE(GetWindowsAbove(OpenWindow({.parent = window}), rect, above));
  EXPECT_TRUE(above.empty());
}

TEST(TrackWindow, TailOfTheTitle) {
  AddProcess(7000, L"C:\\Office\\Slides.exe");
  const HWND window = OpenWindow({.className = L"Show"});
  const TrackWindowRule rule = {.className = "Show", .processName = "Slides"};
  for (const auto& [title, found] : std::initializer_list<std::pair<std::wstring, bool>>{
           {L"Slides - Show", true},
           {L"Slides  -  [Show]", true},
           {L"A - B  -  Show", true},  // the long separator goes first
           {L"A - Show  -  B", false},
           {L"A - B - Show", false},  // the first one of a kind
           {L"Slides - show", false},
           {L"Show", false},
           {L"", false}}) {
    SetTitle(window, title);
    EXPECT_EQ(FindTrackWindow(rule, L"Show") == window, found) << testing::PrintToString(title);
  }
  TrackWindowRule noTools = {.className = "Nothing;;Show", .forbiddenExStyle = WS_EX_TOOLWINDOW};
  noTools.processName = "SLIDES";
  EXPECT_EQ(FindTrackWindow(noTools, L""), window);
  SetExStyle(window, WS_EX_TOOLWINDOW);
  EXPECT_EQ(FindTrackWindow(noTools, L""), nullptr);
}

TEST(TrackWindow, IsFoundBehindOneThatClosesMeanwhile) {
  AddProcess(7000, L"C:\\Office\\Slides.exe");
  const HWND show = OpenWindow({.className = L"Show"});
  for (const char* const function : {"FindWindowExA", "GetWindowThreadProcessId", "OpenProcess",
                                     "QueryFullProcessImageNameA", "InternalGetWindowText"}) {
    SetTitle(show, L"A - Show");
    const HWND closing = OpenWindow({.title = L"B - Other", .className = L"Show"});
    AtNth(function, function == std::string("FindWindowExA") ? 2 : 1,
          [closing] { Close(closing); });
    EXPECT_EQ(FindTrackWindow({.className = "Show", .processName = "Slides"}, L"Show"), show)
        << function;
    EXPECT_FALSE(IsWindow(closing)) << function;
  }
}

TEST(IsWindowInOneMonitor, AlsoIfItReachesALittleBelow) {
  SetMonitorRect(PrimaryMonitor(), {0, 0, 800, 600});
  RECT monitor = {};
  EXPECT_TRUE(IsWindowInOneMonitor({0, 0, 800, 604}, 0, monitor));
  EXPECT_FALSE(IsWindowInOneMonitor({0, 0, 800, 606}, 0, monitor));
}

}  // namespace
}  // namespace qx
