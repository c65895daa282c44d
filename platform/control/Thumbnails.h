// The test side of what thumbnails are made with: the Desktop Window Manager's
// thumbnails, and the encoders of GDI+.
//
//   SetThumbnailSourceSize(minimised, SIZE{160, 28});
//   SetComposition(false);                                   // control/Machine.h
//   FailNth("DwmQueryThumbnailSourceSize", 1, {0, E_FAIL});  // control/Faults.h
#pragma once

#include <windows.h>

#include <optional>
#include <vector>

namespace vwin::control {

// What thumbnails of a window call its size; nothing: as model/Thumbnails.h has it.
// Beyond the window's own picture they show nothing.
void SetThumbnailSourceSize(HWND source, std::optional<SIZE> size);

struct ThumbnailState {
  HANDLE handle;
  HWND destination;
  HWND source;               // may have gone
  RECT to;                   // in the destination's client area
  std::optional<RECT> from;  // none: all of the source
  bool visible;
};
// Those that are registered, by their destinations from the topmost down.
std::vector<ThumbnailState> Thumbnails();

// GDI+ has one encoder less, for good.
void RemovePngEncoder();

}  // namespace vwin::control
