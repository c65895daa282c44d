// Arithmetic on rectangles, and the pixel form of colours.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vwin {

inline std::int32_t Saturated(std::int64_t value) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(
      value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

inline bool IsEmpty(const RECT& rect) { return rect.left >= rect.right || rect.top >= rect.bottom; }
inline int WidthOf(const RECT& rect) { return Saturated(std::int64_t{rect.right} - rect.left); }
inline int HeightOf(const RECT& rect) { return Saturated(std::int64_t{rect.bottom} - rect.top); }

inline RECT SizedRect(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height) {
  return {Saturated(x), Saturated(y), Saturated(x + width), Saturated(y + height)};
}
inline RECT Moved(const RECT& rect, std::int64_t dx, std::int64_t dy) {
  return {Saturated(rect.left + dx), Saturated(rect.top + dy), Saturated(rect.right + dx),
          Saturated(rect.bottom + dy)};
}
// All zero when there is no overlap.
inline RECT Overlap(const RECT& a, const RECT& b) {
  const RECT both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                     std::min(a.bottom, b.bottom)};
  return IsEmpty(both) ? RECT{0, 0, 0, 0} : both;
}
// The smallest rectangle around both; an empty one adds nothing.
inline RECT Around(const RECT& a, const RECT& b) {
  if (IsEmpty(a)) return b;
  if (IsEmpty(b)) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}
inline bool AreSame(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
inline bool Covers(const RECT& outer, const RECT& inner) {
  return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
         outer.bottom >= inner.bottom;
}
inline bool Holds(const RECT& rect, POINT point) {
  return point.x >= rect.left && point.x < rect.right && point.y >= rect.top &&
         point.y < rect.bottom;
}

// A pixel is 0x00RRGGBB, a COLORREF 0x00BBGGRR.
inline std::uint32_t ToPixel(COLORREF color) {
  const std::uint32_t value = color;
  return (value & 0xFF) << 16 | (value & 0xFF00) | (value >> 16 & 0xFF);
}
inline COLORREF ToColor(std::uint32_t pixel) { return ToPixel(pixel); }

}  // namespace vwin
