// Other programs that answer late or go: how long it takes to call their windows.
#include <chrono>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;

TEST(OtherPrograms, AreWaitedForUntilTheyAnswerOrGo) {
  OwnClock();
  const TestBitmap picture(10, 10);
  TestWindow own({0, 0, 50, 50});
  const std::vector<std::function<BOOL(HWND)>> calls = {
      [](HWND w) { return ShowWindow(w, SW_MINIMIZE); },
      [](HWND w) { return SetWindowPos(w, nullptr, 5, 5, 0, 0, SWP_NOSIZE | SWP_NOZORDER); },
      [](HWND w) { return MoveWindow(w, 5, 5, 9, 9, TRUE); },
      BringWindowToTop,
      CloseWindow,
      [](HWND w) { return SetWindowLongPtrW(w, GWL_STYLE, WS_VISIBLE) != 0; },
      [](HWND w) { return SetWindowLongPtrW(w, GWL_EXSTYLE, WS_EX_NOACTIVATE) != 0; },
      [](HWND w) { return SendMessageW(w, WM_USER, 0, 0), GetLastError() == 0; },
      [&](HWND w) { return PrintWindow(w, picture.dc(), 0); }};
  for (std::size_t i = 0; i < calls.size(); ++i) {
    SCOPED_TRACE(i);
    const HWND window = OpenWindow({.exStyle = WS_EX_TOOLWINDOW});
    // What happens after 30 milliseconds, and whether the call is done then.
    const auto expectCall = [&](bool done, const std::function<void()>& happens) {
      TestThread other([&] {
        Spend(30ms);
        happens();
      });
      const auto start = Now();
      SetLastError(0);
      EXPECT_EQ(calls[i](window) != FALSE, done);
      EXPECT_EQ(Now() - start, 30ms);
    };
    Hang(window);
    expectCall(true, [&] {
      DWORD_PTR result = 0;
      EXPECT_TRUE(SendMessageTimeoutW(own, WM_USER, 0, 0, SMTO_BLOCK, 20, &result))
          << "who waits answers meanwhile";
      AnswerAfter(window, 0ms);
    });
    HangAll();
    expectCall(false, [&] { Close(window); });
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  }
}

}  // namespace
}  // namespace qx::test
