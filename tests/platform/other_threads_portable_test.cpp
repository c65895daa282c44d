// Windows of other threads: what waits for their owners, and what does not.
#include <utility>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

constexpr UINT kStay = SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE;

void setLong(HWND window, int index, LONG_PTR more) {
  SetWindowLongPtrW(window, index, GetWindowLongPtrW(window, index) | more);
}

// The owner sends to a window of the caller before it handles messages, and answers none
// itself: only a caller that waits, and answers meanwhile, lets it go on.
TEST(OtherThreads, AreWaitedForByCallsThatTellTheWindow) {
  const TestBitmap picture(10, 10);
  wchar_t text[16] = {};
  char narrow[16] = {};
  using Call = std::function<void(HWND)>;
  const std::vector<std::pair<const char*, Call>> calls = {
      {"ShowWindow", [](HWND w) { EXPECT_TRUE(ShowWindow(w, SW_HIDE)); }},
      {"SetWindowPos", [](HWND w) { EXPECT_TRUE(SetWindowPos(w, nullptr, 5, 5, 0, 0, kStay)); }},
      {"MoveWindow", [](HWND w) { EXPECT_TRUE(MoveWindow(w, 5, 5, 9, 9, FALSE)); }},
      {"BringWindowToTop", [](HWND w) { EXPECT_TRUE(BringWindowToTop(w)); }},
      {"CloseWindow", [](HWND w) { EXPECT_TRUE(CloseWindow(w)); }},
      {"GWL_STYLE", [](HWND w) { setLong(w, GWL_STYLE, WS_MAXIMIZE); }},
      {"GWL_EXSTYLE", [](HWND w) { setLong(w, GWL_EXSTYLE, WS_EX_NOACTIVATE); }},
      {"UpdateWindow", [](HWND w) { UpdateWindow(w); }},
      {"RedrawWindow",
       [](HWND w) { RedrawWindow(w, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW); }},
      {"PrintWindow", [&](HWND w) { EXPECT_TRUE(PrintWindow(w, picture.dc(), 0)); }},
      {"GetWindowTextW", [&](HWND w) { EXPECT_EQ(GetWindowTextW(w, text, 16), 7); }},
      {"GetWindowTextA", [&](HWND w) { EXPECT_EQ(GetWindowTextA(w, narrow, 16), 7); }},
      {"SendMessageW", [](HWND w) { SendMessageW(w, WM_USER, 0, 0); }}};
  for (const auto& [name, call] : calls) {
    TestWindow ours({0, 0, 50, 50});
    TestEvent go;
    bool answered = false;
    WindowThread other(
        [](TestWindow& window) {
          window.Show();
          InvalidateRect(window, nullptr, FALSE);
        },
        [&](TestWindow&) {
          go.Wait();
          DWORD_PTR result = 0;
          answered = SendMessageTimeoutW(ours, WM_USER, 0, 0, SMTO_BLOCK, 5000, &result) != 0;
        });
    go.Set();
    call(other.handle());
    EXPECT_EQ(ours.noted, std::vector<UINT>{WM_USER}) << name;
    other.Flush();
    EXPECT_TRUE(answered) << name;
  }
}

TEST(OtherThreads, AreNotWaitedForByTheOthers) {
  TestWindow owner({0, 0, 50, 50});
  TestEvent go;
  WindowThread other({}, [&](TestWindow&) { go.Wait(); });
  const HWND window = other.handle();
  wchar_t text[16] = {};
  EXPECT_TRUE(ShowWindowAsync(window, SW_SHOWNA));
  EXPECT_TRUE(SetWindowPos(window, nullptr, 5, 7, 0, 0, kStay | SWP_ASYNCWINDOWPOS));
  EXPECT_EQ(InternalGetWindowText(window, text, 16), 7);
  EXPECT_STREQ(text, L"A title");
  EXPECT_TRUE(InvalidateRect(window, nullptr, TRUE));
  SetWindowLongPtrW(window, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner.handle()));
  EXPECT_EQ(GetWindow(window, GW_OWNER), owner.handle());
  SetWindowLongPtrW(window, GWLP_HWNDPARENT, 0);
  EXPECT_TRUE(PostMessageW(window, WM_USER, 0, 0));
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_EQ(SidesOf(window), (Sides{10, 10, 60, 60}));
  EXPECT_FALSE(IsHungAppWindow(window)) << "not yet";
  go.Set();
  other.Flush();
  EXPECT_TRUE(IsWindowVisible(window));
  EXPECT_EQ(SidesOf(window), (Sides{5, 7, 55, 57}));
}

}  // namespace
}  // namespace qx::test
