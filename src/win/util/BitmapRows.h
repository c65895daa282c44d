#pragma once

#include <windows.h>

#include <cstdint>

namespace qx {

// Reads a bitmap as 32-bit pixels, 0xAARRGGBB, rows top to bottom without gaps, into
// `pixels`, which has the room. Answers how many rows the system gave.
inline int ReadBitmapRows(HDC dc, HBITMAP bitmap, std::int32_t width, std::int32_t height,
                          void* pixels) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // the first row is the top one
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  return GetDIBits(dc, bitmap, 0, static_cast<UINT>(height), pixels, &info, DIB_RGB_COLORS);
}

}  // namespace qx
