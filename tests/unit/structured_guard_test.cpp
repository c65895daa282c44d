// What the guard takes, and what it leaves to others.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "win/util/StructuredGuard.h"

namespace qx {
namespace {

void Raise(DWORD code, DWORD flags = 0) { RaiseException(code, flags, 0, nullptr); }

TEST(StructuredGuard, TakesWhatIsRaisedOnceAndAgain) {
  constexpr DWORD kNoncontinuable = 1;
  constexpr DWORD kAccessViolation = 0xC0000005;
  int reached = 0;
  EXPECT_TRUE(RunGuarded([&] { reached = 1; }));
  EXPECT_FALSE(RunGuarded([&] {
    reached = 2;
    Raise(kAccessViolation);
    reached = 3;
  }));
  EXPECT_EQ(reached, 2);
  EXPECT_FALSE(RunGuarded([] { Raise(0x80000100); }));
  EXPECT_FALSE(RunGuarded([] { Raise(0x80000100, kNoncontinuable); }));
}

TEST(StructuredGuard, TheInnermostTakesIt) {
  bool inner = true;
  EXPECT_TRUE(RunGuarded([&] { inner = RunGuarded([] { Raise(0xC0000094); }); }));
  EXPECT_FALSE(inner);
}

TEST(StructuredGuard, CppExceptionsPass) {
  EXPECT_THROW(RunGuarded([] { throw std::runtime_error("outside"); }), std::runtime_error);
  bool caught = false;
  EXPECT_TRUE(RunGuarded([&] {
    try {
      throw std::runtime_error("inside");
    } catch (const std::runtime_error&) {
      caught = true;
    }
  }));
  EXPECT_TRUE(caught);
  EXPECT_FALSE(RunGuarded([] { Raise(0xC0000005); })) << "after the throws";
}

TEST(StructuredGuard, EachThreadHasItsOwn) {
  std::atomic<int> inside = 0;
  // Both are in the guard when the one of them raises.
  const auto run = [&](bool raises) {
    return RunGuarded([&] {
      ++inside;
      while (inside < 2) {
        std::this_thread::yield();
      }
      if (raises) {
        Raise(0xC0000005);
      }
    });
  };
  for (int i = 0; i < 20; ++i) {
    inside = 0;
    bool other = true;
    std::thread thread([&] { other = run(true); });
    EXPECT_TRUE(run(false));
    thread.join();
    EXPECT_FALSE(other);
  }
}

}  // namespace
}  // namespace qx
