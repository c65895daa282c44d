// GDI+, the flat interface: drawing on images.
#include <windows.h>
// After windows.h.
#include <gdiplus.h>

#include "platform/model/Faults.h"
#include "platform/model/GdiPlus.h"
#include "platform/model/Ledger.h"
#include "platform/model/Rects.h"

using namespace vwin;
using namespace Gdiplus;

namespace {

GpStatus refused(Lock& lock, const void* handle, const char* misuse) {
  if (handle) ledger::Misuse(lock, misuse);
  return InvalidParameter;
}

}  // namespace

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipGetImageGraphicsContext(GpImage* image,
                                                                            GpGraphics** graphics) {
  VWIN_CALL(GdipGetImageGraphicsContext);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  if (!gdiplus::FindImage(lock, image))
    return refused(lock, image, "GdipGetImageGraphicsContext: not an image");
  if (!graphics) return InvalidParameter;
  if (fault) return OutOfMemory;
  *graphics = gdiplus::AddGraphics(lock, image);
  return Ok;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipDeleteGraphics(GpGraphics* graphics) {
  VWIN_CALL_INFALLIBLE(GdipDeleteGraphics);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  if (gdiplus::DeleteGraphics(lock, graphics)) return Ok;
  return refused(lock, graphics, "GdipDeleteGraphics: not a graphics");
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipGraphicsClear(GpGraphics* graphics,
                                                                  ARGB color) {
  VWIN_CALL(GdipGraphicsClear);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  const auto canvas = gdiplus::CanvasOf(lock, graphics);
  if (!canvas) return refused(lock, graphics, "GdipGraphicsClear: nothing to draw on");
  if (fault) return OutOfMemory;
  gdiplus::Clear(*canvas, color);
  return Ok;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipDrawImageRectI(GpGraphics* graphics,
                                                                   GpImage* handle, INT x, INT y,
                                                                   INT width, INT height) {
  VWIN_CALL(GdipDrawImageRectI);
  constexpr INT kLongest = 32767;  // side of a scaled picture
  constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  const auto canvas = gdiplus::CanvasOf(lock, graphics);
  if (!canvas) return refused(lock, graphics, "GdipDrawImageRectI: nothing to draw on");
  const auto image = gdiplus::FindImage(lock, handle);
  if (!image) return refused(lock, handle, "GdipDrawImageRectI: not an image");
  if (width < 0 || height < 0) return refused(lock, handle, "GdipDrawImageRectI: would mirror");
  const bool huge =
      width > kLongest || height > kLongest || std::int64_t{width} * height > kMostPixels;
  if (fault || huge) return OutOfMemory;
  gdiplus::Draw(*canvas, *image, SizedRect(x, y, width, height));
  return Ok;
}
