// How a window share ends, what it survives, and what it leaves behind.
#include <utility>

#include "tests/share/AllocationHook.h"
#include "tests/share/WindowShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr char kPeekKey[] = "Software\\Microsoft\\Windows\\DWM";
constexpr char kPeek[] = "EnableAeroPeek";

TEST_F(WindowShareTest, ClosedWindowEndsTheShareOnce) {
  capture.EnablePromptWindow(true);
  startWindow();
  host.Forget();
  Close(window);
  Advance(2s);
  EXPECT_EQ(host.Events(), Events{"stop"});
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_TRUE(log.Has(4, "window destroy"));
  EXPECT_FALSE(shareWindow(openShared()));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
  capture.ShareStop();
  EXPECT_TRUE(LibraryWindows().empty()) << "the frame went with its window";
  host.Forget();
  startWindow(openShared());
  EXPECT_TRUE(showsWindow());
}

TEST_F(WindowShareTest, WindowThatDiedBeforeTheShareOrItsFirstTick) {
  Close(window);
  EXPECT_FALSE(shareWindow(window));
  EXPECT_EQ(error, IScreenCapture::ShareErrorTargetMissing);
  for (const char* call : {"GetWindowRect", "GetClassNameA", "DwmGetWindowAttribute"}) {
    const HWND target = openShared();
    AtNth(call, 1, [=] { Close(target); });
    EXPECT_FALSE(shareWindow(target)) << call;
    EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed) << call;
  }
  EXPECT_EQ(host.Events(), Events{});

  const HWND target = openShared();
  ASSERT_TRUE(shareWindow(target));
  Close(target);
  tick(2);
  EXPECT_EQ(host.Events().back(), "stop");
}

// The window goes at every call that a tick makes, one after the other.
TEST_F(WindowShareTest, WindowThatDiesInsideATick) {
  capture.EnablePromptWindow(true);
  capture.ShareStop();
  int interrupted = 0;
  for (const char* call :
       {"GetWindowLongPtrW", "GetWindowRect", "CoCreateInstance", "DwmGetWindowAttribute",
        "GetMonitorInfoW", "EnumDisplayMonitors", "PrintWindow", "GdiFlush", "SetWindowLongPtrW",
        "MoveWindow", "ShowWindow"}) {
    for (int nth = 1; nth <= 3; ++nth) {
      host.Forget();
      const HWND target = openShared();
      ASSERT_TRUE(shareWindow(target)) << call;
      Settle();
      MoveTo(target, 50, 50);  // so that the frame moves as well
      settleMove();
      bool closed = false;
      const auto close = [&] {
        if (!std::exchange(closed, true)) {
          Close(target);
        }
      };
      AtNth(call, static_cast<std::uint64_t>(nth), close);
      tick(2);
      interrupted += closed;
      close();
      tick(2);
      EXPECT_EQ(host.Events().back(), "stop") << call << nth << log.Dump();
      EXPECT_EQ(host.Count("stop"), 1);
      capture.ShareStop();
      ClearFaults();
      EXPECT_TRUE(LibraryWindows().empty()) << call << nth;
    }
  }
  EXPECT_GE(interrupted, 15);
}

// Each allocation of a start fails once, one after the other.
TEST_F(WindowShareTest, LackOfMemoryInAStartIsAFailedStartOrCostsNothing) {
  capture.EnablePromptWindow(true);
  SetRegistryDword(kPeekKey, kPeek, 7);
  int failures = 0;
  for (const bool ofWindow : {true, false}) {
    bool failed = true;
    for (int n = 1; failed; ++n) {
      bool started = false;
      {
        const FailNthAllocation noMemory(n);
        started = ofWindow ? shareWindow(window) : share(monitor());
        failed = noMemory.failed();
      }
      if (!started) {
        EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed) << n;
        ++failures;
        started = ofWindow ? shareWindow(window) : share(monitor());
      }
      EXPECT_TRUE(started) << n << log.Dump();
      EXPECT_EQ(RegistryDword(kPeekKey, kPeek), ofWindow ? 0u : 7u) << n;
      host.Forget();
      tick(2);
      EXPECT_GT(host.FrameCount(), 0) << n;
      capture.ShareStop();
    }
  }
  EXPECT_GT(failures, 20);
}

TEST_F(WindowShareTest, LockedScreenEndsAFailingShareAndASecureDesktopIsWaitedFor) {
  useClassicWindows7();
  startWindow();
  host.Forget();
  SetSecureDesktop(true);
  tick(2);
  EXPECT_EQ(host.Events(), Events{}) << "neither a pause nor an end";
  SetSecureDesktop(false);
  Advance(2100ms);
  EXPECT_EQ(host.Events(), Events{"engine 4"});
  EXPECT_TRUE(showsWindow());

  host.Forget();
  FailNth("BitBlt", 1);
  tick();
  EXPECT_EQ(host.Events(), Events{"pause 1"});
  tick();
  EXPECT_EQ(host.Events(), (Events{"pause 1", "resume"}));
  LockSession(true);  // which Windows 7 tells the other way round
  FailNth("BitBlt", 1);
  tick(2);
  EXPECT_EQ(host.Events().back(), "stop");
  EXPECT_TRUE(log.Has(4, "screen lock"));
}

TEST_F(WindowShareTest, AeroPeekIsOffDuringTheShareAndComesBackInEveryEnding) {
  SetRegistryDword(kPeekKey, kPeek, 7);
  startWindow();
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 0u);
  capture.ShareStop();
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 7u);
  EXPECT_TRUE(log.Has(3, "resume EnableAeroPeek : 7"));

  {
    ScreenCapture destroyed;
    ASSERT_TRUE(destroyed.ShareWindow(&context, idOf(window), &host, error));
    EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 0u);
  }
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 7u);

  startWindow();
  OtherShare second;
  ASSERT_TRUE(second.capture.ShareWindow(nullptr, idOf(window), &second.host, error));
  capture.ShareStop();
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 0u) << "one share still runs";
  second.capture.ShareStop();
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 7u);

  // The write that failed may have written all the same.
  FailNth("RegSetValueExA", 1);
  startWindow();
  SetRegistryDword(kPeekKey, kPeek, 0);
  capture.ShareStop();
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), 7u);

  RemoveRegistryKey(kPeekKey);
  startWindow();
  EXPECT_TRUE(showsWindow());
  capture.ShareStop();
  EXPECT_EQ(RegistryDword(kPeekKey, kPeek), std::nullopt) << "nothing to put back";
}

}  // namespace
}  // namespace qx::test
