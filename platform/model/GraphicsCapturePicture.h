// The pictures of Windows.Graphics.Capture, drawn by the one compositor.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/model/D3D11Raster.h"
#include "platform/model/GraphicsCaptureItem.h"
#include "platform/model/Surface.h"

namespace vwin::capture {

// How large the picture is, whatever there is to see of it; nothing for what is no more.
//
// That of a window begins at the top left of its visible frame. On Windows 11 it is as
// large as the window with its invisible borders, unless that is maximised.
std::optional<SIZE> ContentSize(Lock& lock, const Source& source);

struct Picture {
  SIZE content{};
  Surface visible;  // of the content, clipped; what lies beyond is transparent

  bool IsSameAs(const Picture& other) const;
  // At the top left; what lies beyond the content stays as it was.
  void CopyTo(const d3d11::Image& image) const;
};

// Draws what the source shows now, clipped to `limit`. False when it shows nothing: a
// window that is minimised or hidden, or while another desktop has the screen.
bool Draw(Lock& lock, const Source& source, bool cursor, SIZE limit, Picture& picture);

}  // namespace vwin::capture
