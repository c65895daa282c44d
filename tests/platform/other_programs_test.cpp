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

  void ask(HWND window, UINT message, UINT flags = SMTO_BLOCK) {
    DWORD_PTR answer = 0;
    m_took = timeOf(
        [&] { m_answered = SendMessageTimeoutW(window, message, 0, 0, flags, 100, &answer) != 0; });
  }

  bool m_answered = false;
  std::chrono::microseconds m_took{};
};

TEST_F(ProgramTest, AnswersPromptlySlowlyOrNever) {
  const HWND window = open({});
  ask(window, WM_NULL);
  EXPECT_TRUE(m_answered);
  EXPECT_EQ(m_took, 0ms);
  AnswerAfter(window, 100ms);
  ask(window, WM_NULL);
  EXPECT_TRUE(m_answered) << "just in time";
  EXPECT_EQ(m_took, 100ms);
  AnswerAfter(window, 101ms);
  ask(window, WM_NULL);
  EXPECT_FALSE(m_answered);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));
  EXPECT_EQ(m_took, 100ms);
  EXPECT_FALSE(IsHungAppWindow(window));

  Hang(window);
  EXPECT_TRUE(IsHungAppWindow(window));
  ask(window, WM_NULL, SMTO_ABORTIFHUNG);
  EXPECT_FALSE(m_answered);
  EXPECT_EQ(m_took, 0ms);
  TestThread release(after(30ms, [&] { AnswerAfter(window, 50ms); }));
  ask(window, WM_NULL);
  EXPECT_TRUE(m_answered);
  EXPECT_EQ(m_took, 80ms) << "its way of answering counts, not how it was when asked";
}

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
    const HWND window = open({.exStyle = WS_EX_TOOLWINDOW});
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

TEST_F(ProgramTest, PaintsWhenItAnswersAndCallsTakeEffectThen) {
  const HWND parent = open({.title = L"Notes"});
  const HWND child = open({.parent = parent});
  HangAll();
  wchar_t text[8] = {};
  const auto told = timeOf([&] {
    EXPECT_EQ(GetWindowTextW(parent, text, 8), 5);
    EXPECT_TRUE(ShowWindowAsync(parent, SW_MINIMIZE));
    EXPECT_TRUE(SetWindowPos(child, nullptr, 1, 2, 3, 4, SWP_NOZORDER | SWP_ASYNCWINDOWPOS));
  });
  EXPECT_EQ(told, 0ms);
  EXPECT_FALSE(IsIconic(parent));
  const auto redraw = [](HWND w) { return RedrawWindow(w, nullptr, nullptr, RDW_UPDATENOW); };
  for (const Call& call : {Call(UpdateWindow), Call(redraw)}) {
    TestThread release(after(20ms, [&] { AnswerAfter(child, 10ms); }));
    EXPECT_EQ(timeOf([&] { call(child); }), 30ms);
    Hang(child);
  }
  AnswerAll();
  EXPECT_TRUE(IsIconic(parent));
  EXPECT_FALSE(IsHungAppWindow(child));
}

// Threads that share their input change the foreground one after the other.
TEST_F(ProgramTest, IsWaitedForWhenItsInputIsSharedAndItLosesTheForeground) {
  const HWND editor = open({.threadId = 7001});
  const HWND other = open({.threadId = 7002});
  SetForeground(editor);
  Hang(editor);
  TestWindow own({10, 10, 60, 60});
  const auto waits = [&](const std::function<void()>& call) {
    TestThread release(after(30ms, [&] { AnswerAfter(editor, 0ms); }));
    const bool waited = timeOf(call) == 30ms;
    release.Join();
    SetForeground(editor);
    Hang(editor);
    return waited;
  };
  EXPECT_FALSE(waits([&] { BringWindowToTop(other); }));
  EXPECT_FALSE(waits([&] { ShowWindow(own, SW_SHOW); })) << "nothing is shared";
  const DWORD self = GetCurrentThreadId();
  ASSERT_TRUE(AttachThreadInput(self, 7001, TRUE));
  EXPECT_TRUE(waits([&] { BringWindowToTop(other); }));
  AttachThreadInput(self, 7001, FALSE);

  SetWindowLongPtrW(own, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(editor));
  EXPECT_TRUE(waits([&] { ShowWindow(own, SW_SHOW); })) << "an owner shares its input";
  EXPECT_TRUE(waits([&] { SetWindowPos(own, HWND_TOP, 0, 0, 9, 9, 0); }));
  EXPECT_FALSE(waits([&] { ShowWindow(own, SW_SHOWNA); }));
  EXPECT_FALSE(waits([&] { SetWindowPos(own, HWND_TOP, 0, 0, 9, 9, SWP_NOACTIVATE); }));
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
  ask(thread.handle(), WM_NULL, SMTO_ABORTIFHUNG);
  EXPECT_EQ(m_took, 0ms);
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
  TestThread mover([&] {
    EXPECT_EQ(timeOf([&] { EXPECT_FALSE(MoveWindow(window, 0, 0, 1, 1, TRUE)); }), 60ms);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  });
  ask(window, WM_USER);
  EXPECT_EQ(m_took, 60ms);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

TEST_F(ProgramTest, HangsAtTheCallThatATestChooses) {
  const HWND window = open({});
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
