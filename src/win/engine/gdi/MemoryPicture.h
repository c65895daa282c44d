#pragma once

#include <cstdint>

#include "win/engine/ScreenCaptureFrame.h"
#include "win/util/Handles.h"

namespace qx {

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

// What it takes to draw one. Goes in the reverse order: a bitmap can't be deleted while
// a DC holds it.
struct MemoryCanvas {
  MemoryDc dc;
  MemoryPicture picture;
  SelectedObject selection;  // of the picture, while it may be drawn on

  // Makes the picture drawable, a new one if it hasn't this size; `like` is a DC of what
  // is to be drawn. On failure (logged) nothing must be drawn.
  bool Prepare(HDC like, std::int32_t width, std::int32_t height);
};

}  // namespace qx
