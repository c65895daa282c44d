// The ordinary host: one thread, with windows on it. It shares a window of its own, and
// the library's calls for that window need this very thread.
#include <gtest/gtest.h>
#include <process.h>
#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

#include "tests/support/ShareRecorder.h"

namespace qx::test {
namespace {

// What the window's procedure does with WM_USER.
std::function<void()> onUserMessage;

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_PAINT) {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(window, &paint);
    const HBRUSH brush = CreateSolidBrush(RGB(200, 100, 50));
    FillRect(dc, &paint.rcPaint, brush);
    DeleteObject(brush);
    EndPaint(window, &paint);
    return 0;
  }
  if (message == WM_USER && onUserMessage) {
    onUserMessage();
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

HWND openWindow() {
  WNDCLASSEXW description = {};
  description.cbSize = sizeof(description);
  description.lpfnWndProc = &procedure;
  description.lpszClassName = L"OneThreadHost";
  RegisterClassExW(&description);
  return CreateWindowExW(0, L"OneThreadHost", L"Own window", WS_POPUP | WS_VISIBLE, 40, 40, 160,
                         120, nullptr, nullptr, nullptr, nullptr);
}

unsigned WINAPI runOnThread(void* work) {
  (*static_cast<std::function<void()>*>(work))();
  return 0;
}

// On a thread of its own, which has ended when this returns.
void onThread(std::function<void()> work) {
  const auto thread =
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &runOnThread, &work, 0, nullptr));
  ASSERT_NE(thread, nullptr);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

class OneThreadHost : public testing::Test {
 protected:
  OneThreadHost() {
    capture.SetCaptureFPS(30);
    capture.SetScreenCaptureConfig({.MovedWindowStableKeepMinDuration = 20});
  }
  ~OneThreadHost() override {
    onUserMessage = nullptr;
    if (IsWindow(window)) {
      DestroyWindow(window);
    }
  }

  // False where the system does not tell where its windows are.
  bool share() {
    const auto id = static_cast<int>(reinterpret_cast<std::intptr_t>(window));
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    const bool started = capture.ShareWindow(nullptr, id, &host, error);
    if (!started && log.Count("DwmGetWindowAttribute failed") == 0) {
      ADD_FAILURE() << "error " << error << '\n' << log.Dump();
    }
    return started;
  }

  // The host's message loop, until so many events of a kind came.
  testing::AssertionResult handleMessagesUntil(const std::string& event, int count) {
    constexpr int kRounds = 3000;
    for (int i = 0; i < kRounds; ++i) {
      MSG message = {};
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
      }
      if (host.Count(event) >= count) {
        return testing::AssertionSuccess();
      }
      MsgWaitForMultipleObjectsEx(0, nullptr, 10, QS_ALLINPUT, 0);
    }
    return testing::AssertionFailure() << "no " << event << '\n' << log.Dump();
  }

  LogRecorder log;
  ShareRecorder host;
  HWND window = openWindow();
  ScreenCapture capture;
};

TEST_F(OneThreadHost, SharesItsOwnWindowAgainAndAgain) {
  const std::string paused = "pause " + std::to_string(IScreenCapture::PauseReasonInvoked);
  for (int i = 1; i <= 20; ++i) {
    host.Forget();
    if (!share()) {
      GTEST_SKIP() << "windows can't be shared here";
    }
    ASSERT_TRUE(handleMessagesUntil("frame", 1)) << i;
    SetWindowPos(window, nullptr, 40 + i, 40, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    capture.SharePause();
    ASSERT_TRUE(handleMessagesUntil(paused, 1)) << i;
    capture.EnablePromptWindow(i % 2 == 0);
    capture.ShareResume();
    ASSERT_TRUE(handleMessagesUntil("resume", 1)) << i;
    capture.ShareStop();
    EXPECT_EQ(host.Count("stop"), 0);
  }
}

TEST_F(OneThreadHost, IsAskedWhileItWaitsForTheEnd) {
  if (!share()) {
    GTEST_SKIP() << "windows can't be shared here";
  }
  ASSERT_TRUE(handleMessagesUntil("frame", 1));
  // The listener needs an answer from the window whose thread stops the share, and that
  // calls the library.
  int answers = 0;
  onUserMessage = [&] {
    ++answers;
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    capture.ShareStop();
    capture.SharePause();
    EXPECT_FALSE(capture.ShareDesktop(nullptr, 0, &host, error));
    EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  };
  const HANDLE inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  host.onEvent = [&](const std::string& event) {
    if (event == "frame" && SetEvent(inside)) {
      DWORD_PTR result = 0;
      SendMessageTimeoutW(window, WM_USER, 0, 0, 0, 10000, &result);
    }
  };
  WaitForSingleObject(inside, 30000);
  capture.ShareStop();
  CloseHandle(inside);
  EXPECT_GE(answers, 1);
}

TEST_F(OneThreadHost, MayEndItsThreadWhileItShares) {
  DestroyWindow(window);
  bool started = false;
  onThread([&] {
    window = openWindow();
    started = share();
    if (started) {
      EXPECT_TRUE(handleMessagesUntil("frame", 2));
    }
    host.Forget();
  });
  if (!started) {
    GTEST_SKIP() << "windows can't be shared here";
  }
  // The window has gone with its thread.
  EXPECT_TRUE(host.WaitFor("stop", 1)) << log.Dump();
  capture.ShareStop();
  EXPECT_FALSE(IsWindow(window));

  onThread([&] {
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    const HMONITOR monitor = MonitorFromWindow(GetDesktopWindow(), MONITOR_DEFAULTTOPRIMARY);
    const auto id = static_cast<int>(reinterpret_cast<std::intptr_t>(monitor));
    EXPECT_TRUE(capture.ShareDesktop(nullptr, id, &host, error)) << error;
    host.Forget();
  });
  EXPECT_TRUE(host.WaitFor("frame", 2)) << log.Dump();
  onThread([&] { capture.ShareStop(); });
}

}  // namespace
}  // namespace qx::test
