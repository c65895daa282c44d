#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "win/source/PngImage.h"

// How the picture of a monitor or a window becomes a small one. Sizes are in pixels; a
// box is the size that a host wants a thumbnail in. GDI+ must have been started.
namespace qx {

// Whether there can be a thumbnail of this size: both sides are positive and no longer
// than graphics cards take them.
bool IsThumbnailSize(std::int32_t width, std::int32_t height);

// Where in the box a picture lies that keeps its proportions and fills the box one way.
// Both sizes are positive.
RECT FitPicture(SIZE picture, SIZE box);

// The same of a window's own size, as that is captured. An empty size keeps the box.
SIZE FitWindow(SIZE window, SIZE box);

// Where in the box a picture lies that keeps its size.
RECT Centre(SIZE picture, SIZE box);

// Borrowed pixels of 32 bits: bytes B, G, R, A, rows from top to bottom without gaps.
struct ThumbnailSource {
  std::uint8_t* pixels = nullptr;
  SIZE size = {};
  INT format = PixelFormat32bppRGB;  // or ARGB, when the alpha counts
};

class ThumbnailWriter {
 public:
  // Nothing when the system has no PNG encoder.
  static std::optional<ThumbnailWriter> Find();

  // Draws `source` at `place` of an otherwise clear box and gives the PNG file of that.
  // False, with `png` as before, when a step failed: a blank picture is none.
  bool Write(const ThumbnailSource& source, SIZE box, const RECT& place, INT boxFormat,
             std::vector<std::uint8_t>& png) const;

 private:
  explicit ThumbnailWriter(const CLSID& encoder) : m_encoder(encoder) {}

  CLSID m_encoder;
};

}  // namespace qx
