#pragma once

#include <d3d9.h>
#include <windows.h>

#include <cstdint>
#include <vector>

#include "win/util/Handles.h"

namespace qx {

// Draws the cursor on pictures of the magnifier, which come without it. Whatever fails
// costs the picture its cursor and nothing else. One thread at a time.
class MagCursor {
 public:
  // `newMouseCaptureWay`: where there are several monitors the cursor's pixels are blended
  // in here, instead of by GDI.
  explicit MagCursor(bool newMouseCaptureWay);
  MagCursor(const MagCursor&) = delete;
  MagCursor& operator=(const MagCursor&) = delete;

  // A picture in system memory, of so many pixels, that shows `source` of the virtual
  // screen.
  struct Canvas {
    IDirect3DSurface9* surface;
    std::int32_t width;
    std::int32_t height;
    RECT source;
  };

  // Draws the cursor if it is in the picture.
  void Draw(const Canvas& canvas);

 private:
  // What GetIconInfo tells; the bitmaps are ours.
  struct Shape {
    HCURSOR cursor = nullptr;
    POINT hotspot = {};
    GdiBitmap mask;
    GdiBitmap color;
    std::int32_t width = 0;
    std::int32_t height = 0;
  };
  // In pixels of the canvas.
  struct Place {
    std::int32_t x;
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
  };

  bool readShape(HCURSOR cursor, Shape& shape);
  void drawWithGdi(const Canvas& canvas, const Shape& shape, const Place& place) const;
  void drawBlended(const Canvas& canvas, const Shape& shape, const Place& place);
  bool CreateCursorBitmap(HDC dc, const Shape& shape);

  const bool m_newMouseCaptureWay;
  HCURSOR m_lastCursor;  // the last one that GetIconInfo worked for; borrowed
  std::vector<HMONITOR> m_monitors;
  // What CreateCursorBitmap made.
  std::vector<std::uint32_t> m_pixels;
  std::vector<std::uint32_t> m_mask;
  std::int32_t m_width = 0;
  std::int32_t m_height = 0;
};

}  // namespace qx
