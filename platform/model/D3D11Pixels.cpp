#include "platform/model/D3D11Pixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/model/Rects.h"

// The loops over pixels are worth vector instructions in every build.
#pragma GCC optimize("O3")

namespace vwin::d3d11 {
namespace {

std::uint32_t valueOf(Factor factor, std::uint32_t alpha) {
  switch (factor) {
    case Factor::kZero:
      return 0;
    case Factor::kOne:
      return 255;
    case Factor::kSourceAlpha:
      return alpha;
    case Factor::kInverseSourceAlpha:
      return 255 - alpha;
  }
  return 0;
}

std::uint32_t mixed(std::uint32_t over, std::uint32_t below, const Blending& blending) {
  const std::uint32_t alpha = over >> 24;
  std::uint32_t pixel = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const bool isAlpha = shift == 24;
    const std::uint32_t a = valueOf(isAlpha ? blending.sourceAlpha : blending.source, alpha);
    const std::uint32_t b = valueOf(isAlpha ? blending.belowAlpha : blending.below, alpha);
    const std::uint32_t sum = (over >> shift & 0xFF) * a + (below >> shift & 0xFF) * b;
    pixel |= std::min((sum + 127) / 255, 255u) << shift;
  }
  return pixel;
}

bool isOpaque(const std::uint32_t* pixels, int count) {
  std::uint32_t all = 0xFF000000;
  for (int i = 0; i < count; ++i) all &= pixels[i];
  return all == 0xFF000000;
}

// Opaque pixels that only cover what is below need no arithmetic.
bool replaces(const Blending& blending, const std::uint32_t* pixels, int count) {
  if (!blending.enabled) return true;
  const auto full = [](Factor factor) {
    return factor == Factor::kOne || factor == Factor::kSourceAlpha;
  };
  const auto none = [](Factor factor) {
    return factor == Factor::kZero || factor == Factor::kInverseSourceAlpha;
  };
  return full(blending.source) && none(blending.below) && full(blending.sourceAlpha) &&
         none(blending.belowAlpha) && isOpaque(pixels, count);
}

// Each half of a 64-bit number holds a channel.
std::uint64_t spread(std::uint32_t pixel) {
  return (pixel & 0xFF) | (std::uint64_t{pixel} & 0x00FF0000) << 16;
}

}  // namespace

Point ToScreen(const Vector4<float>& position, const Viewport& viewport) {
  const double x = viewport.left + (position[0] * 0.5 + 0.5) * viewport.width;
  const double y = viewport.top + (0.5 - position[1] * 0.5) * viewport.height;
  constexpr double kFarAway = 32768;
  const auto fixed = [&](double place) {
    return std::llround(std::clamp(place, -kFarAway, kFarAway) * kFraction);
  };
  return {fixed(x), fixed(y)};
}

int FirstPixel(std::int64_t position) {
  constexpr std::int64_t kFarAway = 1 << 20;
  return static_cast<int>(
      std::clamp((position + kHalf - 1) >> 8, -kFarAway, kFarAway));  // 8 bits of fraction
}

RECT ClipOf(const Drawing& drawing) {
  const Viewport& viewport = drawing.viewport;
  const auto pixel = [](double position) { return FirstPixel(std::llround(position * kFraction)); };
  const RECT shown = {pixel(viewport.left), pixel(viewport.top),
                      pixel(double{viewport.left} + viewport.width),
                      pixel(double{viewport.top} + viewport.height)};
  return Overlap(shown, {0, 0, drawing.target.width, drawing.target.height});
}

void WriteRow(std::uint32_t* to, const std::uint32_t* pixels, int count, const Blending& blending) {
  const bool replace = replaces(blending, pixels, count);
  const std::uint32_t mask = blending.writeMask;
  if (replace && mask == 0xFFFFFFFF) {
    std::memcpy(to, pixels, static_cast<std::size_t>(count) * sizeof(*to));
    return;
  }
  for (int i = 0; i < count; ++i) {
    const std::uint32_t pixel = replace ? pixels[i] : mixed(pixels[i], to[i], blending);
    to[i] = (pixel & mask) | (to[i] & ~mask);
  }
}

Neighbours NeighboursAt(double texel, int size, std::ptrdiff_t step) {
  constexpr double kFar = 1 << 20;
  const std::int64_t place = std::llround(std::clamp(texel, -kFar, kFar) * kFraction) - kHalf;
  const auto last = std::int64_t{size} - 1;
  const std::int64_t first = place >> 8;
  return {std::clamp<std::int64_t>(first, 0, last) * step,
          std::clamp<std::int64_t>(first + 1, 0, last) * step,
          static_cast<std::uint32_t>(place & (kFraction - 1))};
}

std::uint32_t Bilinear(const std::uint32_t* texture, const Neighbours& x, const Neighbours& y) {
  const std::uint32_t a = texture[y.first + x.first];
  if ((x.weight | y.weight) == 0) return a;
  const std::uint32_t b = texture[y.first + x.second];
  const std::uint32_t c = texture[y.second + x.first];
  const std::uint32_t d = texture[y.second + x.second];
  const std::uint64_t right = x.weight, left = kFraction - right;
  const std::uint64_t low = y.weight, high = kFraction - low;
  const auto channels = [&](int shift) {
    const std::uint64_t sum = (spread(a >> shift) * left + spread(b >> shift) * right) * high +
                              (spread(c >> shift) * left + spread(d >> shift) * right) * low +
                              0x0000800000008000;
    return static_cast<std::uint32_t>((sum >> 16 & 0xFF) | (sum >> 32 & 0x00FF0000));
  };
  return channels(0) | channels(8) << 8;
}

double Footprint::Right() const { return std::hypot(rightU, rightV); }
double Footprint::Below() const { return std::hypot(belowU, belowV); }

int ProbesFor(const Footprint& footprint, const Sampling& sampling) {
  const double longer = std::max(footprint.Right(), footprint.Below());
  const double shorter = std::max(std::min(footprint.Right(), footprint.Below()), 1.0);
  return static_cast<int>(
      std::clamp(std::round(longer / shorter), 1.0, static_cast<double>(sampling.maxAnisotropy)));
}

}  // namespace vwin::d3d11
