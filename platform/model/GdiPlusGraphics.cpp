// GDI+: drawing on images.
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <vector>

#include "platform/model/GdiPlus.h"
#include "platform/model/Rects.h"

namespace vwin::gdiplus {
namespace {

std::uint32_t* rowOf(const GdiPlusImage& image, int y) {
  return reinterpret_cast<std::uint32_t*>(image.pixels + y * image.stride);
}

// One pixel over another, straight alpha both.
std::uint32_t over(std::uint32_t top, std::uint32_t below) {
  const std::uint32_t alpha = top >> 24;
  if (alpha == 0xFF) return top;
  if (alpha == 0) return below;
  // Both parts in 255ths of a 255th.
  const std::uint32_t topPart = alpha * 255;
  const std::uint32_t belowPart = (below >> 24) * (255 - alpha);
  const std::uint32_t sum = topPart + belowPart;
  std::uint32_t mixed = (sum + 127) / 255 << 24;
  for (int shift = 0; shift < 24; shift += 8) {
    const std::uint32_t channel =
        (top >> shift & 0xFF) * topPart + (below >> shift & 0xFF) * belowPart;
    mixed |= (channel + sum / 2) / sum << shift;
  }
  return mixed;
}

}  // namespace

Gdiplus::GpGraphics* AddGraphics(Lock& lock, const Gdiplus::GpImage* image) {
  const auto graphics = std::make_shared<GdiPlusGraphics>();
  graphics->image = image;
  return static_cast<Gdiplus::GpGraphics*>(
      handles::Add(lock, HandleKind::kGraphics, graphics, "GdipGetImageGraphicsContext"));
}

bool DeleteGraphics(Lock& lock, const Gdiplus::GpGraphics* graphics) {
  return handles::Remove(lock, HandleKind::kGraphics, graphics);
}

std::shared_ptr<GdiPlusImage> CanvasOf(Lock& lock, const Gdiplus::GpGraphics* graphics) {
  const auto found = handles::Get<GdiPlusGraphics>(lock, HandleKind::kGraphics, graphics);
  return found ? FindImage(lock, found->image) : nullptr;
}

void Clear(GdiPlusImage& canvas, Gdiplus::ARGB color) {
  if (!canvas.hasAlpha && color >> 24 == 0) color = 0;
  for (int y = 0; y < canvas.height; ++y) std::fill_n(rowOf(canvas, y), canvas.width, color);
}

void Draw(GdiPlusImage& canvas, const GdiPlusImage& image, const RECT& to) {
  const RECT drawn = Overlap(to, {0, 0, canvas.width, canvas.height});
  if (IsEmpty(drawn)) return;
  const int width = WidthOf(to);
  std::vector<std::uint32_t> scaled(static_cast<std::size_t>(width) *
                                    static_cast<std::size_t>(HeightOf(to)));
  libyuv::ARGBScale(image.pixels, static_cast<int>(image.stride), image.width, image.height,
                    reinterpret_cast<BYTE*>(scaled.data()), width * 4, width, HeightOf(to),
                    libyuv::kFilterNone);
  const std::uint32_t opaque = image.hasAlpha ? 0 : 0xFF000000;
  const std::uint32_t opaqueBelow = canvas.hasAlpha ? 0 : 0xFF000000;
  for (int y = drawn.top; y < drawn.bottom; ++y) {
    std::uint32_t* const row = rowOf(canvas, y);
    const std::uint32_t* const from =
        scaled.data() + (std::ptrdiff_t{y} - to.top) * width - std::ptrdiff_t{to.left};
    for (int x = drawn.left; x < drawn.right; ++x)
      row[x] = over(from[x] | opaque, row[x] | opaqueBelow);
  }
}

}  // namespace vwin::gdiplus
