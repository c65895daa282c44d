#include "win/engine/gdi/MemoryPicture.h"

#include <memory>
#include <utility>

#include "common/Logging.h"
#include "win/util/PictureInfo.h"

namespace qx {
namespace {

MemoryPicture MakePicture(HDC like, std::int32_t width, std::int32_t height) {
  if (!ScreenCaptureFrame::CanHold(static_cast<std::uint32_t>(width),
                                   static_cast<std::uint32_t>(height))) {
    return {};
  }
  const BITMAPINFO info = PictureInfo(width, height);
  void* pixels = nullptr;
  auto bitmap = std::make_shared<GdiBitmap>(
      CreateDIBSection(like, &info, DIB_RGB_COLORS, &pixels, nullptr, 0));
  const HBITMAP handle = bitmap->Get();
  if (!handle) {
    return {};
  }
  return {{std::move(bitmap), static_cast<std::uint8_t*>(pixels)}, handle, width, height};
}

}  // namespace

bool MemoryCanvas::Prepare(HDC like, std::int32_t width, std::int32_t height) {
  if (picture.HasSize(width, height)) {
    return true;
  }
  if (!dc) {
    dc = MemoryDc(CreateCompatibleDC(like));
  }
  MemoryPicture made = MakePicture(like, width, height);
  if (!made.pixels || !SelectObject(dc.Get(), made.bitmap)) {
    QX_LOG_LIMITED(LogLevelWarn, "ScreenCaptureEngineGDI has no bitmap of {}x{},last Error:{}",
                   width, height, static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  picture = std::move(made);
  return true;
}

void MemoryCanvas::Reset() {
  dc.Reset();
  picture = {};
}

}  // namespace qx
