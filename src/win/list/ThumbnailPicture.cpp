#include "win/list/ThumbnailPicture.h"

#include "win/util/Handles.h"

namespace qx {
namespace {

using namespace Gdiplus::DllExports;

// Beyond this neither windows nor textures go.
constexpr std::int32_t kMaxSide = 16384;

// White, but nothing of it: what no picture covers is transparent.
constexpr Gdiplus::ARGB kClear = 0x00FFFFFF;

struct GraphicsPolicy {
  using Value = Gdiplus::GpGraphics*;
  void Close(Gdiplus::GpGraphics* graphics) const { GdipDeleteGraphics(graphics); }
};
using Graphics = Handle<GraphicsPolicy>;

std::int32_t Scaled(std::int32_t length, std::int32_t to, std::int32_t from) {
  return static_cast<std::int32_t>(std::int64_t{length} * to / from);
}

bool MakeBitmap(SIZE size, INT format, BYTE* pixels, WindowsUtil::GdiplusBitmap& bitmap) {
  return GdipCreateBitmapFromScan0(size.cx, size.cy, pixels ? size.cx * 4 : 0, format, pixels,
                                   bitmap.Put()) == Gdiplus::Ok;
}

bool DrawOn(Gdiplus::GpBitmap* canvas, Gdiplus::GpBitmap* picture, const RECT& place) {
  Graphics graphics;
  return GdipGetImageGraphicsContext(canvas, graphics.Put()) == Gdiplus::Ok &&
         GdipGraphicsClear(graphics.Get(), kClear) == Gdiplus::Ok &&
         GdipDrawImageRectI(graphics.Get(), picture, place.left, place.top,
                            place.right - place.left, place.bottom - place.top) == Gdiplus::Ok;
}

}  // namespace

bool IsThumbnailSize(std::int32_t width, std::int32_t height) {
  return width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide;
}

RECT FitPicture(SIZE picture, SIZE box) {
  const auto width = static_cast<float>(picture.cx);
  const auto height = static_cast<float>(picture.cy);
  const auto boxWidth = static_cast<float>(box.cx);
  const auto boxHeight = static_cast<float>(box.cy);
  if (width / height >= boxWidth / boxHeight) {
    const float scale = boxWidth / width;
    const auto pad = static_cast<LONG>(boxHeight - height * scale);
    return {0, pad / 2, box.cx, pad / 2 + box.cy - pad};
  }
  const float scale = boxHeight / height;
  const auto pad = static_cast<LONG>(boxWidth - width * scale);
  return {pad / 2, 0, pad / 2 + box.cx - pad, box.cy};
}

SIZE FitWindow(SIZE window, SIZE box) {
  if (window.cx < 1 || window.cy < 1) {
    return box;
  }
  if (static_cast<double>(window.cy) / box.cy > static_cast<double>(window.cx) / box.cx) {
    return {Scaled(window.cx, box.cy, window.cy), box.cy};
  }
  return {box.cx, Scaled(window.cy, box.cx, window.cx)};
}

RECT Centre(SIZE picture, SIZE box) {
  const LONG left = (box.cx - picture.cx) / 2;
  const LONG top = (box.cy - picture.cy) / 2;
  return {left, top, left + picture.cx, top + picture.cy};
}

std::optional<ThumbnailWriter> ThumbnailWriter::Find() {
  CLSID encoder = {};
  if (!WindowsUtil::FindImageEncoder(L"image/png", encoder)) {
    return std::nullopt;
  }
  return ThumbnailWriter(encoder);
}

bool ThumbnailWriter::Write(const ThumbnailSource& source, SIZE box, const RECT& place,
                            INT boxFormat, std::vector<std::uint8_t>& png) const {
  WindowsUtil::GdiplusBitmap picture;
  WindowsUtil::GdiplusBitmap canvas;
  return MakeBitmap(source.size, source.format, source.pixels, picture) &&
         MakeBitmap(box, boxFormat, nullptr, canvas) &&
         DrawOn(canvas.Get(), picture.Get(), place) &&
         WindowsUtil::EncodeImage(canvas.Get(), m_encoder, png);
}

}  // namespace qx
