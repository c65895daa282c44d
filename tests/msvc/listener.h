/* A listener that counts what it is told and checks each record. */
#pragma once

#include <qx-screen-capture-c.h>

#include "testing.h"

enum { kOperations = 12 };

typedef struct {
  qx_screen_capture* capture;

  /* What frames must have, or 0. */
  int32_t rawWidth;
  int32_t rawHeight;

  /* How often each operation was told. */
  union {
    struct {
      atomic_int starts, pauses, resumes, stops, firstFrames, frames, dirtyInfos;
      atomic_int windowChanges, desktopChanges, engines, statistics, rectChanges;
    };
    atomic_int told[kOperations];
  };
  atomic_int reason; /* of the last pause */
  atomic_int window; /* of the last on_share_window_changed */
  atomic_int i420Frames;
  atomic_int width, pixels; /* of the last frame */
  atomic_int coloredFrames; /* whose pixel at 10, 10 from `x`, `y` has the windows' colour */
  atomic_int x, y;
  atomic_int left, top; /* of the last on_share_rect_changed */
} Listener;

extern const qx_share_listener kListener;

/* All operations together. */
int ToldInAll(const Listener* listener);
