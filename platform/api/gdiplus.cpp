// GDI+, the flat interface.
#include <windows.h>
// After windows.h.
#include <gdiplus.h>

#include "platform/model/Faults.h"
#include "platform/model/GdiPlus.h"
#include "platform/model/Ledger.h"

using namespace vwin;
using namespace Gdiplus;

namespace {

constexpr ULONG kPngSignature = 8;

// A file leaves in several pieces, and any of them may fail.
bool writeFile(IStream& stream, const std::vector<std::uint8_t>& file) {
  const auto rest = static_cast<ULONG>(file.size() - kPngSignature);
  return SUCCEEDED(stream.Write(file.data(), kPngSignature, nullptr)) &&
         SUCCEEDED(stream.Write(file.data() + kPngSignature, rest, nullptr));
}

}  // namespace

extern "C" GpStatus WINAPI Gdiplus::GdiplusStartup(ULONG_PTR* token,
                                                   const GdiplusStartupInput* input,
                                                   GdiplusStartupOutput* output) {
  VWIN_CALL(GdiplusStartup);
  if (token == nullptr || input == nullptr) return InvalidParameter;
  if (input->SuppressBackgroundThread != FALSE && output == nullptr) return InvalidParameter;
  if (input->GdiplusVersion != 1) return UnsupportedGdiplusVersion;
  if (fault) return OutOfMemory;
  Lock lock;
  *token = gdiplus::Start(lock);
  return Ok;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipCreateBitmapFromScan0(
    INT width, INT height, INT stride, PixelFormat format, BYTE* pixels, GpBitmap** bitmap) {
  VWIN_CALL(GdipCreateBitmapFromScan0);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  const bool known = format == PixelFormat32bppARGB || format == PixelFormat32bppRGB;
  constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;
  if (!bitmap || width <= 0 || height <= 0 || std::int64_t{width} * height > kMostPixels || !known)
    return InvalidParameter;
  if (pixels && (stride == 0 || stride % 4 != 0)) return InvalidParameter;
  if (fault) return OutOfMemory;
  *bitmap = gdiplus::AddBitmap(lock, width, height, stride, format == PixelFormat32bppARGB, pixels,
                               "GdipCreateBitmapFromScan0");
  return Ok;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipDisposeImage(GpImage* image) {
  VWIN_CALL_INFALLIBLE(GdipDisposeImage);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  if (gdiplus::Dispose(lock, image)) return Ok;
  ledger::Misuse(lock, "GdipDisposeImage: not an image");
  return InvalidParameter;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipSaveImageToStream(GpImage* handle,
                                                                      IStream* stream,
                                                                      const CLSID* encoder,
                                                                      const EncoderParameters*) {
  VWIN_CALL(GdipSaveImageToStream);
  std::shared_ptr<GdiPlusImage> image;
  {
    Lock lock;
    if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
    image = gdiplus::FindImage(lock, handle);
    if (handle && !image) ledger::Misuse(lock, "GdipSaveImageToStream: not an image");
    if (!image || !stream || !encoder) return InvalidParameter;
    if (fault) return OutOfMemory;
    const auto known = gdiplus::FindEncoder(lock, *encoder);
    if (!known) return UnknownImageFormat;
    if (*known != gdiplus::Encoder::kPng) {
      ledger::Misuse(lock, "GdipSaveImageToStream: virtual Windows writes only PNG");
      return UnknownImageFormat;
    }
  }
  const std::vector<std::uint8_t> file = gdiplus::PngFile(*image);
  if (file.empty()) return GenericError;
  return writeFile(*stream, file) ? Ok : Win32Error;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipGetImageEncodersSize(UINT* count, UINT* size) {
  VWIN_CALL(GdipGetImageEncodersSize);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  if (!count || !size) return InvalidParameter;
  if (fault) return OutOfMemory;
  *count = gdiplus::EncoderCount(lock);
  *size = gdiplus::EncodersSize(lock);
  return Ok;
}

extern "C" GpStatus WINAPI Gdiplus::DllExports::GdipGetImageEncoders(UINT count, UINT size,
                                                                     ImageCodecInfo* encoders) {
  VWIN_CALL(GdipGetImageEncoders);
  Lock lock;
  if (!gdiplus::IsStarted(lock)) return GdiplusNotInitialized;
  if (!encoders || count != gdiplus::EncoderCount(lock) || size != gdiplus::EncodersSize(lock))
    return GenericError;
  if (fault) return OutOfMemory;
  gdiplus::WriteEncoders(lock, encoders);
  return Ok;
}
