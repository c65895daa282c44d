// The frame of a test of the C interface: beside the C++ object of a share's test, one of C
// with the same settings, and a listener of C functions that writes down what it is told in
// the same words.
#pragma once

#include <qx-screen-capture-c.h>

#include <string>
#include <vector>

#include "tests/share/WindowShareTest.h"

namespace qx::test {

// Functions for a context that is a ShareRecorder with itself for a context. Each record is
// translated field by field.
inline qx_share_listener Recording() {
  static const auto the = [](void* context) -> ShareRecorder& {
    return *static_cast<ShareRecorder*>(context);
  };
  qx_share_listener functions = {};
  functions.size = sizeof(functions);
  functions.on_start = [](void* context) { the(context).OnStart(context); };
  functions.on_pause = [](void* context, qx_share_pause_reason reason) {
    the(context).OnPause(context, static_cast<IScreenCapture::SharePauseReason>(reason));
  };
  functions.on_resume = [](void* context) { the(context).OnResume(context); };
  functions.on_stop = [](void* context) { the(context).OnStop(context); };
  functions.on_first_frame = [](void* context) { the(context).OnFirstFrame(context); };
  functions.on_frame = [](void* context, const qx_screen_frame_data* frame) {
    const IScreenCapture::ScreenFrameData translated = {
        .format = static_cast<IScreenCapture::ScreenFrameFormat>(frame->format),
        .timestamp = frame->timestamp,
        .width = frame->width,
        .height = frame->height,
        .raw_width = frame->raw_width,
        .raw_height = frame->raw_height,
        .stride = frame->stride,
        .data = frame->data,
        .strideY = frame->stride_y,
        .strideU = frame->stride_u,
        .strideV = frame->stride_v,
        .dataY = frame->data_y,
        .dataU = frame->data_u,
        .dataV = frame->data_v};
    the(context).OnFrame(context, &translated);
  };
  functions.on_frame_dirty_info = [](void* context, bool valid, std::uint64_t count, double ratio) {
    the(context).OnFrameDirtyInfo(context, valid, count, ratio);
  };
  functions.on_share_window_changed = [](void* context, std::int32_t window, std::int32_t zero) {
    the(context).OnShareWindowChanged(context, window, zero);
  };
  functions.on_share_desktop_changed = [](void* context, std::int32_t monitor) {
    the(context).OnShareDesktopChanged(context, monitor);
  };
  functions.on_capture_engine_name = [](void* context, qx_capture_engine_type engine) {
    auto type = static_cast<IScreenCapture::CaptureEngineType>(engine);
    int zero = 0;
    the(context).OnCaptureEngineName(context, type, zero, true, 0);
  };
  functions.on_frame_statistics = [](void* context, const qx_screen_frame_statistics* record) {
    IScreenCapture::ScreenFrameStatistics statistics;
    statistics.hasFps = record->has_fps;
    statistics.fps = record->fps;
    the(context).OnFrameStatistics(context, &statistics);
  };
  functions.on_share_rect_changed = [](void* context, std::int32_t x, std::int32_t y,
                                       std::int32_t width, std::int32_t height) {
    the(context).OnShareRectChanged(context, x, y, width, height);
  };
  return functions;
}

class CShareTest : public WindowShareTest {
 protected:
  CShareTest() {
    configure();
    qx_enable_prompt_window(c, false);
    qx_enable_capture_cursor(c, false);
    const qx_capture_engine_type gdi[] = {QX_CAPTURE_ENGINE_GDI_BIT_BLT,
                                          QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW};
    EXPECT_EQ(qx_set_capture_engine_config(c, gdi, 2, false), QX_OK);
  }
  ~CShareTest() override {
    qx_destroy(c);
    qx_queue_destroy(queue);
  }

  // Of both objects.
  void configure(bool dirty = false, bool dynamicCheck = false) {
    qx_screen_capture_config config;
    EXPECT_EQ(qx_screen_capture_config_init(&config), QX_OK);
    config.sc_dynamic_check = dynamicCheck;
    config.get_dirty_rect_info = dirty;
    EXPECT_EQ(qx_set_screen_capture_config(c, &config), QX_OK);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = dirty, .scDynamicCheck = dynamicCheck});
  }

  void startC(const void* target, const qx_share_listener& functions = Recording()) {
    ASSERT_EQ(qx_share_desktop(c, &cHost, idOf(target), &functions, &why), QX_OK) << why;
    ASSERT_EQ(why, QX_SHARE_ERROR_NONE);
    vwin::control::Settle();
  }

  void startQueue(const void* target) {
    ASSERT_EQ(qx_share_desktop_to_queue(c, idOf(target), queue, nullptr), QX_OK) << log.Dump();
    vwin::control::Settle();
  }

  qx_screen_capture* c = qx_create();
  qx_queue* queue = qx_queue_create();
  ShareRecorder cHost{&cHost};
  qx_share_error why = -1;
};

}  // namespace qx::test
