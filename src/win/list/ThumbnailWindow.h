#pragma once

// After windows.h.
#include <dwmapi.h>
#include <windows.h>

#include <memory>

#include "win/util/Handles.h"
#include "win/util/Thread.h"

namespace qx {

struct DwmThumbnailPolicy {
  using Value = HTHUMBNAIL;
  void Close(HTHUMBNAIL thumbnail) const { DwmUnregisterThumbnail(thumbnail); }
};
using DwmThumbnail = Handle<DwmThumbnailPolicy>;

// A small window of our own in which the compositor shows another one, also when that is
// covered or minimised; nothing is asked of that window or done to it. It is meant to
// lie off the monitors. A capture engine reads it.
//
// It has a thread of its own and is never activated: the user goes on typing where he
// was. One thread at a time calls; what the window's thread uses it owns.
class ThumbnailWindow {
 public:
  ThumbnailWindow() = default;
  ThumbnailWindow(const ThumbnailWindow&) = delete;
  ThumbnailWindow& operator=(const ThumbnailWindow&) = delete;
  ~ThumbnailWindow() { Stop(); }

  // Returns when the window is there (true) or can't be (false), after a second at most.
  // `rect` is in pixels of the virtual screen.
  bool Start(const RECT& rect);

  // Returns when window and thread are gone; after a second they go by themselves. Does
  // nothing when not started.
  void Stop();

  // Shows `target` in the whole window, whatever its proportions, instead of what was
  // shown before. `hostRect` is the rectangle of Start then, `normalSize` the size of
  // what is shown of the target, without the edges that only the system draws. False
  // shows nothing: the target is gone, or nothing is composed.
  bool SetTarget(HWND target, RECT& hostRect, SIZE& normalSize);

  // Null while there is no window.
  HWND GetWindowHandle() const;

 private:
  struct Life;

  bool show(HWND target, SIZE& normalSize);

  RECT m_rect = {};
  std::shared_ptr<Life> m_life;
  Thread m_thread;
  DwmThumbnail m_thumbnail;
};

}  // namespace qx
