#pragma once

#include <cstdint>

#include "win/engine/ScreenCaptureFrame.h"
#include "win/util/Handles.h"

namespace qx {

// A memory DC for pictures of what `like` shows. Null on failure (logged).
MemoryDc MakeMemoryDc(HDC like);

// A picture that GDI can draw on and that a frame can hold where it is.
struct MemoryPicture {
  ScreenCaptureFrame::Pixels pixels = nullptr;  // owns the bitmap
  HBITMAP bitmap = nullptr;
  std::int32_t width = 0;
  std::int32_t height = 0;

  bool HasSize(std::int32_t wantedWidth, std::int32_t wantedHeight) const {
    return pixels && width == wantedWidth && height == wantedHeight;
  }
};

// What it takes to draw one. The DC goes first: a bitmap can't be deleted while a DC
// holds it, and taking it out could fail.
struct MemoryCanvas {
  MemoryPicture picture;  // selected into the DC
  MemoryDc dc;

  // Whether nobody but `frame` shows the picture, or it is its last one and may be
  // replaced.
  bool IsFree(const ScreenCaptureFrame& frame, ScreenCaptureFrame::Last last) const {
    const bool shown = frame.Buffer() == picture.pixels;
    const int others = shown && last == ScreenCaptureFrame::Last::Replaced ? 1 : 0;
    return picture.pixels.use_count() <= (shown ? 2 : 1) + others;
  }

  // Makes a picture of this size, unless there is one; `like` is a DC of what is to be
  // drawn. On failure (logged) nothing must be drawn.
  bool Prepare(HDC like, std::int32_t width, std::int32_t height);
  void Reset();
};

}  // namespace qx
