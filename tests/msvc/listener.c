#include "listener.h"

enum { kSecond = 1000000 };

static void count(atomic_int* counter) {
  atomic_fetch_add(counter, 1);
  Wake();
}

static int64_t microsecondsSince1970(void) {
  uint64_t since1601 = 0;
  GetSystemTimeAsFileTime(&since1601);
  return (int64_t)(since1601 / 10) - 11644473600LL * kSecond;
}

static void QX_CALL onStart(void* context) {
  Listener* listener = context;
  CHECK(atomic_load(&listener->engines) == 1);
  count(&listener->starts);
}

static void QX_CALL onPause(void* context, qx_share_pause_reason reason) {
  Listener* listener = context;
  atomic_store(&listener->reason, reason);
  count(&listener->pauses);
}

static void QX_CALL onResume(void* context) { count(&((Listener*)context)->resumes); }

static void QX_CALL onStop(void* context) { count(&((Listener*)context)->stops); }

static void QX_CALL onFirstFrame(void* context) {
  Listener* listener = context;
  CHECK(atomic_load(&listener->starts) == 1);
  CHECK(atomic_load(&listener->frames) == 0);
  /* Its own share waits for this very thread. */
  CHECK(qx_share_stop(listener->capture) == QX_ERROR_WRONG_THREAD);
  CHECK(qx_destroy(listener->capture) == QX_ERROR_WRONG_THREAD);
  count(&listener->firstFrames);
}

static bool colored(const Listener* listener, const qx_screen_frame_data* frame) {
  const int32_t x = atomic_load(&listener->x) + 10;
  const int32_t y = atomic_load(&listener->y) + 10;
  if (x >= frame->width || y >= frame->height) {
    return false;
  }
  if (frame->format == QX_SCREEN_FRAME_FORMAT_ARGB) {
    const uint8_t* pixel = frame->data + (int64_t)y * frame->stride + x * 4;
    return pixel[2] == kWindowColor >> 16 && pixel[1] == (kWindowColor >> 8 & 0xFF) &&
           pixel[0] == (kWindowColor & 0xFF);
  }
  /* That colour in limited-range BT.601 is 113, 131, 217, give or take rounding. */
  const uint8_t luma = frame->data_y[(int64_t)y * frame->stride_y + x];
  const uint8_t u = frame->data_u[(int64_t)(y / 2) * frame->stride_u + x / 2];
  const uint8_t v = frame->data_v[(int64_t)(y / 2) * frame->stride_v + x / 2];
  return luma >= 111 && luma <= 115 && u >= 129 && u <= 133 && v >= 215 && v <= 219;
}

static void QX_CALL onFrame(void* context, const qx_screen_frame_data* frame) {
  Listener* listener = context;
  CHECK(atomic_load(&listener->firstFrames) == 1);
  /* The frames that are repeated during a pause have none. */
  CHECK(atomic_load(&listener->dirtyInfos) > 0);
  const int64_t age = microsecondsSince1970() - frame->timestamp;
  CHECK(age > -kSecond && age < 60LL * kSecond);
  CHECK(frame->reserved == 0);
  CHECK(frame->width > 0 && frame->width <= frame->raw_width);
  CHECK(frame->height > 0 && frame->height <= frame->raw_height);
  if (listener->rawWidth != 0) {
    CHECK(frame->raw_width == listener->rawWidth && frame->raw_height == listener->rawHeight);
  }
  if (frame->format == QX_SCREEN_FRAME_FORMAT_ARGB) {
    CHECK(frame->stride == frame->width * 4 && frame->data != NULL);
  } else {
    CHECK(frame->format == QX_SCREEN_FRAME_FORMAT_I420);
    CHECK(frame->width % 2 == 0 && frame->height % 2 == 0);
    CHECK(frame->stride_y >= frame->width && frame->stride_u >= frame->width / 2);
    CHECK(frame->stride_v >= frame->width / 2);
    CHECK(frame->data_y != NULL && frame->data_u > frame->data_y && frame->data_v > frame->data_u);
    atomic_fetch_add(&listener->i420Frames, 1);
  }
  if (colored(listener, frame)) {
    atomic_fetch_add(&listener->coloredFrames, 1);
  }
  atomic_store(&listener->width, frame->width);
  atomic_store(&listener->pixels, frame->width * frame->height);
  count(&listener->frames);
}

static void QX_CALL onFrameDirtyInfo(void* context, bool valid, uint64_t rects, double ratio) {
  CHECK(valid == true || valid == false);
  CHECK(ratio >= 0.0 && ratio < 100.0);
  CHECK(valid || (rects == 0 && ratio == 0.0));
  count(&((Listener*)context)->dirtyInfos);
}

static void QX_CALL onShareWindowChanged(void* context, int32_t window, int32_t reserved) {
  Listener* listener = context;
  CHECK(reserved == 0);
  atomic_store(&listener->window, window);
  count(&listener->windowChanges);
}

static void QX_CALL onShareDesktopChanged(void* context, int32_t monitor) {
  CHECK(monitor != 0);
  count(&((Listener*)context)->desktopChanges);
}

static void QX_CALL onCaptureEngineName(void* context, qx_capture_engine_type engine) {
  CHECK(engine >= QX_CAPTURE_ENGINE_MAG && engine <= QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW);
  count(&((Listener*)context)->engines);
}

static void QX_CALL onFrameStatistics(void* context, const qx_screen_frame_statistics* statistics) {
  CHECK(statistics->has_fps == true);
  CHECK(statistics->fps >= 0 && statistics->fps <= 30);
  CHECK(statistics->reserved_flag == false);
  CHECK(statistics->reserved_a == -1 && statistics->reserved_b == -1);
  count(&((Listener*)context)->statistics);
}

static void QX_CALL onShareRectChanged(void* context, int32_t x, int32_t y, int32_t width,
                                       int32_t height) {
  Listener* listener = context;
  CHECK(width > 0 && height > 0);
  atomic_store(&listener->left, x);
  atomic_store(&listener->top, y);
  count(&listener->rectChanges);
}

const qx_share_listener kListener = {
    .size = sizeof(qx_share_listener),
    .on_start = onStart,
    .on_pause = onPause,
    .on_resume = onResume,
    .on_stop = onStop,
    .on_first_frame = onFirstFrame,
    .on_frame = onFrame,
    .on_frame_dirty_info = onFrameDirtyInfo,
    .on_share_window_changed = onShareWindowChanged,
    .on_share_desktop_changed = onShareDesktopChanged,
    .on_capture_engine_name = onCaptureEngineName,
    .on_frame_statistics = onFrameStatistics,
    .on_share_rect_changed = onShareRectChanged,
};

int ToldInAll(const Listener* listener) {
  int sum = 0;
  for (int i = 0; i < kOperations; ++i) {
    sum += atomic_load(&listener->told[i]);
  }
  return sum;
}
