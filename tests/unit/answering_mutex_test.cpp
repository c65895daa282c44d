#include <gtest/gtest.h>

#include "tests/platform/TestWindow.h"
#include "win/util/AnsweringMutex.h"

namespace qx {
namespace {

TEST(AnsweringMutexTest, IsItsHoldersUntilTheLastReleaseAndWhoWaitsForItAnswers) {
  AnsweringMutex mutex;
  test::TestWindow window({0, 0, 10, 10});
  bool asked = false;
  window.onMessage = [&](UINT, WPARAM, LPARAM) -> LRESULT {
    asked = true;
    return 0;
  };
  test::TestEvent held;
  test::TestThread holder([&] {
    EXPECT_TRUE(mutex.try_lock());
    EXPECT_TRUE(mutex.try_lock()) << "its holder may take it again";
    mutex.unlock();
    held.Set();
    DWORD_PTR result = 0;
    EXPECT_NE(SendMessageTimeoutW(window, WM_USER, 0, 0, SMTO_NORMAL, 5000, &result), 0)
        << "who waits for the mutex does not answer";
    EXPECT_TRUE(mutex.IsMine());
    mutex.unlock();
  });
  held.Wait();
  EXPECT_FALSE(mutex.try_lock()) << "taken twice and released once";
  mutex.lock();
  EXPECT_TRUE(asked);
  mutex.unlock();
  holder.Join();
}

}  // namespace
}  // namespace qx
