// How often a message that repeats reaches the host.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <utility>

#include "common/Logging.h"
#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/dxgi/DXGIDuplicationManager.h"
#include "win/task/AeroPeekSwitch.h"
#include "win/util/Thread.h"

namespace qx {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

TEST(LogLimiter, OneMessageInFiveSecondsPerStatement) {
  OwnClock();
  const test::LogRecorder log;
  const auto say = [] { QX_LOG_LIMITED(LogLevelWarn, "limited {}", 1); };
  say();
  say();
  Advance(4999ms);
  say();
  EXPECT_EQ(log.Count("limited 1"), 1);
  QX_LOG_LIMITED(LogLevelWarn, "limited {}", 1);
  EXPECT_EQ(log.Count("limited 1"), 2) << "another statement";
  Advance(1ms);
  say();
  say();
  EXPECT_EQ(log.Count("limited 1"), 3);
  SetSystemTime(SystemTime() - 1h);
  say();
  EXPECT_EQ(log.Count("limited 1"), 4) << "after the user set the clock back";
}

// A host that logs under a lock of its own, and calls the library under that lock.
struct LockingHost {
  SRWLOCK lock = SRWLOCK_INIT;
  KernelHandle logging{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  DWORD owner = GetCurrentThreadId();
}* g_host = nullptr;

void LogUnderLock(int, const char*, int, const char*) {
  if (GetCurrentThreadId() == g_host->owner) {
    return;  // such locks can be taken twice
  }
  SetEvent(g_host->logging.Get());
  AcquireSRWLockExclusive(&g_host->lock);
  ReleaseSRWLockExclusive(&g_host->lock);
}

TEST(Log, IsWrittenWithoutALockOfTheLibrary) {
  static int watcher = 0;
  static AeroPeekSwitch other;
  const auto duplicate = [](const void* owner) {
    auto& manager = DXGIDuplicationManager::Instance();
    static_cast<void>(manager.GetDXGIDuplication(PrimaryMonitor(), owner, DuplicationUse::Watch));
    manager.ReleaseDXGIDuplication(PrimaryMonitor(), owner, DuplicationUse::Watch);
  };
  const std::pair<std::function<void()>, std::function<void()>> rivals[] = {
      {[] {
         AeroPeekSwitch peek;
         peek.TurnOff();
         peek.PutBack();
       },
       [] { other.PutBack(); }},
      {[&] { duplicate(&other); }, [&] { duplicate(&watcher); }}};
  for (const auto& [first, second] : rivals) {
    LockingHost host;
    g_host = &host;
    AcquireSRWLockExclusive(&host.lock);
    LogInstance::Instance().SetCallback(&LogUnderLock);
    Thread thread;
    ASSERT_TRUE(thread.Start(first));
    EXPECT_EQ(WaitForSingleObject(host.logging.Get(), 30000), WAIT_OBJECT_0);
    second();
    ReleaseSRWLockExclusive(&host.lock);
    thread.Join();
    LogInstance::Instance().SetCallback(nullptr);
  }
}

}  // namespace
}  // namespace qx
