// Messages to virtual programs, and how long their senders wait.
#include <gtest/gtest.h>

#include <chrono>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Icons.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;

struct Answer {
  bool came;
  DWORD error;
  DWORD_PTR value;
  std::chrono::microseconds after;
};

Answer ask(HWND window, UINT message, WPARAM wParam, UINT flags = SMTO_BLOCK) {
  const auto start = Now();
  Answer answer{};
  SetLastError(0);
  answer.came = SendMessageTimeoutW(window, message, wParam, 0, flags, 100, &answer.value) != 0;
  answer.error = GetLastError();
  answer.after = Now() - start;
  return answer;
}

TEST(MessagesToPrograms, AreAnsweredPromptlySlowlyOrNever) {
  OwnClock();
  const HWND window = OpenWindow({});
  const HICON icon = MakeIcon({1, 1, {0xFF000000}});
  SetWindowIcon(window, IconKind::kSmall2, icon);
  Answer answer = ask(window, WM_GETICON, ICON_SMALL2);
  EXPECT_TRUE(answer.came);
  EXPECT_EQ(reinterpret_cast<HICON>(answer.value), icon);
  EXPECT_EQ(answer.after, 0ms);
  answer = ask(window, WM_GETICON, ICON_BIG);
  EXPECT_TRUE(answer.came);
  EXPECT_EQ(answer.value, 0u);
  EXPECT_TRUE(ask(window, WM_GETICON, 3).came);
  EXPECT_EQ(ask(window, WM_USER, ICON_SMALL2).value, 0u) << "another message";

  AnswerAfter(window, 100ms);
  answer = ask(window, WM_GETICON, ICON_SMALL2);
  EXPECT_TRUE(answer.came) << "just in time";
  EXPECT_EQ(answer.after, 100ms);
  AnswerAfter(window, 101ms);
  answer = ask(window, WM_GETICON, ICON_SMALL2);
  EXPECT_FALSE(answer.came);
  EXPECT_EQ(answer.error, static_cast<DWORD>(ERROR_TIMEOUT));
  EXPECT_EQ(answer.value, 0u);
  EXPECT_EQ(answer.after, 100ms);

  Hang(window);
  EXPECT_EQ(ask(window, WM_NULL, 0).after, 100ms);
  answer = ask(window, WM_NULL, 0, SMTO_ABORTIFHUNG);
  EXPECT_FALSE(answer.came);
  EXPECT_EQ(answer.after, 0ms);
}

TEST(MessagesToPrograms, EndWithTheWindow) {
  OwnClock();
  const HWND window = OpenWindow({});
  Hang(window);
  TestThread closer([&] {
    Spend(30ms);
    Close(window);
  });
  const Answer answer = ask(window, WM_NULL, 0);
  EXPECT_FALSE(answer.came);
  EXPECT_EQ(answer.error, static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  EXPECT_EQ(answer.after, 30ms);
}

TEST(SentMessages, EndWithTheWindow) {
  OwnClock();
  HWND window = nullptr;
  TestThread owner([&] {
    TestWindow made({0, 0, 50, 50});
    window = made;
    Spend(30ms);
  });
  Settle();
  const Answer answer = ask(window, WM_USER, 0);
  EXPECT_FALSE(answer.came);
  EXPECT_EQ(answer.error, static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  EXPECT_EQ(answer.after, 30ms);
}

}  // namespace
}  // namespace qx::test
