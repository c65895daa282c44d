#include "scene_cursors.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/control/Desktop.h"
#include "platform/control/Graphics.h"

namespace {

using vwin::control::PointerShape;

constexpr int kSize = 64;
constexpr int kCentre = kSize / 2;

enum class Part { Outside, Rim, Ring, Cross, Field };

Part PartAt(int x, int y) {
  const double dx = x - kCentre + 0.5;
  const double dy = y - kCentre + 0.5;
  const double distance = std::hypot(dx, dy);
  if (distance > 31) {
    return Part::Outside;
  }
  if (distance > 28) {
    return Part::Rim;
  }
  if (distance > 22) {
    return Part::Ring;
  }
  return std::abs(dx) < 2 || std::abs(dy) < 2 ? Part::Cross : Part::Field;
}

template <typename PixelOf>
std::vector<std::uint32_t> DrawTarget(PixelOf pixelOf) {
  std::vector<std::uint32_t> pixels;
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      pixels.push_back(pixelOf(PartAt(x, y)));
    }
  }
  return pixels;
}

// Straight alpha in the top byte.
std::uint32_t ColorPixel(Part part) {
  switch (part) {
    case Part::Outside:
      return 0;
    case Part::Rim:
      return 0xFF202020;
    case Part::Ring:
      return 0xFFF07818;
    case Part::Cross:
      return 0xFFC01010;
    case Part::Field:
      return 0x60FFF060;
  }
  return 0;
}

// 0xFF in the top byte: inverts by the colour what is below.
std::uint32_t MaskedPixel(Part part) {
  switch (part) {
    case Part::Outside:
      return 0xFF000000;
    case Part::Rim:
      return 0x00202020;
    case Part::Ring:
      return 0x0018A0F0;
    case Part::Cross:
      return 0xFFFFFFFF;
    case Part::Field:
      return 0xFF0000FF;
  }
  return 0;
}

// The system's cursor keeps its colours, the graphics card's has no more than black,
// white, the picture below and its inverse.
PointerShape MonochromeTarget() {
  constexpr int kPitch = kSize / 8;
  PointerShape shape = {
      DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME, kSize, 2 * kSize, kPitch, {kCentre, kCentre},
      std::vector<BYTE>(2 * kSize * kPitch)};
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const Part part = PartAt(x, y);
      const auto bit = static_cast<BYTE>(128 >> x % 8);
      const auto at = static_cast<std::size_t>(y * kPitch + x / 8);
      if (part == Part::Outside || part == Part::Field || part == Part::Cross) {
        shape.bytes[at] |= bit;  // keeps what is below
      }
      if (part == Part::Rim || part == Part::Cross) {
        shape.bytes[at + kSize * kPitch] |= bit;  // inverts it; black becomes white
      }
    }
  }
  return shape;
}

PointerShape MaskedTarget() {
  const std::vector<std::uint32_t> pixels = DrawTarget(MaskedPixel);
  PointerShape shape = {DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR,
                        kSize,
                        kSize,
                        kSize * 4,
                        {kCentre, kCentre},
                        std::vector<BYTE>(pixels.size() * sizeof(std::uint32_t))};
  std::memcpy(shape.bytes.data(), pixels.data(), shape.bytes.size());
  return shape;
}

}  // namespace

void UseCursorOf(SceneKind kind) {
  using namespace vwin::control;
  switch (kind) {
    case SceneKind::ColorCursor:
    case SceneKind::Still:
      SetCursorShape(CursorPicture{kSize, kSize, kCentre, kCentre, DrawTarget(ColorPixel)});
      break;
    case SceneKind::MonochromeCursor:
      SetPointerShape(MonochromeTarget());
      break;
    case SceneKind::MaskedCursor:
      SetPointerShape(MaskedTarget());
      break;
    default:
      break;
  }
}
