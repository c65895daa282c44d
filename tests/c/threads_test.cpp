// Calls from many threads at once, in real time: interleavings for ThreadSanitizer to look
// at.
#include <gtest/gtest.h>
#include <qx-screen-capture-c.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <thread>
#include <vector>

#include "platform/control/Desktop.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class ManyThreads : public testing::Test {
 protected:
  ManyThreads() {
    SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
    OpenWindow({.title = L"Window", .rect = {0, 0, 40, 30}});
    qx_set_capture_fps(c, 30);
  }
  ~ManyThreads() override {
    qx_destroy(c);
    qx_queue_destroy(queue);
  }

  // Each on a thread of its own, until it says that that is enough.
  static void together(const std::vector<std::function<bool()>>& works) {
    std::vector<std::thread> threads;
    for (const auto& work : works) {
      threads.emplace_back([&work] {
        while (!work()) {
          std::this_thread::yield();
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }

  // Whether the object is gone.
  bool starts() {
    const qx_result started = qx_share_desktop_to_queue(c, monitorId, queue, nullptr);
    EXPECT_TRUE(started == QX_OK || started == QX_ERROR_SHARE || started == QX_ERROR_OBJECT)
        << started;
    return started == QX_ERROR_OBJECT;
  }
  bool listens() {
    qx_share_listener listener = {};
    listener.size = sizeof(listener);
    listener.on_start = [](void* self) { static_cast<ManyThreads*>(self)->hear(); };
    listener.on_frame = [](void* self, const qx_screen_frame_data* frame) {
      static_cast<ManyThreads*>(self)->hear();
      EXPECT_TRUE(frame->width == 0 || frame->width == 64);
    };
    return qx_share_desktop(c, this, monitorId, &listener, nullptr) == QX_ERROR_OBJECT;
  }
  bool stops() { return qx_share_stop(c) == QX_ERROR_OBJECT; }
  bool sets() {
    qx_screen_capture_config config;
    qx_screen_capture_config_init(&config);
    config.keep_alive_interval = 100;
    qx_set_screen_capture_config(c, &config);
    const qx_filter_window_info rule = {1, 0, nullptr, 8000, "", 0};
    qx_add_exclude_window(c, &rule);
    qx_clear_exclude_windows(c);
    const qx_capture_engine_type gdi = QX_CAPTURE_ENGINE_GDI_BIT_BLT;
    qx_set_capture_engine_config(c, &gdi, 1, false);
    qx_set_screen_frame_format_type(c, ++turn % 2);
    qx_enable_prompt_window(c, turn % 3 == 0);
    qx_share_pause(c);
    qx_capture_rect rect = {};
    qx_get_capture_rect(c, &rect);
    return qx_share_resume(c) == QX_ERROR_OBJECT;
  }
  bool lists() {
    qx_get_desktop_list(
        c, [](const qx_desktop_info*, std::int32_t, void*) {}, nullptr);
    std::int32_t id = 0;
    qx_get_window_list(
        c,
        [](const qx_window_info* windows, std::int32_t count, void* user) {
          *static_cast<std::int32_t*>(user) = count > 0 ? windows[0].id : 0;
        },
        &id);
    const char* const title = qx_get_window_title(c, id);
    if (title) {
      EXPECT_STREQ(title, "Window");
    }
    return title == nullptr;
  }
  bool takes() {
    if (qx_queue_wait(queue, 10) == QX_ERROR_OBJECT) {
      return true;
    }
    qx_event event = {};
    event.size = sizeof(event);
    qx_queue_next_event(queue, &event);
    qx_frame* frame = nullptr;
    if (qx_queue_take_frame(queue, &frame) == QX_OK) {
      qx_screen_frame_data data = {};
      EXPECT_EQ(qx_frame_get_data(frame, &data), QX_OK);
      EXPECT_EQ(data.width, 64);
      seen += data.format == 0 ? data.data[0] : data.data_y[0];
      EXPECT_EQ(qx_frame_release(frame), QX_OK);
      ++frames;
    }
    return false;
  }
  void hear() { EXPECT_FALSE(gone) << "a listener is called after the object was destroyed"; }

  qx_screen_capture* const c = qx_create();
  qx_queue* const queue = qx_queue_create();
  const std::int32_t monitorId =
      static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(PrimaryMonitor()));
  std::atomic<int> frames = 0;
  std::atomic<int> seen = 0;
  std::atomic<int> turn = 0;
  std::atomic<bool> gone = false;
};

TEST_F(ManyThreads, MayUseOneObjectAndOneQueueUntilBothAreDestroyed) {
  together({[&] { return starts(); }, [&] { return starts(); }, [&] { return listens(); },
            [&] {
              std::this_thread::sleep_for(std::chrono::milliseconds(20));
              return stops();
            },
            [&] { return stops(); }, [&] { return sets(); }, [&] { return lists(); },
            [&] { return takes(); }, [&] { return takes(); },
            [&] {
              // Shares come and go, until some of their frames were taken. In the middle of
              // all that both go, and everybody is told.
              if (frames <= 10) {
                return false;
              }
              EXPECT_EQ(qx_destroy(c), QX_OK);
              gone = true;
              EXPECT_EQ(qx_queue_destroy(queue), QX_OK);
              return true;
            }});
}

}  // namespace
}  // namespace qx::test
