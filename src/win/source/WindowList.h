#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qx {

// A window that can be shared. Owns its strings, unlike the public WindowInfo.
struct ShareWindowRecord {
  std::int32_t id = 0;
  std::uint32_t processId = 0;  // 0 when unknown
  std::int32_t handle = 0;      // the same value as `id`; leads back to the window
  std::wstring processName;     // without directory and extension; empty when unknown
  std::wstring title;           // the window's own, at most 1999 characters
  std::int32_t x = 0;           // the rectangle that a share captures
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// The windows that a user is offered, topmost first: those with a title or an owner
// with one, large enough to be seen and, if topmost, not covered by others. True from
// `filter`, which must be set, leaves a window out. Takes several calls into other
// processes for each window.
std::vector<ShareWindowRecord> ListShareWindows(const std::function<bool(HWND)>& filter);

}  // namespace qx
