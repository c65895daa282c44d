// Hosts that are slow, call back into the library, throw, or go away.
#include <atomic>
#include <barrier>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/platform/TestWindow.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(ShareTest, TheStartIsToldOnTheHostsThreadAndAllElseOnTheCaptureThread) {
  const DWORD caller = GetCurrentThreadId();
  std::set<DWORD> captureThreads;
  std::set<std::string> heard;  // there
  Events heardHere;
  host.onEvent = [&](const std::string& event) {
    const std::string operation = event.substr(0, event.find(' '));
    if (GetCurrentThreadId() == caller) {
      heardHere.push_back(operation);
    } else {
      captureThreads.insert(GetCurrentThreadId());
      heard.insert(operation);
    }
  };
  capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
  start();
  SetMonitorRect(monitor(), {0, 0, 300, 180});
  RenewMonitorHandle(monitor());
  tick(2);
  capture.SharePause();
  Advance(5s);
  capture.ShareResume();
  tick(2);
  capture.EnableFilterWindowWhenShareDesktop(false);
  FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);
  tick(12);
  ClearFaults();
  EXPECT_EQ(captureThreads.size(), 1u);
  capture.ShareStop();

  AddProcess(7100, L"C:\\powerpnt.exe");
  const HWND window = OpenWindow({.title = L"Report - Slides",
                                  .className = L"PPTFrameClass",
                                  .rect = {20, 10, 80, 60},
                                  .processId = 7100});
  startWindow(window);
  const HWND show = OpenWindow({.title = L"Show - Report",
                                .className = L"screenClass",
                                .rect = {0, 0, 64, 48},
                                .processId = 7100});
  Advance(2s);
  Close(window);
  Close(show);
  tick(2);
  EXPECT_EQ(captureThreads.size(), 2u);
  EXPECT_EQ(heardHere, (Events{"engine", "start", "engine", "start"}));
  EXPECT_EQ(heard, (std::set<std::string>{"desktopChanged", "dirty", "engine", "firstFrame",
                                          "frame", "pause", "rect", "resume", "statistics", "stop",
                                          "windowChanged"}));
}

TEST_F(ShareTest, ClockThatIsSetBackHoldsUpNeitherFramesNorStatistics) {
  start();
  host.Forget();
  Advance(10s);
  EXPECT_EQ(host.Count("statistics 15"), 2);
  SetSystemTime(SystemTime() - 1h);
  Advance(10s);
  EXPECT_EQ(host.FrameCount(), 300);
  EXPECT_GE(host.Count("statistics 15"), 3);
  EXPECT_EQ(log.Count("capture frame cost too much time"), 0);
}

TEST_F(ShareTest, SlowListenerLosesTicksButNotTheShare) {
  std::chrono::milliseconds busy = 2500ms;
  host.onEvent = [&](const std::string& event) {
    if (event == "frame") {
      Spend(std::exchange(busy, 250ms));
    }
  };
  start();
  Advance(3s);
  EXPECT_TRUE(log.Has(4, "capture frame cost too much time: 2500ms")) << log.Dump();
  host.Forget();
  Advance(5s);
  EXPECT_NEAR(host.FrameCount(), 20, 2) << "as fast as the listener can";
  EXPECT_EQ(host.Count("stop"), 0);
  host.onEvent = nullptr;
  capture.ShareStop();
}

// Whatever a listener is doing, a setter returns at once.
TEST_F(ShareTest, HostsAndListenersMayChangeEverySettingAtAnyTime) {
  SRWLOCK hostLock = SRWLOCK_INIT;
  int calls = 0;
  const auto setAll = [&](const std::string& from) {
    const auto begin = SystemTime();
    const bool flip = ++calls % 2 == 0;
    capture.SetCaptureFPS(flip ? 15 : 30);
    capture.EnableCaptureCursor(flip);
    capture.EnableActiveShareWindow(flip);
    capture.EnableFilterWindowWhenShareDesktop(flip);
    capture.SetDynamicCheck(flip);
    capture.EnablePromptWindow(flip);
    const IScreenCapture::PromptWindowInfo info = {calls % 255, 2, 3, 4};
    capture.SetPromptWindowInfo(&info);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = flip, .scDynamicCheck = calls % 3 == 0});
    capture.SetScreenFrameFormatType(flip ? IScreenCapture::ScreenFrameFormatARGB
                                          : IScreenCapture::ScreenFrameFormatI420);
    capture.AddExcludeWindow({.type = 1, .processId = static_cast<std::uint32_t>(calls)});
    capture.SharePause();
    capture.ShareResume();
    captureRect();
    list();
    EXPECT_EQ(SystemTime() - begin, 0s) << from;
  };
  host.onEvent = [&](const std::string& event) {
    if (event == "start") {
      return;
    }
    setAll(event);
    if (event == "firstFrame") {
      Spend(3s);
    }
    AcquireSRWLockExclusive(&hostLock);
    ReleaseSRWLockExclusive(&hostLock);
  };
  start();
  setAll("the first frame");
  Advance(3s);
  for (int i = 0; i < 10; ++i) {
    SetMonitorRect(monitor(), {0, 0, 300 + i, 200 + i});
    RenewMonitorHandle(monitor());
    // The listener waits for a lock of the host, which holds it during its calls.
    AcquireSRWLockExclusive(&hostLock);
    tick();
    setAll("the host's lock");
    ReleaseSRWLockExclusive(&hostLock);
    tick(3);
  }
  EXPECT_GT(host.FrameCount(), 10);
  EXPECT_EQ(host.Count("firstFrame"), 1);
  EXPECT_EQ(host.Count("stop"), 0);
  host.onEvent = nullptr;
  capture.ShareStop();
}

TEST_F(ShareTest, ListenerThatPausesFromItsFirstFrameGetsNoSecond) {
  host.onEvent = [&](const std::string& event) {
    if (event == "firstFrame") {
      capture.SharePause();
    }
  };
  start();
  host.Forget();
  tick(4);
  EXPECT_EQ(host.Events(), Events{"pause 2"});
  EXPECT_EQ(host.FrameCount(), 1) << "the keep-live frame that comes at once";
}

TEST_F(ShareTest, ListenerThatThrowsLosesThatCallOnly) {
  host.onEvent = [](const std::string& event) {
    if (event == "frame" || event == "engine 4" || event == "start") {
      throw std::runtime_error("a host's mistake");
    }
  };
  start();
  host.Forget();
  tick(3);
  EXPECT_EQ(host.FrameCount(), 3);
  host.onEvent = nullptr;
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(ShareTest, ShareStoppedFromItsOwnStartIsOver) {
  host.onEvent = [&](const std::string& event) {
    if (event == "start") {
      capture.ShareStop();
    }
  };
  capture.ShareDesktop(&context, idOf(monitor()), &host, error);
  Advance(1s);
  EXPECT_EQ(host.FrameCount(), 0);
  host.onEvent = nullptr;
  host.Forget();
  start();
  EXPECT_TRUE(nextFrameShows({}));
}

// Whoever deletes the object waits for the listener, which still finds it whole.
TEST_F(ShareTest, ListenerMayAskTheObjectThatIsBeingDeleted) {
  auto owner = std::make_unique<PlainCapture>();
  PlainCapture& deleted = *owner;
  SRWLOCK untilDeleting = SRWLOCK_INIT;
  host.onEvent = [&](const std::string& event) {
    if (event == "firstFrame") {
      AcquireSRWLockExclusive(&untilDeleting);
      ReleaseSRWLockExclusive(&untilDeleting);
      IScreenCapture::CaptureRect rect = {};
      deleted.GetCaptureRect(rect);
      EXPECT_EQ(rect.width, 320);
      deleted.EnableCaptureCursor(true);
      deleted.ShareStop();
      EXPECT_FALSE(deleted.ShareDesktop(&context, idOf(monitor()), &host, error));
      EXPECT_EQ(error, IScreenCapture::ShareErrorTaskRunning);
    }
  };
  AcquireSRWLockExclusive(&untilDeleting);
  ASSERT_TRUE(deleted.ShareDesktop(&context, idOf(monitor()), &host, error));
  Settle();
  AtNth("MsgWaitForMultipleObjectsEx", 1, [&] { ReleaseSRWLockExclusive(&untilDeleting); });
  owner.reset();
  const auto heard = host.Events(true).size();
  Advance(1s);
  EXPECT_EQ(host.Events(true).size(), heard);
  EXPECT_EQ(host.Count("stop"), 0);
}

// In the middle of each call of other threads in a start a window procedure of the host stops
// the share.
TEST_F(ShareTest, ShareStoppedFromAWindowProcedureDuringItsStartTellsNothingMore) {
  TestWindow own({0, 0, 10, 10});
  Events late;
  std::atomic<bool> stopped = false;
  own.onMessage = [&](UINT, WPARAM, LPARAM) -> LRESULT {
    capture.ShareStop();
    stopped = true;
    return 0;
  };
  host.onEvent = [&](const std::string& event) {
    if (stopped) {
      late.push_back(event);
    }
  };
  const DWORD hostThread = GetCurrentThreadId();
  int stoppedInTime = 0;
  bool ran = true;
  for (std::uint64_t n = 1; ran; ++n) {
    late.clear();
    stopped = false;
    OnNthCall(n, [&] {
      // The host's own thread answers where it waits, and not in any other call.
      if (GetCurrentThreadId() != hostThread) {
        DWORD_PTR result = 0;
        SendMessageTimeoutW(own, WM_USER, 0, 0, SMTO_NORMAL, 5000, &result);
      }
    });
    const bool started = capture.ShareDesktop(&context, idOf(monitor()), &host, error);
    ran = ActionRan();
    ClearFaults();
    if (!started) {
      EXPECT_EQ(late, Events{}) << "at call " << n;
      EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed);
      ++stoppedInTime;
    }
    capture.ShareStop();
  }
  EXPECT_GT(stoppedInTime, 5);
}

// Real time: many threads' worth of interleavings for ThreadSanitizer to look at.
TEST(RunningShare, ThreadsMayStartStopAndSetItAtOnce) {
  vwin::control::SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
  ScreenCapture capture;
  std::atomic<bool> over = false;  // from the return of any of its stops on
  ShareRecorder listener;
  listener.onEvent = [&](const std::string& event) {
    std::this_thread::sleep_for(2ms);  // a slow host: a stop finds it at work
    EXPECT_FALSE(over) << event;
    capture.SetCaptureFPS(29);
  };
  int started = 0;
  std::barrier together(3);
  const auto host = [&](int number) {
    for (int round = 0; round < 30; ++round) {
      if (number == 0) {
        IScreenCapture::ShareError error = {};
        started += capture.ShareDesktop(nullptr, idOf(PrimaryMonitor()), &listener, error) ? 1 : 0;
      } else if (number == 1 && round % 3 == 0) {
        capture.ShareStop();  // in the middle of the start
      }
      together.arrive_and_wait();
      capture.SetScreenCaptureConfig({.scDynamicCheck = number == 0});
      capture.SetCaptureEngineConfig(nullptr, 0, number == 0);
      capture.EnableCaptureCursor(number == 0);
      capture.EnablePromptWindow(round % 3 == 0);
      number == 0 ? capture.SharePause() : capture.ShareResume();
      IScreenCapture::CaptureRect rect = {};
      capture.GetCaptureRect(rect);
      capture.ShareStop();
      over = true;
      together.arrive_and_wait();
      over = false;
      together.arrive_and_wait();
    }
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < 3; ++number) {
    threads.emplace_back(host, number);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_GE(started, 20);
  EXPECT_GT(listener.FrameCount(), 0);
}

}  // namespace
}  // namespace qx::test
