// Messages: order, threads, timers, painting.
#include <gtest/gtest.h>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

struct Event {
  HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ~Event() { CloseHandle(handle); }
  void Set() { SetEvent(handle); }
  void Wait() { WaitForSingleObject(handle, INFINITE); }
};

UINT next() {
  MSG message{};
  GetMessageW(&message, nullptr, 0, 0);
  DispatchMessageW(&message);
  return message.message;
}

// Handles messages until one with this number was handled.
int handleUntil(UINT wanted) {
  int handled = 0;
  while (next() != wanted) ++handled;
  return handled;
}

void drain(HWND window) {
  PostMessageW(window, WM_APP, 0, 0);
  handleUntil(WM_APP);
}

TEST(Messages, PostedComeFirstThenPaintingThenTimers) {
  TestWindow window({50, 50, 150, 150});
  window.Show();
  drain(window);
  ASSERT_TRUE(SetTimer(window, 7, 10, nullptr));
  Event never;
  // The timer is due afterwards.
  WaitForSingleObject(never.handle, 40);
  InvalidateRect(window, nullptr, FALSE);
  PostMessageW(window, WM_USER, 0, 0);
  EXPECT_EQ(next(), static_cast<UINT>(WM_USER));
  EXPECT_EQ(next(), static_cast<UINT>(WM_PAINT));
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, nullptr, 0, 0));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_TIMER));
  EXPECT_EQ(message.wParam, 7u);
  EXPECT_TRUE(KillTimer(window, 7));
  EXPECT_FALSE(KillTimer(window, 7));
}

TEST(Messages, GoToThreadsAsWell) {
  TestWindow window({0, 0, 50, 50});
  ASSERT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_USER + 3, 5, 6));
  PostQuitMessage(7);
  PostMessageW(window, WM_USER + 4, 0, 0);
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, nullptr, WM_USER, 0xBFFF));
  EXPECT_FALSE(message.hwnd);
  EXPECT_EQ(message.message, WM_USER + 3u);
  EXPECT_EQ(message.wParam, 5u);
  EXPECT_EQ(message.lParam, 6);
  EXPECT_EQ(next(), WM_USER + 4u) << "quitting comes after what is posted";
  EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0));
  EXPECT_EQ(message.wParam, 7u);

  DWORD ended = 0;
  TestThread([&] { ended = GetCurrentThreadId(); }).Join();
  EXPECT_FALSE(PostThreadMessageW(ended, WM_USER, 0, 0));
}

TEST(Messages, ComeFromOtherThreadsInOrder) {
  TestWindow window({0, 0, 50, 50});
  TestThread poster([&] {
    for (UINT i = 0; i < 100; ++i) PostMessageW(window, WM_USER + i, 0, 0);
    PostMessageW(window, WM_QUIT, 9, 0);
  });
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 9u);
  ASSERT_EQ(window.noted.size(), 100u);
  for (UINT i = 0; i < 100; ++i) EXPECT_EQ(window.noted[i], WM_USER + i);
}

TEST(Messages, DieWithTheirWindow) {
  TestWindow kept({0, 0, 50, 50});
  {
    TestWindow gone({0, 0, 50, 50});
    PostMessageW(gone, WM_USER + 1, 0, 0);
    SetTimer(gone, 1, 10, nullptr);
  }
  PostMessageW(kept, WM_USER + 2, 0, 0);
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, nullptr, WM_USER, WM_USER + 10));
  EXPECT_EQ(message.message, WM_USER + 2u);
}

TEST(Messages, TimersRepeatUntilKilled) {
  TestWindow window({0, 0, 50, 50});
  SetTimer(window, 1, 10, nullptr);
  handleUntil(WM_TIMER);
  handleUntil(WM_TIMER);
  static int called;
  called = 0;
  const auto callback = [](HWND, UINT, UINT_PTR, DWORD) { ++called; };
  // The same id again changes the timer.
  SetTimer(window, 1, 10, callback);
  handleUntil(WM_TIMER);
  handleUntil(WM_TIMER);
  EXPECT_EQ(called, 2);
  KillTimer(window, 1);
}

TEST(Painting, RequestsBecomeOnePaint) {
  TestWindow window({50, 50, 250, 250});
  window.Show();
  drain(window);
  const int before = window.paints;
  const RECT one = {10, 10, 20, 20};
  const RECT two = {100, 120, 130, 140};
  InvalidateRect(window, &one, FALSE);
  InvalidateRect(window, &two, FALSE);
  handleUntil(WM_PAINT);
  EXPECT_EQ(window.paints, before + 1);
  EXPECT_EQ(window.lastPaint.left, 10);
  EXPECT_EQ(window.lastPaint.top, 10);
  EXPECT_EQ(window.lastPaint.right, 130);
  EXPECT_EQ(window.lastPaint.bottom, 140);
  drain(window);
  UpdateWindow(window);
  EXPECT_EQ(window.paints, before + 1) << "nothing is left to paint";
}

TEST(Painting, UpdateWindowPaintsBeforeItReturns) {
  TestWindow window({50, 50, 250, 250});
  window.Show();
  drain(window);
  const int before = window.paints;
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  EXPECT_EQ(window.paints, before + 1);
}

TEST(Painting, HiddenWindowsPaintWhenShown) {
  TestWindow window({50, 50, 250, 250});
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  drain(window);
  EXPECT_EQ(window.paints, 0);
  ShowWindow(window, SW_SHOWNA);
  handleUntil(WM_PAINT);
  EXPECT_EQ(window.paints, 1);
}

// A thread with a window that hangs until it is told to go on, and then answers.
class AnsweringThread {
 public:
  AnsweringThread() : m_thread([this] { run(); }) { m_ready.Wait(); }
  ~AnsweringThread() {
    GoOn();
    PostMessageW(m_window, WM_QUIT, 0, 0);
  }

  HWND window() const { return m_window; }
  void GoOn() { m_go.Set(); }

  static constexpr UINT kDouble = WM_USER + 1;   // answers with twice the number
  static constexpr UINT kAskBack = WM_USER + 2;  // and whether this window answered, in time
  int calls = 0;

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
      case kDouble:
        ++reinterpret_cast<AnsweringThread*>(lParam)->calls;
        return static_cast<LRESULT>(wParam * 2);
      case kAskBack: {
        DWORD_PTR answer = 0;
        return SendMessageTimeoutW(reinterpret_cast<HWND>(wParam), WM_USER, 0, 0, SMTO_NORMAL, 50,
                                   &answer) != 0;
      }
      default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
  }

  void run() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &procedure;
    description.lpszClassName = L"AnsweringWindow";
    RegisterClassExW(&description);
    m_window = CreateWindowExW(0, L"AnsweringWindow", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr,
                               nullptr, nullptr);
    m_ready.Set();
    m_go.Wait();
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
    DestroyWindow(m_window);
  }

  Event m_ready;
  Event m_go;
  HWND m_window = nullptr;
  TestThread m_thread;  // ends first
};

TEST(SentMessages, WaitForAThreadThatHangsNoLongerThanTheySay) {
  AnsweringThread other;
  const auto send = [&](WPARAM number, UINT milliseconds, DWORD_PTR* result) {
    return SendMessageTimeoutW(other.window(), AnsweringThread::kDouble, number,
                               reinterpret_cast<LPARAM>(&other), SMTO_BLOCK, milliseconds, result);
  };
  DWORD_PTR result = 0;
  SetLastError(0);
  EXPECT_FALSE(send(1, 30, &result));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));
  EXPECT_EQ(result, 0u);
  EXPECT_FALSE(send(1, 1, nullptr));
  other.GoOn();
  EXPECT_TRUE(send(21, 20000, &result));
  EXPECT_EQ(result, 42u);
  EXPECT_EQ(other.calls, 1) << "what nobody waits for any more does not arrive";
}

TEST(SentMessages, ReachASenderUnlessItIsBlocked) {
  AnsweringThread other;
  other.GoOn();
  TestWindow own({0, 0, 50, 50});
  const auto answered = [&](UINT flags) {
    DWORD_PTR result = 7;
    EXPECT_TRUE(SendMessageTimeoutW(other.window(), AnsweringThread::kAskBack,
                                    reinterpret_cast<WPARAM>(own.handle()), 0, flags, 20000,
                                    &result));
    return result == 1;
  };
  EXPECT_TRUE(answered(SMTO_NORMAL));
  EXPECT_FALSE(answered(SMTO_BLOCK));
}

TEST(SentMessages, RunAtOnceOnTheOwnThread) {
  TestWindow window({0, 0, 50, 50});
  DWORD_PTR result = 7;
  EXPECT_TRUE(SendMessageTimeoutW(window, WM_USER + 5, 0, 0, SMTO_BLOCK, 0, &result));
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(window.noted, std::vector<UINT>{WM_USER + 5});
  const HWND gone = window;
  DestroyWindow(gone);
  SetLastError(0);
  EXPECT_FALSE(SendMessageTimeoutW(gone, WM_USER, 0, 0, SMTO_BLOCK, 20000, &result));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
}

}  // namespace
}  // namespace qx::test
