#include <qx-screen-capture-c.h>

#include "cases.h"
#include "testing.h"

enum { kTimeoutMillis = 30000, kFrames = 3 };

/* Takes what events there are. They come in this order, and no field is filled in that
 * the type does not name. */
static void takeEvents(qx_queue* queue, int* taken) {
  static const qx_event_type kOrder[] = {QX_EVENT_CAPTURE_ENGINE_NAME, QX_EVENT_START,
                                         QX_EVENT_FIRST_FRAME};
  qx_event event = {.size = sizeof(event)};
  for (; qx_queue_next_event(queue, &event) == QX_OK; ++*taken) {
    CHECK(event.size == sizeof(event));
    CHECK(event.rect.x == 0 && event.rect.y == 0 && event.rect.width == 0);
    CHECK(event.reason == 0 && event.id == 0);
    CHECK((event.type == QX_EVENT_CAPTURE_ENGINE_NAME) == (event.engine != 0));
    CHECK(event.type == QX_EVENT_FRAME_STATISTICS || event.fps == 0);
    if (*taken < 3) {
      CHECK(event.type == kOrder[*taken] && event.frame == 0);
    }
  }
}

static qx_frame* takeFrame(qx_queue* queue, int* events) {
  static uint64_t lastNumber;
  qx_frame* frame = NULL;
  qx_result result = QX_ERROR_EMPTY;
  while (result == QX_ERROR_EMPTY && CHECK(qx_queue_wait(queue, kTimeoutMillis) == QX_OK)) {
    takeEvents(queue, events);
    result = qx_queue_take_frame(queue, &frame);
  }
  if (!CHECK(result == QX_OK)) {
    return NULL;
  }
  qx_frame_info info = {.size = sizeof(info)};
  CHECK(qx_frame_get_info(frame, &info) == QX_OK);
  CHECK(info.size == sizeof(info) && !info.dirty_valid);
  CHECK(info.dirty_rect_count == 0 && info.dirty_ratio == 0.0);
  CHECK(info.number > lastNumber && info.lost < info.number);
  lastNumber = info.number;
  return frame;
}

static void isPicture(const qx_frame* frame, const qx_desktop_info* monitor) {
  qx_screen_frame_data data;
  CHECK(qx_frame_get_data(frame, &data) == QX_OK);
  CHECK(data.format == QX_SCREEN_FRAME_FORMAT_ARGB && data.timestamp > 0);
  CHECK(data.raw_width == monitor->width && data.raw_height == monitor->height);
  CHECK(data.width == monitor->width && data.height == monitor->height);
  CHECK(data.stride == data.width * 4);
  /* The whole of it can be read. */
  const volatile uint8_t* last = data.data + (int64_t)data.stride * data.height - 1;
  CHECK(data.data != NULL && *last <= 0xFF);
}

void SharesToAQueue(void) {
  qx_screen_capture* capture = qx_create();
  qx_queue* queue = qx_queue_create();
  CHECK(capture != NULL && queue != NULL);
  const qx_desktop_info monitor = PrimaryMonitor(capture);
  qx_share_error error = QX_SHARE_ERROR_NONE;
  CHECK(qx_share_desktop_to_queue(capture, monitor.id, NULL, &error) != QX_OK);
  CHECK(qx_queue_wait(queue, 0) == QX_ERROR_TIMEOUT);
  CHECK(qx_share_desktop_to_queue(capture, monitor.id, queue, &error) == QX_OK);

  int events = 0;
  qx_frame* frame = NULL;
  for (int i = 0; i < kFrames; ++i) {
    if (frame != NULL) {
      CHECK(qx_frame_release(frame) == QX_OK);
      CHECK(qx_frame_release(frame) == QX_ERROR_OBJECT);
    }
    frame = takeFrame(queue, &events);
    isPicture(frame, &monitor);
  }
  CHECK(events >= 3);

  CHECK(qx_share_stop(capture) == QX_OK);
  qx_frame* rest = NULL;
  if (qx_queue_take_frame(queue, &rest) == QX_OK) {
    CHECK(qx_frame_release(rest) == QX_OK);
  }
  takeEvents(queue, &events);
  CHECK(qx_queue_wait(queue, 0) == QX_ERROR_TIMEOUT);
  CHECK(qx_queue_take_frame(queue, &rest) == QX_ERROR_EMPTY);
  CHECK(qx_queue_destroy(queue) == QX_OK);
  CHECK(qx_queue_wait(queue, 0) == QX_ERROR_OBJECT);
  CHECK(qx_destroy(capture) == QX_OK);
  /* A frame outlives both. */
  isPicture(frame, &monitor);
  CHECK(qx_frame_release(frame) == QX_OK);
}
