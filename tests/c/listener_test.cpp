// Shares with listeners in C.
#include <atomic>
#include <cstddef>
#include <memory>

#include "tests/c/CShareTest.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(CShareTest, ItsListenerHearsWhatOneInCppHears) {
  const HMONITOR second = AddMonitor({320, 0, 600, 180});
  configure(true);
  startC(second);
  start(second);
  tick(3);
  EXPECT_EQ(cHost.LastFrame().argb, host.LastFrame().argb);
  EXPECT_EQ(qx_share_pause(c), QX_OK);
  capture.SharePause();
  tick(2);
  EXPECT_EQ(qx_share_resume(c), QX_OK);
  capture.ShareResume();
  SetMonitorRect(second, {320, 0, 560, 160});
  EXPECT_EQ(qx_set_screen_frame_format_type(c, QX_SCREEN_FRAME_FORMAT_I420), QX_OK);
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  tick(3);
  qx_capture_rect rect = {};
  EXPECT_EQ(qx_get_capture_rect(c, &rect), QX_OK);
  EXPECT_EQ(rect.x, 320);
  EXPECT_EQ(rect.height, 160);
  const HMONITOR renewed = RenewMonitorHandle(second);
  tick(80);  // statistics come, to one of the two
  RemoveMonitor(renewed);
  tick(3);

  EXPECT_EQ(cHost.Events(), host.Events());
  for (const char* const event :
       {"engine 4", "start", "firstFrame", "pause 2", "resume", "rect 320,0 240x160", "stop"}) {
    EXPECT_EQ(cHost.Count(event), 1) << event;
  }
  EXPECT_EQ(cHost.Count("desktopChanged " + std::to_string(idOf(renewed))), 1);
  EXPECT_GT(cHost.Count("dirty 0 0 0"), 0);
  const Frame mine = cHost.LastFrame();
  const Frame theirs = host.LastFrame();
  EXPECT_EQ(mine.rawHeight, 160);
  EXPECT_EQ(mine.y, theirs.y);
  EXPECT_EQ(mine.u, theirs.u);
  EXPECT_EQ(mine.v, theirs.v);
  EXPECT_EQ(mine.timestamp, theirs.timestamp);
  EXPECT_EQ(qx_share_stop(c), QX_OK);
}

TEST_F(CShareTest, ItFollowsASlideShow) {
  AddProcess(7100, L"C:\\Apps\\powerpnt.exe");
  const HWND main = openShared(
      {.className = L"PPTFrameClass", .style = WS_CAPTION | WS_MAXIMIZEBOX, .processId = 7100});
  SetTitle(main, L"Report");
  const qx_share_listener functions = Recording();
  ASSERT_EQ(qx_share_window(c, &cHost, idOf(main), &functions, nullptr), QX_OK) << log.Dump();
  const HWND show = OpenWindow({.title = L"Slide Show - [Report]",
                                .className = L"screenClass",
                                .rect = {0, 0, 320, 200},
                                .processId = 7100});
  Advance(6s);
  EXPECT_EQ(cHost.Count("windowChanged " + std::to_string(idOf(show))), 1) << log.Dump();
  EXPECT_EQ(cHost.Count("statistics 0") + cHost.Count("statistics 14"), 2);
}

// What an older header does not know, and what the host leaves out, is not called.
TEST_F(CShareTest, AListenerMayHaveAFewFunctions) {
  struct {
    qx_share_listener functions = Recording();
    void* behind[4] = {};
  } newer;
  newer.functions.size = sizeof(newer);
  newer.functions.on_frame = nullptr;
  startC(monitor(), newer.functions);
  tick(3);
  EXPECT_EQ(cHost.Events(), (Events{"engine 4", "start", "firstFrame"}));
  EXPECT_EQ(cHost.FrameCount(), 0);
  qx_share_stop(c);

  qx_share_listener older = Recording();
  // Half a function is none.
  older.size = offsetof(qx_share_listener, on_resume) + 4;
  cHost.Forget();
  startC(monitor(), older);
  qx_share_pause(c);
  tick(3);
  qx_share_resume(c);
  tick(3);
  EXPECT_EQ(cHost.Events(true), (Events{"start", "pause 2"}));
}

TEST_F(CShareTest, FromItsListenerAnythingButTheEndOfItsOwnShareGoes) {
  qx_screen_capture* other = qx_create();
  int stops = 0;
  int others = 0;
  cHost.onEvent = [&](const std::string& event) {
    EXPECT_EQ(qx_share_stop(c), QX_ERROR_WRONG_THREAD) << event;
    EXPECT_EQ(qx_destroy(c), QX_ERROR_WRONG_THREAD) << event;
    EXPECT_EQ(qx_set_capture_fps(c, 15), QX_OK) << event;
    ++stops;
    if (event != "frame") {
      return;
    }
    // Its own functions run in the middle of this one.
    qx_share_listener functions = {};
    functions.size = sizeof(functions);
    functions.on_start = [](void* own) {
      EXPECT_EQ(qx_share_stop(static_cast<qx_screen_capture*>(own)), QX_ERROR_WRONG_THREAD);
    };
    qx_enable_prompt_window(other, false);
    EXPECT_EQ(qx_share_desktop(other, c, idOf(monitor()), &functions, nullptr), QX_OK);
    EXPECT_EQ(qx_share_stop(other), QX_OK);
    ++others;
  };
  startC(monitor());
  tick(2);
  EXPECT_GE(others, 3);
  EXPECT_GE(stops, 6) << "on the starting thread, too";
  cHost.onEvent = nullptr;
  EXPECT_EQ(qx_destroy(other), QX_OK);
  EXPECT_EQ(qx_share_stop(c), QX_OK);
}

// The thread may be the share's own, or may be ending it already.
TEST_F(CShareTest, NeitherTheLogNorWhoIsEndingAShareMayEndIt) {
  static qx_screen_capture* object = nullptr;
  static std::atomic<int> lines = 0;
  object = c;
  EXPECT_EQ(qx_register_log_callback([](std::int32_t, const char*, std::int32_t, const char*) {
              EXPECT_EQ(qx_share_stop(object), QX_ERROR_WRONG_THREAD);
              EXPECT_EQ(qx_destroy(object), QX_ERROR_WRONG_THREAD);
              ++lines;
            }),
            QX_OK);
  startC(monitor());
  EXPECT_GT(lines, 0);
  EXPECT_EQ(qx_unregister_log_callback(), QX_OK);

  // Its thread, in the share's last operation, needs an answer from a window of that one.
  std::unique_ptr<TestThread> ending;
  bool answered = false;
  cHost.onEvent = [&](const std::string& event) {
    if (event != "frame" || ending) {
      return;
    }
    HWND asked = nullptr;
    TestEvent ready;
    ending = std::make_unique<TestThread>([&] {
      TestWindow own({0, 0, 10, 10});
      own.onMessage = [&](UINT, WPARAM, LPARAM) -> LRESULT {
        EXPECT_EQ(qx_share_stop(c), QX_ERROR_WRONG_THREAD);
        EXPECT_EQ(qx_destroy(c), QX_ERROR_WRONG_THREAD);
        answered = true;
        return 0;
      };
      asked = own;
      ready.Set();
      EXPECT_EQ(qx_share_stop(c), QX_OK);
      EXPECT_TRUE(answered);
    });
    ready.Wait();
    DWORD_PTR result = 0;
    SendMessageTimeoutW(asked, WM_USER, 0, 0, SMTO_NORMAL, 5000, &result);
  };
  tick(2);
  ASSERT_TRUE(ending);
  ending->Join();
}

}  // namespace
}  // namespace qx::test
