#include "win/engine/mag/CursorPixels.h"

#include <algorithm>
#include <cstring>

namespace qx {
namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;
constexpr std::uint32_t kWhite = 0x00FFFFFF;
constexpr int kColorShifts[] = {0, 8, 16};

std::uint32_t Channel(std::uint32_t pixel, int shift) { return (pixel >> shift) & 0xFF; }

std::uint32_t Over(std::uint32_t below, std::uint32_t pixel) {
  const std::uint32_t alpha = pixel >> 24;
  if (alpha == 0xFF) {
    return pixel;
  }
  std::uint32_t blended = kOpaque;
  for (const int shift : kColorShifts) {
    const std::uint32_t sum = Channel(below, shift) * (0xFF - alpha) / 0xFF + Channel(pixel, shift);
    blended |= std::min<std::uint32_t>(sum, 0xFF) << shift;
  }
  return blended;
}

}  // namespace

bool HasAlpha(std::span<const std::uint32_t> pixels) {
  return std::ranges::any_of(pixels, [](std::uint32_t pixel) { return pixel > kWhite; });
}

void CombineWithMask(std::span<std::uint32_t> pixels, std::span<const std::uint32_t> mask) {
  const std::size_t count = std::min(pixels.size(), mask.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (mask[i] != kWhite) {
      pixels[i] ^= kOpaque;
    } else if (pixels[i] != 0) {
      pixels[i] = kOpaque;
    }
  }
}

void Premultiply(std::span<std::uint32_t> pixels) {
  for (std::uint32_t& pixel : pixels) {
    const std::uint32_t alpha = pixel >> 24;
    std::uint32_t multiplied = pixel & kOpaque;
    for (const int shift : kColorShifts) {
      multiplied |= Channel(pixel, shift) * alpha / 0xFF << shift;
    }
    pixel = multiplied;
  }
}

void BlendCursor(const CursorCanvas& canvas, const CursorImage& image, const CursorPlace& place) {
  if (!canvas.bits || image.width < 1 || image.height < 1 || place.width < 1 || place.height < 1) {
    return;
  }
  const auto end = [](std::int32_t begin, std::int32_t size, std::int32_t limit) {
    return static_cast<std::int32_t>(
        std::min(std::int64_t{begin} + size, static_cast<std::int64_t>(limit)));
  };
  const std::int32_t left = std::max(place.x, 0);
  const std::int32_t right = end(place.x, place.width, canvas.width);
  const std::int32_t top = std::max(place.y, 0);
  const std::int32_t bottom = end(place.y, place.height, canvas.height);
  for (std::int32_t y = top; y < bottom; ++y) {
    const std::int64_t fromY = (std::int64_t{y} - place.y) * image.height / place.height;
    const std::uint32_t* const from =
        image.pixels.data() + static_cast<std::ptrdiff_t>(fromY) * image.width;
    std::uint8_t* const row = canvas.bits + y * canvas.pitch;
    for (std::int32_t x = left; x < right; ++x) {
      const std::uint32_t pixel = from[(std::int64_t{x} - place.x) * image.width / place.width];
      if (pixel <= kWhite) {
        continue;
      }
      std::uint8_t* const to = row + std::ptrdiff_t{x} * 4;
      std::uint32_t below = 0;
      std::memcpy(&below, to, sizeof(below));
      const std::uint32_t blended = Over(below, pixel);
      std::memcpy(to, &blended, sizeof(blended));
    }
  }
}

}  // namespace qx
