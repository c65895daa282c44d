/* A host in C: lists the monitors and shares the primary one for a few frames. */
#include <qx-screen-capture-c.h>
#include <stdio.h>

enum { kFrames = 3, kTimeoutMillis = 30000 };

static void QX_CALL remember_primary(const qx_desktop_info* desktops, int32_t count, void* user) {
  for (int32_t i = 0; i < count; ++i) {
    printf("monitor %d: %dx%d\n", (int)desktops[i].id, (int)desktops[i].width,
           (int)desktops[i].height);
    if (desktops[i].is_primary == 1) {
      *(qx_desktop_info*)user = desktops[i];
    }
  }
}

static int take_frames(qx_queue* queue, const qx_desktop_info* monitor) {
  int frames = 0;
  while (frames < kFrames) {
    if (qx_queue_wait(queue, kTimeoutMillis) != QX_OK) {
      fprintf(stderr, "c-host: no frame came\n");
      return 0;
    }
    qx_event event = {.size = sizeof(event)};
    while (qx_queue_next_event(queue, &event) == QX_OK) {
      printf("event %d\n", (int)event.type);
    }
    qx_frame* frame = NULL;
    if (qx_queue_take_frame(queue, &frame) != QX_OK) {
      continue;
    }
    qx_screen_frame_data data;
    const int good = qx_frame_get_data(frame, &data) == QX_OK && data.data != NULL &&
                     data.raw_width == monitor->width && data.raw_height == monitor->height;
    qx_frame_release(frame);
    if (!good) {
      fprintf(stderr, "c-host: that is no picture of the monitor\n");
      return 0;
    }
    ++frames;
  }
  return 1;
}

int main(void) {
  qx_screen_capture* capture = qx_create();
  qx_queue* queue = qx_queue_create();
  qx_desktop_info monitor = {0};
  qx_share_error error = QX_SHARE_ERROR_NONE;
  int good = 0;
  if (qx_get_desktop_list(capture, remember_primary, &monitor) != QX_OK || monitor.width == 0) {
    fprintf(stderr, "c-host: no primary monitor\n");
  } else if (qx_share_desktop_to_queue(capture, monitor.id, queue, &error) != QX_OK) {
    fprintf(stderr, "c-host: the share did not start: %d\n", (int)error);
  } else {
    good = take_frames(queue, &monitor);
  }
  qx_destroy(capture);
  qx_queue_destroy(queue);
  if (good) {
    printf("c-host: %d frames by version %s\n", kFrames, qx_version());
  }
  return good ? 0 : 1;
}
