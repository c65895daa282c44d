// Windows: what they are like, their order, their state.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

bool operator==(const RECT& a, const RECT& b) { return EqualRect(&a, &b) != FALSE; }

RECT rectOf(HWND window) {
  RECT rect{};
  EXPECT_TRUE(GetWindowRect(window, &rect));
  return rect;
}

// The test's windows, topmost first, as a walk over all top-level windows gives them.
std::vector<HWND> order(const std::vector<HWND>& of) {
  std::vector<HWND> found;
  for (HWND w = FindWindowExW(nullptr, nullptr, nullptr, nullptr); w;
       w = FindWindowExW(nullptr, w, nullptr, nullptr)) {
    if (std::find(of.begin(), of.end(), w) != of.end()) found.push_back(w);
  }
  return found;
}

void place(HWND window, HWND after) {
  EXPECT_TRUE(SetWindowPos(window, after, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE));
}

TEST(Windows, AreAsTheyWereMade) {
  TestWindow window({100, 120, 400, 320}, RGB(1, 2, 3), WS_EX_TOOLWINDOW, nullptr, WS_POPUP,
                    L"A title");
  ASSERT_TRUE(window.handle());
  EXPECT_TRUE(rectOf(window) == (RECT{100, 120, 400, 320}));
  RECT client;
  ASSERT_TRUE(GetClientRect(window, &client));
  EXPECT_TRUE(client == (RECT{0, 0, 300, 200})) << "a popup has no frame";
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_FALSE(IsIconic(window));
  EXPECT_EQ(static_cast<std::uint32_t>(GetWindowLongPtrW(window, GWL_STYLE)),
            WS_POPUP | WS_CLIPSIBLINGS);
  EXPECT_EQ(static_cast<std::uint32_t>(GetWindowLongPtrW(window, GWL_EXSTYLE)), WS_EX_TOOLWINDOW);
  DWORD process = 0;
  EXPECT_EQ(GetWindowThreadProcessId(window, &process), GetCurrentThreadId());
  EXPECT_EQ(process, GetCurrentProcessId());

  wchar_t text[64] = {};
  EXPECT_EQ(GetWindowTextW(window, text, 64), 7);
  EXPECT_STREQ(text, L"A title");
  EXPECT_EQ(GetWindowTextW(window, text, 4), 3);
  EXPECT_STREQ(text, L"A t");
  char narrow[64] = {};
  EXPECT_EQ(GetClassNameA(window, narrow, 64), 18);
  EXPECT_STREQ(narrow, "PlatformTestWindow");
}

TEST(Windows, OverlappedWindowHasACaption) {
  TestWindow window({100, 100, 500, 400}, RGB(1, 2, 3), 0, nullptr, WS_OVERLAPPED);
  EXPECT_EQ(GetWindowLongPtrW(window, GWL_STYLE) & WS_CAPTION, WS_CAPTION);
  EXPECT_TRUE(GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_WINDOWEDGE);
  RECT client;
  ASSERT_TRUE(GetClientRect(window, &client));
  EXPECT_LT(client.bottom, 300);
  EXPECT_EQ(client.top, 0);
}

TEST(Windows, TopmostOnesStayAboveAllOthers) {
  TestWindow a({0, 0, 50, 50});
  TestWindow top({0, 0, 50, 50}, RGB(1, 2, 3), WS_EX_TOPMOST);
  TestWindow b({0, 0, 50, 50});
  const std::vector<HWND> all = {a, top, b};
  EXPECT_EQ(order(all), (std::vector<HWND>{top, b, a})) << "a new window comes on top of its kind";
  place(a, HWND_TOP);
  EXPECT_EQ(order(all), (std::vector<HWND>{top, a, b}));
  place(b, HWND_TOPMOST);
  EXPECT_EQ(order(all), (std::vector<HWND>{b, top, a}));
  EXPECT_TRUE(GetWindowLongPtrW(b, GWL_EXSTYLE) & WS_EX_TOPMOST);
  place(b, HWND_NOTOPMOST);
  EXPECT_EQ(order(all), (std::vector<HWND>{top, b, a}));
  EXPECT_FALSE(GetWindowLongPtrW(b, GWL_EXSTYLE) & WS_EX_TOPMOST);
  place(a, HWND_NOTOPMOST);
  EXPECT_EQ(order(all), (std::vector<HWND>{top, b, a})) << "it is none already";
  place(b, a);
  EXPECT_EQ(order(all), (std::vector<HWND>{top, a, b}));
  place(top, HWND_BOTTOM);
  EXPECT_EQ(order(all), (std::vector<HWND>{a, b, top}));
  EXPECT_FALSE(GetWindowLongPtrW(top, GWL_EXSTYLE) & WS_EX_TOPMOST);

  place(a, HWND_TOPMOST);
  place(b, a);
  EXPECT_EQ(order(all), (std::vector<HWND>{a, b, top}));
  EXPECT_FALSE(GetWindowLongPtrW(b, GWL_EXSTYLE) & WS_EX_TOPMOST)
      << "just under the last topmost window it stays what it was";
}

TEST(Windows, StyleBitDoesNotMakeTopmost) {
  TestWindow window({0, 0, 50, 50});
  SetWindowLongPtrW(window, GWL_EXSTYLE, WS_EX_TOPMOST | WS_EX_TOOLWINDOW);
  EXPECT_EQ(GetWindowLongPtrW(window, GWL_EXSTYLE), WS_EX_TOOLWINDOW);
}

TEST(Windows, OwnedWindowsFollowTheirOwnerUpAndAway) {
  TestWindow owner({0, 0, 50, 50});
  TestWindow owned({0, 0, 50, 50}, RGB(1, 2, 3), 0, owner);
  TestWindow other({0, 0, 50, 50});
  owner.Show();
  owned.Show();
  other.Show();
  EXPECT_EQ(GetWindow(owned, GW_OWNER), owner.handle());
  EXPECT_EQ(GetParent(owned), owner.handle()) << "of a popup";
  place(owner, HWND_TOP);
  EXPECT_EQ(order({owner, owned, other}), (std::vector<HWND>{owned, owner, other}));
  DestroyWindow(owner);
  EXPECT_FALSE(IsWindow(owned));
  EXPECT_EQ(owned.noted, (std::vector<UINT>{WM_DESTROY, WM_NCDESTROY}));
}

TEST(Windows, OwnersCanBeChanged) {
  const auto setOwner = [](HWND window, HWND owner) {
    const LONG_PTR previous =
        SetWindowLongPtrW(window, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner));
    return reinterpret_cast<HWND>(previous);
  };
  TestWindow owner({0, 0, 50, 50});
  TestWindow window({0, 0, 50, 50});
  TestWindow other({0, 0, 50, 50});
  EXPECT_FALSE(setOwner(window, owner));
  EXPECT_EQ(GetWindow(window, GW_OWNER), owner.handle());
  EXPECT_EQ(reinterpret_cast<HWND>(GetWindowLongPtrW(window, GWLP_HWNDPARENT)), owner.handle());
  EXPECT_EQ(order({owner, window, other}), (std::vector<HWND>{other, window, owner}));
  place(owner, HWND_TOP);
  EXPECT_EQ(order({owner, window, other}), (std::vector<HWND>{window, owner, other}));
  setOwner(window, reinterpret_cast<HWND>(std::intptr_t{0x7FFFFFF0}));
  EXPECT_EQ(setOwner(window, other), owner.handle());
  EXPECT_EQ(setOwner(window, nullptr), other.handle());
  DestroyWindow(owner);
  DestroyWindow(other);
  EXPECT_TRUE(IsWindow(window));
}

TEST(Windows, OwnedWindowsStayOverTheirOwner) {
  TestWindow bottom({0, 0, 50, 50});
  TestWindow owner({0, 0, 50, 50});
  TestWindow owned({0, 0, 50, 50}, RGB(1, 2, 3), 0, owner);
  TestWindow other({0, 0, 50, 50});
  const std::vector<HWND> all = {bottom, owner, owned, other};
  place(owned, bottom);
  EXPECT_EQ(order(all), (std::vector<HWND>{other, owned, owner, bottom}));
  place(owned, HWND_TOPMOST);
  EXPECT_EQ(order(all), (std::vector<HWND>{owned, other, owner, bottom}));
  EXPECT_FALSE(GetWindowLongPtrW(owner, GWL_EXSTYLE) & WS_EX_TOPMOST);
  place(owner, HWND_TOP);
  EXPECT_EQ(order(all), (std::vector<HWND>{owned, owner, other, bottom}));
}

TEST(Windows, MaximisedStyleMovesNothing) {
  TestWindow window({100, 120, 400, 320});
  window.Show();
  SetWindowLongPtrW(window, GWL_STYLE, GetWindowLongPtrW(window, GWL_STYLE) | WS_MAXIMIZE);
  EXPECT_TRUE(IsZoomed(window));
  EXPECT_TRUE(rectOf(window) == (RECT{100, 120, 400, 320}));
  EXPECT_TRUE(MoveWindow(window, 10, 20, 30, 40, TRUE));
  EXPECT_TRUE(rectOf(window) == (RECT{10, 20, 40, 60}));
  EXPECT_TRUE(IsZoomed(window));
  EXPECT_TRUE(CloseWindow(window));
  EXPECT_TRUE(IsIconic(window));
  EXPECT_TRUE(IsWindow(window));
  EXPECT_FALSE(MoveWindow(nullptr, 0, 0, 1, 1, TRUE));
}

TEST(Windows, ChildrenBelongToTheirParent) {
  TestWindow parent({100, 100, 300, 300});
  TestWindow child({10, 20, 60, 70}, RGB(1, 2, 3), 0, parent, WS_CHILD | WS_VISIBLE);
  TestWindow grandchild({5, 5, 15, 15}, RGB(1, 2, 3), 0, child, WS_CHILD | WS_VISIBLE);
  EXPECT_TRUE(rectOf(grandchild) == (RECT{115, 125, 125, 135}));
  EXPECT_EQ(GetParent(child), parent.handle());
  EXPECT_FALSE(GetWindow(child, GW_OWNER));
  EXPECT_FALSE(IsWindowVisible(child)) << "its parent is hidden";
  parent.Show();
  EXPECT_TRUE(IsWindowVisible(child));

  std::vector<HWND> found;
  const auto collect = [](HWND window, LPARAM to) -> BOOL {
    reinterpret_cast<std::vector<HWND>*>(to)->push_back(window);
    return TRUE;
  };
  EnumChildWindows(parent, collect, reinterpret_cast<LPARAM>(&found));
  EXPECT_EQ(found, (std::vector<HWND>{child, grandchild}));

  SetWindowPos(parent, nullptr, 200, 150, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  EXPECT_TRUE(rectOf(grandchild) == (RECT{215, 175, 225, 185}));
  DestroyWindow(parent);
  EXPECT_FALSE(IsWindow(grandchild));
}

TEST(Windows, MinimisedWindowRemembersItsPlace) {
  TestWindow window({100, 120, 400, 320}, RGB(1, 2, 3), 0, nullptr, WS_OVERLAPPEDWINDOW);
  window.Show();
  ShowWindow(window, SW_MINIMIZE);
  EXPECT_TRUE(IsIconic(window));
  EXPECT_TRUE(IsWindowVisible(window));
  WINDOWPLACEMENT placement{};
  placement.length = sizeof(placement);
  ASSERT_TRUE(GetWindowPlacement(window, &placement));
  EXPECT_TRUE(placement.rcNormalPosition == (RECT{100, 120, 400, 320}));
  EXPECT_EQ(placement.showCmd, static_cast<UINT>(SW_SHOWMINIMIZED));
  ShowWindow(window, SW_RESTORE);
  EXPECT_FALSE(IsIconic(window));
  EXPECT_TRUE(rectOf(window) == (RECT{100, 120, 400, 320}));
}

TEST(Windows, AreFoundByClassAndTitleWithoutRegardToCase) {
  TestWindow one({0, 0, 50, 50}, RGB(1, 2, 3), 0, nullptr, WS_POPUP, L"One");
  TestWindow two({0, 0, 50, 50}, RGB(1, 2, 3), 0, nullptr, WS_POPUP, L"Two");
  EXPECT_EQ(FindWindowExW(nullptr, nullptr, TestWindow::kClass, L"One"), one.handle());
  EXPECT_EQ(FindWindowExW(nullptr, nullptr, L"PLATFORMTESTWINDOW", nullptr), two.handle());
  EXPECT_EQ(FindWindowExA(nullptr, two, "PlatformTestWindow", nullptr), one.handle());
  EXPECT_EQ(FindWindowExA(nullptr, one, "PlatformTestWindow", nullptr), nullptr);
}

TEST(Windows, StaleHandlesAreRefused) {
  TestWindow window({0, 0, 50, 50});
  const HWND handle = window;
  DestroyWindow(handle);
  EXPECT_EQ(window.noted, (std::vector<UINT>{WM_DESTROY, WM_NCDESTROY}));
  RECT rect;
  EXPECT_FALSE(IsWindow(handle));
  SetLastError(0);
  EXPECT_FALSE(GetWindowRect(handle, &rect));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  SetLastError(0);
  EXPECT_FALSE(PostMessageW(handle, WM_USER, 0, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  SetLastError(0);
  EXPECT_FALSE(GetDC(handle));
  EXPECT_FALSE(SetWindowPos(handle, HWND_TOP, 0, 0, 1, 1, 0));
  EXPECT_FALSE(ShowWindowAsync(handle, SW_SHOW));
  EXPECT_FALSE(IsHungAppWindow(handle));
  EXPECT_FALSE(IsHungAppWindow(nullptr));
  // A style of 0 is told from none.
  TestWindow plain({0, 0, 50, 50});
  SetLastError(0);
  EXPECT_EQ(GetWindowLongPtrW(plain, GWL_EXSTYLE), 0);
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_EQ(GetWindowLongPtrW(handle, GWL_EXSTYLE), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

TEST(Windows, LayeredAttributesNeedTheStyle) {
  TestWindow window({0, 0, 50, 50});
  EXPECT_FALSE(SetLayeredWindowAttributes(window, 0, 128, LWA_ALPHA));
  SetWindowLongPtrW(window, GWL_EXSTYLE, WS_EX_LAYERED);
  COLORREF key = 0;
  BYTE alpha = 0;
  DWORD flags = 0;
  EXPECT_FALSE(GetLayeredWindowAttributes(window, &key, &alpha, &flags)) << "none are set";
  EXPECT_TRUE(SetLayeredWindowAttributes(window, RGB(1, 2, 3), 128, LWA_ALPHA | LWA_COLORKEY));
  EXPECT_TRUE(GetLayeredWindowAttributes(window, &key, &alpha, &flags));
  EXPECT_EQ(key, RGB(1, 2, 3));
  EXPECT_EQ(alpha, 128);
  EXPECT_EQ(flags, static_cast<DWORD>(LWA_ALPHA | LWA_COLORKEY));
}

TEST(Windows, UnknownClassesAndSecondRegistrationsAreRefused) {
  SetLastError(0);
  EXPECT_FALSE(CreateWindowExW(0, L"NoSuchClass", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                               nullptr, nullptr));
  // 1407 on Windows, 1411 under Wine.
  EXPECT_NE(GetLastError(), 0u);
  TestWindow window({0, 0, 50, 50});
  WNDCLASSEXW again{};
  again.cbSize = sizeof(again);
  again.lpfnWndProc = DefWindowProcW;
  again.lpszClassName = TestWindow::kClass;
  SetLastError(0);
  EXPECT_EQ(RegisterClassExW(&again), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_ALREADY_EXISTS));
}

}  // namespace
}  // namespace qx::test
