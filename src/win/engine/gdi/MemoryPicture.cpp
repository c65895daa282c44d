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
  GdiBitmap bitmap(CreateDIBSection(like, &info, DIB_RGB_COLORS, &pixels, nullptr, 0));
  const HBITMAP handle = bitmap.Get();
  if (!handle) {
    QX_LOG_LIMITED(LogLevelWarn, "CreateDIBSection of {}x{} failed,last Error:{}", width, height,
                   static_cast<std::uint32_t>(GetLastError()));
    return {};
  }
  auto owner = std::make_shared<GdiBitmap>(std::move(bitmap));
  return {{std::move(owner), static_cast<std::uint8_t*>(pixels)}, handle, width, height};
}

}  // namespace

MemoryDc MakeMemoryDc(HDC like) {
  MemoryDc dc(CreateCompatibleDC(like));
  if (!dc) {
    QX_LOG_LIMITED(LogLevelWarn, "CreateCompatibleDC failed,last Error:{}",
                   static_cast<std::uint32_t>(GetLastError()));
  }
  return dc;
}

bool MemoryCanvas::Prepare(HDC like, std::int32_t width, std::int32_t height) {
  if (picture.HasSize(width, height)) {
    return true;
  }
  if (!dc) {
    dc = MakeMemoryDc(like);
  }
  MemoryPicture made = MakePicture(like, width, height);
  if (!dc || !made.pixels) {
    return false;
  }
  if (!SelectObject(dc.Get(), made.bitmap)) {
    QX_LOG_LIMITED(LogLevelWarn, "SelectObject failed,last Error:{}",
                   static_cast<std::uint32_t>(GetLastError()));
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
