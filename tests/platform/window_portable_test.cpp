// Windows: what they are like, their order, their state.
#include <algorithm>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

constexpr COLORREF kAny = RGB(1, 2, 3);
constexpr RECT kSmall = {0, 0, 50, 50};

// The test's windows, topmost first, as a walk over all top-level windows gives them.
std::vector<HWND> order(const std::vector<HWND>& of) {
  std::vector<HWND> found;
  for (HWND w = FindWindowExW(nullptr, nullptr, nullptr, nullptr); w;
       w = FindWindowExW(nullptr, w, nullptr, nullptr)) {
    if (std::find(of.begin(), of.end(), w) != of.end()) found.push_back(w);
  }
  return found;
}

BOOL CALLBACK collect(HWND window, LPARAM found) {
  reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
  return TRUE;
}

TEST(Windows, AreAsTheyWereMadeAndFoundByClassAndTitle) {
  TestWindow window({100, 120, 400, 320}, kAny, WS_EX_TOOLWINDOW, nullptr, WS_POPUP, L"A title");
  EXPECT_EQ(SidesOf(window), (Sides{100, 120, 400, 320}));
  RECT client{};
  ASSERT_TRUE(GetClientRect(window, &client));
  EXPECT_EQ(SidesOf(client), (Sides{0, 0, 300, 200})) << "a popup has no frame";
  EXPECT_FALSE(IsWindowVisible(window) || IsIconic(window));
  EXPECT_EQ(static_cast<std::uint32_t>(GetWindowLongPtrW(window, GWL_STYLE)),
            WS_POPUP | WS_CLIPSIBLINGS);
  EXPECT_EQ(GetWindowLongPtrW(window, GWL_EXSTYLE), WS_EX_TOOLWINDOW);
  SetWindowLongPtrW(window, GWL_EXSTYLE, WS_EX_TOPMOST | WS_EX_TOOLWINDOW);
  EXPECT_EQ(GetWindowLongPtrW(window, GWL_EXSTYLE), WS_EX_TOOLWINDOW) << "no bit makes it topmost";
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

  const HWND none = nullptr;
  TestWindow two(kSmall, kAny, 0, nullptr, WS_POPUP, L"Two");
  EXPECT_EQ(FindWindowExW(none, none, TestWindow::kClass, L"A title"), window.handle());
  EXPECT_EQ(FindWindowExW(none, none, L"PLATFORMTESTWINDOW", nullptr), two.handle());
  EXPECT_EQ(FindWindowExA(none, two, "PlatformTestWindow", nullptr), window.handle());
  EXPECT_EQ(FindWindowExA(none, window, "PlatformTestWindow", nullptr), none);

  TestWindow overlapped({100, 100, 500, 400}, kAny, 0, nullptr, WS_OVERLAPPED);
  EXPECT_EQ(GetWindowLongPtrW(overlapped, GWL_STYLE) & WS_CAPTION, WS_CAPTION);
  EXPECT_TRUE(GetWindowLongPtrW(overlapped, GWL_EXSTYLE) & WS_EX_WINDOWEDGE);
  ASSERT_TRUE(GetClientRect(overlapped, &client));
  EXPECT_LT(client.bottom, 300);
  EXPECT_EQ(client.top, 0);
}

TEST(Windows, TopmostOnesStayAboveAllOthers) {
  TestWindow a(kSmall);
  TestWindow top(kSmall, kAny, WS_EX_TOPMOST);
  TestWindow b(kSmall);
  const std::vector<HWND> all = {a, top, b};
  EXPECT_EQ(order(all), (std::vector<HWND>{top, b, a})) << "a new window comes on top of its kind";
  struct Step {
    HWND window, after;
    std::vector<HWND> result;
    bool topmost;
  };
  const Step steps[] = {
      {a, HWND_TOP, {top, a, b}, false},
      {b, HWND_TOPMOST, {b, top, a}, true},
      {b, HWND_NOTOPMOST, {top, b, a}, false},
      {a, HWND_NOTOPMOST, {top, b, a}, false},
      {b, a, {top, a, b}, false},
      {top, HWND_BOTTOM, {a, b, top}, false},
      {a, HWND_TOPMOST, {a, b, top}, true},  // and b stays what it was just under it:
      {b, a, {a, b, top}, false},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(&step - steps);
    Place(step.window, step.after);
    EXPECT_EQ(order(all), step.result);
    EXPECT_EQ(IsTopmost(step.window), step.topmost);
  }
}

TEST(Windows, OwnedOnesStayOverTheirOwnerAndGoWithIt) {
  TestWindow bottom(kSmall);
  TestWindow owner(kSmall);
  TestWindow owned(kSmall, kAny, 0, owner);
  TestWindow other(kSmall);
  const std::vector<HWND> all = {bottom, owner, owned, other};
  EXPECT_EQ(GetWindow(owned, GW_OWNER), owner.handle());
  EXPECT_EQ(GetParent(owned), owner.handle()) << "of a popup";
  Place(owned, bottom);
  EXPECT_EQ(order(all), (std::vector<HWND>{other, owned, owner, bottom}));
  Place(owned, HWND_TOPMOST);
  EXPECT_EQ(order(all), (std::vector<HWND>{owned, other, owner, bottom}));
  EXPECT_FALSE(IsTopmost(owner));
  Place(owner, HWND_TOP);
  EXPECT_EQ(order(all), (std::vector<HWND>{owned, owner, other, bottom}));
  DestroyWindow(owner);
  EXPECT_FALSE(IsWindow(owned));
  EXPECT_EQ(owned.noted, (std::vector<UINT>{WM_DESTROY, WM_NCDESTROY}));
}

TEST(Windows, StaleHandlesAreRefused) {
  TestWindow window(kSmall);
  const HWND handle = window;
  DestroyWindow(handle);
  EXPECT_EQ(window.noted, (std::vector<UINT>{WM_DESTROY, WM_NCDESTROY}));
  RECT rect;
  constexpr DWORD kNoWindow = ERROR_INVALID_WINDOW_HANDLE;
  EXPECT_TRUE(FailsWith(kNoWindow, [&] { return GetWindowRect(handle, &rect); }));
  EXPECT_TRUE(FailsWith(kNoWindow, [&] { return PostMessageW(handle, WM_USER, 0, 0); }));
  EXPECT_TRUE(FailsWith(kNoWindow, [&] { return GetWindowLongPtrW(handle, GWL_EXSTYLE); }));
  TestWindow plain(kSmall);  // a style of 0 is told from none
  EXPECT_TRUE(FailsWith(0, [&] { return GetWindowLongPtrW(plain, GWL_EXSTYLE); }));
  EXPECT_FALSE(IsWindow(handle));
  EXPECT_FALSE(GetDC(handle));
  EXPECT_FALSE(SetWindowPos(handle, HWND_TOP, 0, 0, 1, 1, 0));
  EXPECT_FALSE(MoveWindow(nullptr, 0, 0, 1, 1, TRUE));
  EXPECT_FALSE(IsHungAppWindow(handle) || IsHungAppWindow(nullptr));
}

TEST(Windows, NeedTheirClassOnceAndTheStyleForLayers) {
  // 1407 on Windows, 1411 under Wine.
  SetLastError(0);
  EXPECT_FALSE(CreateWindowExW(0, L"NoSuchClass", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                               nullptr, nullptr));
  EXPECT_NE(GetLastError(), 0u);
  TestWindow window(kSmall);
  WNDCLASSEXW again{};
  again.cbSize = sizeof(again);
  again.lpfnWndProc = DefWindowProcW;
  again.lpszClassName = TestWindow::kClass;
  EXPECT_TRUE(FailsWith(ERROR_CLASS_ALREADY_EXISTS, [&] { return RegisterClassExW(&again); }));

  EXPECT_FALSE(SetLayeredWindowAttributes(window, 0, 128, LWA_ALPHA));
  SetWindowLongPtrW(window, GWL_EXSTYLE, WS_EX_LAYERED);
  COLORREF key = 0;
  BYTE alpha = 0;
  DWORD flags = 0;
  EXPECT_FALSE(GetLayeredWindowAttributes(window, &key, &alpha, &flags)) << "none are set";
  EXPECT_TRUE(SetLayeredWindowAttributes(window, kAny, 128, LWA_ALPHA | LWA_COLORKEY));
  EXPECT_TRUE(GetLayeredWindowAttributes(window, &key, &alpha, &flags));
  EXPECT_EQ(key, kAny);
  EXPECT_EQ(alpha, 128);
  EXPECT_EQ(flags, static_cast<DWORD>(LWA_ALPHA | LWA_COLORKEY));
}

TEST(MessageWindows, AreNotAmongTheWindowsOfTheirThread) {
  TestWindow seen({10, 10, 60, 60});
  TestWindow unseen({0, 0, 0, 0}, RGB(0, 0, 0), 0, HWND_MESSAGE, 0);
  ASSERT_TRUE(unseen.handle());
  EXPECT_EQ(GetWindowThreadProcessId(unseen, nullptr), GetCurrentThreadId());
  std::vector<HWND> windows;
  EnumThreadWindows(GetCurrentThreadId(), &collect, reinterpret_cast<LPARAM>(&windows));
  EXPECT_EQ(std::count(windows.begin(), windows.end(), seen.handle()), 1);
  EXPECT_EQ(std::count(windows.begin(), windows.end(), unseen.handle()), 0);

  unseen.onMessage = [](UINT, WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam) + 1; };
  TestThread sender([&] {
    DWORD_PTR result = 0;
    EXPECT_TRUE(
        SendMessageTimeoutW(unseen, WM_USER, 41, 0, SMTO_BLOCK | SMTO_ABORTIFHUNG, 5000, &result));
    EXPECT_EQ(result, DWORD_PTR{42});
    EXPECT_TRUE(SendMessageTimeoutW(unseen, WM_CLOSE, 0, 0, SMTO_BLOCK, 5000, nullptr));
    PostThreadMessageW(GetWindowThreadProcessId(seen, nullptr), WM_QUIT, 0, 0);
  });
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  EXPECT_FALSE(IsWindow(unseen)) << "WM_CLOSE ends it";
  EXPECT_EQ(unseen.noted, (std::vector<UINT>{WM_USER, WM_DESTROY, WM_NCDESTROY}));
}

}  // namespace
}  // namespace qx::test
