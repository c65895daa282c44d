#pragma once

#include <windows.h>

#include <cstdint>

namespace qx {

// Tells GDI of pictures as this library has them: 32-bit pixels, 0xAARRGGBB, rows top
// to bottom without gaps.
inline BITMAPINFO PictureInfo(std::int32_t width, std::int32_t height) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // the first row is the top one
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  return info;
}

}  // namespace qx
