#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <limits>

// Between the system's rectangles and those that hosts get.
namespace qx {

inline std::int32_t Distance(LONG from, LONG to) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(std::int64_t{to} - from, 0, kMax));
}

// A rectangle turned inside out has no size.
inline IScreenCapture::CaptureRect ToCaptureRect(const RECT& rect) {
  return {static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(rect.top),
          Distance(rect.left, rect.right), Distance(rect.top, rect.bottom)};
}

inline bool SameRect(const IScreenCapture::CaptureRect& a, const IScreenCapture::CaptureRect& b) {
  return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

}  // namespace qx
