// What a host is told about the windows that it can share, and what the ids of a
// list are good for afterwards.
#include <objbase.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/share/AllocationHook.h"
#include "tests/share/ListAnswers.h"

namespace qx::test {
namespace {

using namespace vwin::control;

using DesktopInfo = IScreenCapture::DesktopInfo;
using WindowInfo = IScreenCapture::WindowInfo;
using Ids = std::vector<int>;

class WindowListTest : public ShareTest {
 protected:
  WindowList list() {
    WindowList list;
    capture.GetWindowList(WindowList::Take, &list);
    EXPECT_EQ(list.calls, 1);
    return list;
  }

  template <typename... Window>
  static Ids ids(Window... windows) {
    return {idOf(windows)...};
  }
};

TEST_F(WindowListTest, TopmostFirstEachWithItsFacts) {
  const std::pair<std::wstring, std::wstring> pathsAndNames[] = {
      {L"C:\\Program Files\\My.App\\tool.v2.exe", L"tool.v2"},
      {L"C:\\My.App\\tool", L"tool"},
      {L"plain.exe", L"plain"},
      {L"C:\\" + std::wstring(2043, L'p'), std::wstring(2043, L'p')},
      {L"C:\\" + std::wstring(2044, L'p'), L""}};
  std::vector<WindowList::Window> expected;
  DWORD processId = 8000;
  for (const auto& [path, name] : pathsAndNames) {
    const std::wstring title = L"\U0001F600 " + std::to_wstring(++processId);
    AddProcess(processId, path);
    const HWND window =
        OpenWindow({.title = title, .rect = {10, 20, 110, 220}, .processId = processId});
    expected.push_back({idOf(window), processId, name, title, {10, 20, 110, 220}});
  }
  AddProcess(9000, L"C:\\elevated.exe", false);
  const HWND elevated = OpenWindow({.title = L"Elevated",
                                    .rect = {-500, 0, -100, 300},
                                    .processId = 9000,
                                    .cloaked = true,
                                    .invisibleFrame = {7, 0, 7, 7}});
  expected.push_back({idOf(elevated), 9000, L"", L"Elevated", {-493, 0, -107, 293}});
  const HWND orphan = OpenWindow({.title = L"Orphan", .rect = {0, 0, 9, 99}, .processId = 9001});
  Minimise(orphan);
  expected.push_back({idOf(orphan), 9001, L"", L"Orphan", {0, 0, 9, 99}});

  std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(list().windows, expected);

  ToTop(elevated);
  EXPECT_EQ(list().windows.front().title, L"Elevated");
}

TEST_F(WindowListTest, MonitorsAreThoseThatCanBeShared) {
  const HMONITOR second = AddMonitor({-640, 20, 0, 500});
  using Desktops = std::vector<DesktopInfo>;
  const auto listMonitors = [this] {
    Desktops list(9);
    capture.GetDesktopList(
        [](const DesktopInfo* desktops, const int& count, void* user) {
          EXPECT_EQ(desktops == nullptr, count == 0);
          static_cast<Desktops*>(user)->assign(desktops, desktops + count);
        },
        &list);
    return list;
  };
  const Desktops desktops = listMonitors();
  ASSERT_EQ(desktops.size(), 2u);
  EXPECT_EQ(desktops[0].isPrimary, 1);
  EXPECT_EQ(desktops[1].isPrimary, 0);
  for (const int id : {desktops[1].id, desktops[1].handle}) {
    EXPECT_EQ(id, idOf(second));
  }
  const DesktopInfo& info = desktops[1];
  EXPECT_EQ(std::tie(info.x, info.y, info.width, info.height), std::tuple(-640, 20, 640, 480));
  FailNth("GetMonitorInfoW", 1);
  EXPECT_EQ(listMonitors().size(), 1u);
  RemoveMonitor(second);
  RemoveMonitor(monitor());
  EXPECT_TRUE(listMonitors().empty());
  capture.GetDesktopList(nullptr, nullptr);
}

TEST_F(WindowListTest, ShellThatHangsIsNotWaitedForAndKeepsFewThreads) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  const HWND away = OpenWindow({.title = L"Away", .rect = {0, 0, 100, 100}});
  SetOnOtherVirtualDesktop(away, true);
  EXPECT_EQ(list().ids(), Ids{});
  SetShellHangs(true);
  const auto hung = Now();
  EXPECT_EQ(list().ids(), ids(away)) << "in doubt it is here";
  EXPECT_LE(Now() - hung, 250ms);
  for (int i = 0; i < 20; ++i) {
    list();
  }
  const auto asked = Now();
  EXPECT_EQ(list().ids(), ids(away));
  EXPECT_EQ(Now(), asked) << "enough wait for it";
  SetShellHangs(false);
  Settle();
  EXPECT_EQ(list().ids(), Ids{});
  CoUninitialize();
}

TEST_F(WindowListTest, SizeDecides) {
  const auto isListed = [this](int width, int height, bool minimised) {
    const HWND window = OpenWindow({.title = L"Window", .rect = {5, 5, 5 + width, 5 + height}});
    if (minimised) {
      Minimise(window);
    }
    ResetCounts();
    const bool listed = list().ids() == ids(window);
    EXPECT_EQ(Count("OpenProcess"), listed ? 1u : 0u);
    Close(window);
    return listed;
  };
  for (const bool minimised : {false, true}) {
    EXPECT_FALSE(isListed(1, 1, minimised)) << minimised;
    EXPECT_FALSE(isListed(31, 31, minimised)) << minimised;
    EXPECT_TRUE(isListed(32, 10, minimised)) << minimised;
    EXPECT_TRUE(isListed(10, 32, minimised)) << minimised;
    EXPECT_FALSE(isListed(0, 31, minimised)) << minimised;
    EXPECT_EQ(isListed(0, 100, minimised), minimised) << "only what is shown must have an area";
    EXPECT_EQ(isListed(100, 0, minimised), minimised);
  }
}

TEST_F(WindowListTest, CoveredTopmostWindowsAreLeftOut) {
  const RECT rect = {0, 0, 100, 100};
  const HWND plain = OpenWindow({.title = L"Plain", .rect = rect});
  const HWND topmost = OpenWindow({.title = L"Topmost", .rect = rect, .exStyle = WS_EX_TOPMOST});
  const HWND cover = OpenWindow({.title = L"Cover", .rect = rect, .exStyle = WS_EX_TOPMOST});
  EXPECT_EQ(list().ids(), ids(cover, plain));
  SetRect(cover, {2, 0, 100, 100});
  EXPECT_EQ(list().ids(), ids(cover, topmost, plain)) << "a corner shows";
  SetRect(cover, rect);
  SetTopmost(topmost, false);
  EXPECT_EQ(list().ids(), ids(cover, topmost, plain)) << "no matter for other windows";

  // Five points decide, each of them by itself.
  Close(cover);
  SetTopmost(topmost, true);
  std::vector<HWND> dots;  // too small for a list
  for (const auto& [x, y] : {std::pair(1, 1), {1, 99}, {99, 1}, {99, 99}, {50, 50}}) {
    dots.push_back(OpenWindow({.rect = {x, y, x + 1, y + 1}, .exStyle = WS_EX_TOPMOST}));
  }
  EXPECT_EQ(list().ids(), ids(plain));
  for (const HWND dot : dots) {
    Hide(dot);
    EXPECT_EQ(list().ids(), ids(topmost, plain)) << "without dot " << dot;
    Show(dot);
  }
}

TEST_F(WindowListTest, ExcludedAndUntitledWindowsAreLeftOutUnlessAnOwnerHasATitle) {
  const HWND third = OpenWindow({.title = L"Third", .processId = 8001});
  const HWND second = OpenWindow({.title = L"Second", .processId = 8000});
  const HWND panel = OpenWindow({.title = L"", .owner = third});
  OpenWindow({.title = L"", .owner = OpenWindow({.title = L""})});
  OpenWindow({.title = L"", .owner = panel});
  const IScreenCapture::FilterWindowInfo byHandle = {.window = second};
  const std::pair<IScreenCapture::FilterWindowInfo, Ids> rules[] = {
      {byHandle, ids(panel, third)},
      {{.type = 1, .titleRule = 2, .processId = 8000, .title = "Second"},
       ids(panel, second, third)}};
  for (const auto& [excluded, left] : rules) {
    capture.AddExcludeWindow(excluded);
    ResetCounts();
    EXPECT_EQ(list().ids(), left);
    EXPECT_EQ(Count("OpenProcess"), left.size()) << "none for a window that is left out";
    WindowList other;
    ScreenCapture().GetWindowList(WindowList::Take, &other);
    EXPECT_EQ(other.ids(), ids(panel, second, third)) << "each object has lists of its own";
    capture.RemoveExcludeWindow(excluded);
  }
  capture.AddExcludeWindow(byHandle);
  capture.AddIncludeWindow(byHandle);
  EXPECT_EQ(list().ids(), ids(panel, third)) << "the include list is about pictures";
}

TEST_F(WindowListTest, TitlesAreCutBetweenCharacters) {
  const std::wstring pair = {wchar_t{0xD83D}, wchar_t{0xDE00}};
  const HWND window = OpenWindow({.title = L"Window"});
  const auto listed = [&](const std::wstring& title) {
    SetTitle(window, title);
    return list().windows.at(0).title;
  };
  const std::wstring full = std::wstring(1997, L'x') + pair;
  EXPECT_EQ(listed(full), full);
  EXPECT_EQ(listed(full + L"x"), full);
  EXPECT_EQ(listed(L"x" + full), L"x" + full.substr(0, 1997));

  SetTitle(window, std::wstring(257, L'x') + pair + L"x");
  EXPECT_EQ(capture.GetWindowTitle(idOf(window)), std::wstring(257, L'x') + pair);
  SetTitle(window, std::wstring(258, L'x') + pair);
  EXPECT_EQ(capture.GetWindowTitle(idOf(window)), std::wstring(258, L'x'));
}

TEST_F(WindowListTest, IdsAreThoseOfTheLastListThatWasNotEmpty) {
  const HWND old = OpenWindow({.title = L"Old"});
  EXPECT_STREQ(capture.GetWindowTitle(idOf(old)), L"");
  EXPECT_STREQ(capture.GetWindowIcon(idOf(old)), "") << "before any list";
  list();
  const wchar_t* const title = capture.GetWindowTitle(idOf(old));
  EXPECT_STREQ(title, L"Old");
  const char* const icon = capture.GetWindowIcon(idOf(old));
  EXPECT_EQ(std::string(icon).substr(0, 23), "data:image/png; base64,");
  EXPECT_STREQ(capture.GetWindowIcon(1), "");
  EXPECT_STREQ(icon, "") << "the failing call has overwritten it";
  EXPECT_STREQ(capture.GetWindowTitle(1), L"");
  EXPECT_STREQ(title, L"");

  Hide(old);
  SetTitle(old, L"Renamed");
  EXPECT_TRUE(list().isNull);
  EXPECT_STREQ(capture.GetWindowTitle(idOf(old)), L"Renamed") << "the present title";
  Close(old);
  EXPECT_STREQ(capture.GetWindowTitle(idOf(old)), L"");

  const HWND next = OpenWindow({.title = L"Next"});
  EXPECT_EQ(list().ids(), ids(next));
  const HWND unlisted = OpenWindow({.title = L"Unlisted"});
  EXPECT_STREQ(capture.GetWindowTitle(idOf(unlisted)), L"");
  EXPECT_STREQ(ScreenCapture().GetWindowTitle(idOf(next)), L"Next") << "one list for all objects";
  Close(next);
  list();
  EXPECT_STREQ(capture.GetWindowTitle(idOf(unlisted)), L"Unlisted");
}

TEST_F(WindowListTest, AskedForInsideItsCallback) {
  const HWND window = OpenWindow({.title = L"Before"});
  WindowList inner;
  WindowList outer;
  std::wstring title;
  std::function<void(const WindowInfo*, int)> told = [&](const WindowInfo* windows, int count) {
    SetTitle(window, L"After");
    OpenWindow({.title = L"New"});
    inner = list();
    title = capture.GetWindowTitle(windows[0].id);
    ShareTest::list();  // of the monitors, too
    WindowList::Take(windows, count, &outer);
  };
  capture.GetWindowList([](const WindowInfo* windows, const int& count,
                           void* user) { (*static_cast<decltype(told)*>(user))(windows, count); },
                        &told);
  ASSERT_EQ(outer.ids(), ids(window));
  EXPECT_EQ(outer.windows[0].title, L"Before") << "as it was when the list was made";
  EXPECT_EQ(inner.windows.size(), 2u);
  EXPECT_EQ(title, L"After");
}

TEST_F(WindowListTest, AsyncListsOverlapEachWithItsOwnArrayAndOutliveTheirObject) {
  struct Waiter : WindowList {
    HANDLE go = nullptr;
    static void TakeAndWait(const WindowInfo* windows, const int& count, void* user) {
      auto& self = *static_cast<Waiter*>(user);
      const std::wstring title = windows[0].title;
      WaitForSingleObject(self.go, INFINITE);
      EXPECT_EQ(windows[0].title, title);
      WindowList::Take(windows, count, static_cast<WindowList*>(&self));
    }
  };
  const HANDLE go = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Waiter first;
  Waiter second;
  first.go = second.go = go;
  const HWND secret = OpenWindow({.title = L"Secret"});
  const HWND a = OpenWindow({.title = L"A"});
  auto other = std::make_unique<ScreenCapture>();
  other->AddExcludeWindow({.window = secret});
  AtNth("EnumWindows", 1, [&] { other.reset(); });
  other->GetWindowListAsync(Waiter::TakeAndWait, &first);
  Settle();
  EXPECT_EQ(other, nullptr) << "whose list goes on without it";
  const HWND b = OpenWindow({.title = L"B"});
  capture.GetWindowListAsync(Waiter::TakeAndWait, &second);
  Settle();
  EXPECT_EQ(HeldModules(), 2) << "the threads keep the library loaded";
  const HWND c = OpenWindow({.title = L"C"});
  EXPECT_EQ(list().ids(), ids(c, b, a, secret));
  EXPECT_EQ(first.calls + second.calls, 0);
  SetEvent(go);
  Settle();
  CloseHandle(go);
  EXPECT_EQ(first.ids(), ids(a));
  EXPECT_EQ(second.ids(), ids(b, a, secret));
  EXPECT_NE(first.thread, second.thread);
  EXPECT_NE(first.thread, GetCurrentThreadId());
  EXPECT_EQ(log.Count("start new thread to get window list"), 2) << log.Dump();
  EXPECT_EQ(HeldModules(), 0);
}

// What a host counts of both kinds of list.
struct Calls {
  int count = 0;
  int items = 0;
  bool throws = false;

  template <typename Info>
  static void Take(const Info*, const int& items, void* user) {
    auto& self = *static_cast<Calls*>(user);
    ++self.count;
    self.items = items;
    if (self.throws) {
      throw 1;
    }
  }
};

TEST_F(WindowListTest, EveryCallbackComesOnceWhateverIsLacking) {
  const std::function<void(Calls&)> forms[] = {
      [&](Calls& calls) { capture.GetWindowList(Calls::Take<WindowInfo>, &calls); },
      [&](Calls& calls) { capture.GetWindowListAsync(Calls::Take<WindowInfo>, &calls); },
      [&](Calls& calls) { capture.GetDesktopList(Calls::Take<DesktopInfo>, &calls); },
      [&](Calls& calls) { capture.GetDesktopListAsync(Calls::Take<DesktopInfo>, &calls); }};
  OpenWindow({.title = L"Window"});
  for (std::size_t form = 0; form < std::size(forms); ++form) {
    SCOPED_TRACE(form);
    for (const std::size_t size : {1, 33, 65, 129, 257, 100000}) {
      Calls calls;
      int failed = 0;
      {
        const FailLargeAllocations noMemory(size);
        forms[form](calls);
        Settle();
        failed = noMemory.failed();
      }
      EXPECT_EQ(calls.count, 1) << "without blocks of " << size;
      EXPECT_EQ(calls.items, failed > 0 ? 0 : 1) << "without blocks of " << size;
      EXPECT_TRUE(failed > 0 || size > 1);
    }
    Calls calls = {.throws = true};
    forms[form](calls);
    Settle();
    EXPECT_EQ(calls.count, 1);
    EXPECT_EQ(HeldModules(), 0);
  }
  ResetCounts();
  capture.GetWindowList(nullptr, nullptr);
  capture.GetWindowListAsync(nullptr, nullptr);
  capture.GetDesktopListAsync(nullptr, nullptr);
  EXPECT_EQ(Count("EnumWindows") + Count("CreateThread"), 0u) << "nobody to tell";
}

TEST_F(WindowListTest, LeavesOutAWindowThatDiesMeanwhile) {
  AddProcess(7000, L"C:\\notes.exe");
  const HWND last = OpenWindow({.title = L"Last", .rect = {0, 0, 50, 50}});
  const HWND first = OpenWindow({.title = L"First", .rect = {0, 0, 50, 60}});
  const std::vector<WindowList::Window> survivors = {
      {idOf(first), 7000, L"notes", L"First", {0, 0, 50, 60}},
      {idOf(last), 7000, L"notes", L"Last", {0, 0, 50, 50}}};
  for (const char* const function :
       {"IsWindowVisible", "GetClassNameW", "InternalGetWindowText", "GetWindowLongPtrW",
        "GetWindowRect", "IsIconic", "GetWindowThreadProcessId", "OpenProcess",
        "QueryFullProcessImageNameW", "IsZoomed", "DwmGetWindowAttribute"}) {
    const HWND dying = OpenWindow({.title = L"Dying"});
    ToTop(first);
    bool died = false;
    AtNth(function, 2, [&] {
      Close(dying);
      died = true;
    });
    EXPECT_EQ(list().windows, survivors) << function;
    EXPECT_TRUE(died) << function;
  }
}

}  // namespace
}  // namespace qx::test
