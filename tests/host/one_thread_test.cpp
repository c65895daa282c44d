// The ordinary host: one thread, with windows on it. It shares a window of its own, and
// the library's calls for that window need this very thread.
#include <gtest/gtest.h>
#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

#include "tests/platform/TestWindow.h"
#include "tests/support/ShareRecorder.h"

namespace qx::test {
namespace {

class OneThreadHost : public testing::Test {
 protected:
  OneThreadHost() {
    openWindow();
    capture.SetCaptureFPS(30);
    capture.SetScreenCaptureConfig({.MovedWindowStableKeepMinDuration = 20});
  }

  void openWindow() {
    window = std::make_unique<TestWindow>(RECT{40, 40, 200, 160}, RGB(200, 100, 50), 0, nullptr,
                                          WS_POPUP | WS_VISIBLE, L"Own window");
  }
  // False where the system does not tell where its windows are.
  bool share() {
    const auto id = static_cast<int>(reinterpret_cast<std::intptr_t>(window->handle()));
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
  std::unique_ptr<TestWindow> window;
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
    SetWindowPos(*window, nullptr, 40 + i, 40, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
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
  window->onMessage = [&](UINT, WPARAM, LPARAM) -> LRESULT {
    ++answers;
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    capture.ShareStop();
    capture.SharePause();
    EXPECT_FALSE(capture.ShareDesktop(nullptr, 0, &host, error));
    EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
    return 0;
  };
  const HANDLE inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  host.onEvent = [&](const std::string& event) {
    if (event == "frame" && SetEvent(inside)) {
      DWORD_PTR result = 0;
      SendMessageTimeoutW(*window, WM_USER, 0, 0, 0, 10000, &result);
    }
  };
  WaitForSingleObject(inside, 30000);
  capture.ShareStop();
  CloseHandle(inside);
  EXPECT_GE(answers, 1);
}

TEST_F(OneThreadHost, MayEndItsThreadWhileItShares) {
  window.reset();
  bool started = false;
  TestThread([&] {
    openWindow();
    started = share();
    if (started) {
      EXPECT_TRUE(handleMessagesUntil("frame", 2));
    }
    host.Forget();
  }).Join();
  if (!started) {
    GTEST_SKIP() << "windows can't be shared here";
  }
  // The window has gone with its thread.
  EXPECT_TRUE(host.WaitFor("stop", 1)) << log.Dump();
  capture.ShareStop();
  EXPECT_FALSE(IsWindow(*window));

  TestThread([&] {
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    const HMONITOR monitor = MonitorFromWindow(GetDesktopWindow(), MONITOR_DEFAULTTOPRIMARY);
    const auto id = static_cast<int>(reinterpret_cast<std::intptr_t>(monitor));
    EXPECT_TRUE(capture.ShareDesktop(nullptr, id, &host, error)) << error;
    host.Forget();
  }).Join();
  EXPECT_TRUE(host.WaitFor("frame", 2)) << log.Dump();
  TestThread([&] { capture.ShareStop(); }).Join();
}

}  // namespace
}  // namespace qx::test
