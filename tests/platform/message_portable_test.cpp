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

}  // namespace
}  // namespace qx::test
