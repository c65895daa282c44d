// The one picture of the screen: every engine's capture is read from here.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/model/Desktop.h"

namespace vwin::compositor {

struct Options {
  bool beyondMonitors = false;                  // windows are in the picture there as well
  bool layered = true;                          // layered windows are in the picture
  const std::vector<HWND>* leaveOut = nullptr;  // top-level windows that are not
};

// Writes what `area` of the virtual screen shows, without the cursor, to `pixels`:
// 0x00RRGGBB, `stride` pixels from row to row. Black outside of all monitors.
//
// A window that hosts thumbnails shows them over all else in its client area, a layered
// one also while it shows nothing of its own. A thumbnail is its source's own picture,
// covered, cloaked or minimised as it may be, without transparency and without the
// thumbnails that it hosts itself. Pixel i of n shows pixel i * m / n of m, rounded down;
// where the source has no pixel the host shows through.
void Compose(Lock& lock, const RECT& area, std::uint32_t* pixels, std::ptrdiff_t stride,
             const Options& options = {});

// The picture of one window with its children, as if nothing covered it and it had
// no transparency: its `part` (0, 0 being its top left corner) to `pixels`.
void DrawWindow(Lock& lock, const Window& window, const RECT& part, std::uint32_t* pixels,
                std::ptrdiff_t stride, bool withThumbnails = true);

// One pixel over another, 0x00RRGGBB both.
std::uint32_t Blended(std::uint32_t over, std::uint32_t under, std::uint32_t alpha);

// Lays a picture with straight alpha over pixels of a surface, clipped to `clip`.
void Overlay(Surface& surface, const RECT& clip, int x, int y, const CursorShape& picture);

}  // namespace vwin::compositor
