// Other programs that answer late or hang, and threads that do: how long it takes to
// call their windows.
#include <chrono>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;

using Call = std::function<BOOL(HWND)>;

// How long a call takes.
std::chrono::microseconds timeOf(const std::function<void()>& call) {
  const auto start = Now();
  SetLastError(0);
  call();
  return Now() - start;
}

class ProgramTest : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    OwnClock();
  }

  // Does something after some time.
  static std::function<void()> after(std::chrono::microseconds time, std::function<void()> change) {
    return [=] {
      Spend(time);
      change();
    };
  }
};

TEST_F(ProgramTest, IsWaitedForUntilItAnswersOrGoes) {
  const TestBitmap picture(10, 10);
  TestWindow own({0, 0, 50, 50});
  const std::vector<Call> calls = {
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
    const HWND window = OpenWindow({.exStyle = WS_EX_TOOLWINDOW});
    Hang(window);
    {
      TestThread release(after(30ms, [&] {
        DWORD_PTR result = 0;
        EXPECT_TRUE(SendMessageTimeoutW(own, WM_USER, 0, 0, SMTO_BLOCK, 20, &result))
            << i << " does not answer meanwhile";
        AnswerAfter(window, 0ms);
      }));
      EXPECT_EQ(timeOf([&] { EXPECT_TRUE(calls[i](window)) << i; }), 30ms) << i;
    }
    HangAll();
    TestThread closer(after(30ms, [&] { Close(window); }));
    EXPECT_EQ(timeOf([&] { EXPECT_FALSE(calls[i](window)) << i; }), 30ms) << i;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE)) << i;
  }
}

TEST_F(ProgramTest, OwnThreadsHangAfterFiveSecondsWithoutALook) {
  TestEvent go;
  WindowThread thread({}, [&](TestWindow&) { go.Wait(); });
  Advance(6s);
  EXPECT_FALSE(IsHungAppWindow(thread.handle())) << "nothing waits for it";
  PostMessageW(thread.handle(), WM_USER, 0, 0);
  Advance(4999ms);
  EXPECT_FALSE(IsHungAppWindow(thread.handle()));
  Advance(1ms);
  EXPECT_TRUE(IsHungAppWindow(thread.handle()));
  const auto asked = timeOf([&] {
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(thread.handle(), WM_NULL, 0, 0, SMTO_ABORTIFHUNG, 100, &answer);
  });
  EXPECT_EQ(asked, 0ms);
  go.Set();
  Settle();
  EXPECT_FALSE(IsHungAppWindow(thread.handle()));
}

TEST_F(ProgramTest, OwnWindowsThatGoEndTheWait) {
  HWND window = nullptr;
  TestThread owner([&] {
    TestWindow made({0, 0, 50, 50});
    window = made;
    Spend(60ms);
  });
  Settle();
  DWORD_PTR answer = 0;
  const auto asked =
      timeOf([&] { SendMessageTimeoutW(window, WM_USER, 0, 0, SMTO_BLOCK, 100, &answer); });
  EXPECT_EQ(asked, 60ms);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

TEST_F(ProgramTest, HangsAtTheCallThatATestChooses) {
  const HWND window = OpenWindow({});
  const auto calls = [&] {  // three that can fail or wait, and one that can't
    (void)IsWindow(window);
    SidesOf(window);
    ShowWindow(window, SW_SHOWNA);
    SidesOf(window);
  };
  std::vector<std::uint64_t> seen;
  const auto note = [&] { seen.push_back(Count("GetWindowRect") * 10 + Count("ShowWindow")); };
  for (std::uint64_t n = 1;; ++n) {
    ClearFaults();
    ResetCounts();
    OnNthCall(n, note);
    calls();
    if (!ActionRan()) break;
  }
  EXPECT_EQ(seen, (std::vector<std::uint64_t>{10, 11, 21}));
  ClearFaults();
  ResetCounts();
  OnNthCall(1, calls);
  OnNthCall(3, note);
  calls();
  EXPECT_EQ(seen.back(), 42u) << "calls in an action are no steps";
  ClearFaults();
}

}  // namespace
}  // namespace qx::test
