#include "tests/c/c_host.h"

#include <qx-screen-capture-c.h>
#include <string.h>

/* What the listener was told, one letter for each operation; written on one thread at a
 * time, and read when the share has ended. */
struct heard {
  char words[8];
  int frames;
  int32_t width;
};

static void note(struct heard* heard, char word) {
  const size_t length = strlen(heard->words);
  if (length + 1 < sizeof heard->words) {
    heard->words[length] = word;
  }
}

static void QX_CALL on_start(void* context) { note(context, 's'); }
static void QX_CALL on_first_frame(void* context) { note(context, 'f'); }
static void QX_CALL on_frame(void* context, const qx_screen_frame_data* frame) {
  struct heard* heard = context;
  heard->frames += 1;
  heard->width = frame->width;
}

static void QX_CALL find_primary(const qx_desktop_info* desktops, int32_t count, void* user) {
  for (int32_t i = 0; i < count; ++i) {
    if (desktops[i].is_primary == 1) {
      *(qx_desktop_info*)user = desktops[i];
    }
  }
}

/* Takes frames until there were five. */
static const char* take_frames(qx_queue* queue, const qx_desktop_info* monitor) {
  int frames = 0;
  int events = 0;
  while (frames < 5) {
    qx_event event = {0};
    qx_frame* frame = NULL;
    event.size = sizeof event;
    if (qx_queue_wait(queue, 10000) != QX_OK) {
      return "no frame came";
    }
    while (qx_queue_next_event(queue, &event) == QX_OK) {
      ++events;
    }
    if (qx_queue_take_frame(queue, &frame) == QX_OK) {
      qx_screen_frame_data data;
      if (qx_frame_get_data(frame, &data) != QX_OK || data.width != monitor->width ||
          data.height != monitor->height || data.stride < 4 * data.width) {
        return "a frame of another size";
      }
      if (qx_frame_release(frame) != QX_OK || qx_frame_release(frame) != QX_ERROR_OBJECT) {
        return "a frame is released once";
      }
      ++frames;
    }
  }
  return events >= 3 ? NULL : "engine, start and first frame are not told";
}

const char* run_c_host(void) {
  const char* wrong = NULL;
  qx_desktop_info monitor = {0};
  struct heard heard = {{0}, 0, 0};
  qx_share_listener listener = {0};
  qx_screen_capture* first = qx_create();
  qx_screen_capture* second = qx_create();
  qx_queue* queue = qx_queue_create();

  listener.size = sizeof listener;
  listener.on_start = on_start;
  listener.on_first_frame = on_first_frame;
  listener.on_frame = on_frame;
  qx_get_desktop_list(first, find_primary, &monitor);
  qx_enable_prompt_window(first, false);
  qx_enable_prompt_window(second, false);
  if (strcmp(qx_version(), "1.0.0") != 0 || qx_abi_version() != QX_ABI_VERSION) {
    wrong = "another version";
  } else if (monitor.width == 0) {
    wrong = "no monitor";
  } else if (qx_share_desktop(second, &heard, monitor.id, &listener, NULL) != QX_OK ||
             qx_share_desktop_to_queue(first, monitor.id, queue, NULL) != QX_OK) {
    wrong = "a share did not start";
  } else {
    wrong = take_frames(queue, &monitor);
  }
  if (qx_destroy(first) != QX_OK || qx_destroy(second) != QX_OK ||
      qx_queue_destroy(queue) != QX_OK) {
    return "an object was gone";
  }
  if (wrong == NULL && (strcmp(heard.words, "sf") != 0 || heard.width != monitor.width)) {
    wrong = "the listener was told something else";
  }
  return wrong;
}
