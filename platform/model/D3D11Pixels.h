// What every way of drawing has in common: where pixels lie, what a texture gives there,
// how a row of them gets into the target.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/model/D3D11Raster.h"

namespace vwin::d3d11 {

// Positions on the target are counted in 256ths of a pixel, places in a texture in 256ths
// of a texel.
inline constexpr int kFraction = 256;
inline constexpr int kHalf = kFraction / 2;

struct Point {
  std::int64_t x;
  std::int64_t y;
};

Point ToScreen(const Vector4<float>& position, const Viewport& viewport);
// The first pixel whose centre is not before `position`.
int FirstPixel(std::int64_t position);
// The pixels of the target that the viewport leaves.
RECT ClipOf(const Drawing& drawing);

// Mixes pixels with a row of the target.
void WriteRow(std::uint32_t* to, const std::uint32_t* pixels, int count, const Blending& blending);

// Two neighbours in a texture along one axis, as offsets in pixels, and the second's
// weight in 256ths.
struct Neighbours {
  std::ptrdiff_t first;
  std::ptrdiff_t second;
  std::uint32_t weight;
};

// `texel` counts from the edge, so that centres are at a half; `step` leads from texel to
// texel.
Neighbours NeighboursAt(double texel, int size, std::ptrdiff_t step);

std::uint32_t Bilinear(const std::uint32_t* texture, const Neighbours& x, const Neighbours& y);

// How much of a texture lies under a pixel: texels from this pixel to the one on its
// right, and to the one below.
struct Footprint {
  double rightU, rightV;
  double belowU, belowV;

  double Right() const;
  double Below() const;
};

// How many places along the longer side are looked at. Without mip levels there is no
// other way to take in more than two texels each way.
int ProbesFor(const Footprint& footprint, const Sampling& sampling);

}  // namespace vwin::d3d11
