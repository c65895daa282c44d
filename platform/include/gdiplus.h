// GDI+, the flat interface. On Windows this header wants <objidl.h> included first.
#pragma once

#include "objidl.h"

namespace Gdiplus {

enum Status {
  Ok = 0,
  GenericError = 1,
  InvalidParameter = 2,
  OutOfMemory = 3,
  Win32Error = 7,
  UnknownImageFormat = 13,
  UnsupportedGdiplusVersion = 17,
  GdiplusNotInitialized = 18
};
typedef Status GpStatus;

enum DebugEventLevel { DebugEventLevelFatal, DebugEventLevelWarning };
typedef void(WINAPI* DebugEventProc)(DebugEventLevel level, CHAR* message);
typedef GpStatus(WINAPI* NotificationHookProc)(ULONG_PTR* token);
typedef void(WINAPI* NotificationUnhookProc)(ULONG_PTR token);

struct GdiplusStartupInput {
  UINT32 GdiplusVersion;
  DebugEventProc DebugEventCallback;
  BOOL SuppressBackgroundThread;
  BOOL SuppressExternalCodecs;

  GdiplusStartupInput(DebugEventProc debugEventCallback = nullptr,
                      BOOL suppressBackgroundThread = FALSE, BOOL suppressExternalCodecs = FALSE)
      : GdiplusVersion(1),
        DebugEventCallback(debugEventCallback),
        SuppressBackgroundThread(suppressBackgroundThread),
        SuppressExternalCodecs(suppressExternalCodecs) {}
};

struct GdiplusStartupOutput {
  NotificationHookProc NotificationHook = nullptr;
  NotificationUnhookProc NotificationUnhook = nullptr;
};

class GpImage {};
class GpBitmap : public GpImage {};
class GpGraphics {};

typedef DWORD ARGB;

typedef INT PixelFormat;
#define PixelFormat32bppRGB ((INT)0x22009)
#define PixelFormat32bppARGB ((INT)0x26200A)

// The texts and patterns lie in the block that GdipGetImageEncoders fills.
typedef struct ImageCodecInfo {
  CLSID Clsid;
  GUID FormatID;
  const WCHAR* CodecName;
  const WCHAR* DllName;
  const WCHAR* FormatDescription;
  const WCHAR* FilenameExtension;
  const WCHAR* MimeType;
  DWORD Flags;
  DWORD Version;
  DWORD SigCount;
  DWORD SigSize;
  const BYTE* SigPattern;
  const BYTE* SigMask;
} ImageCodecInfo;

struct EncoderParameters;

extern "C" GpStatus WINAPI GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input,
                                          GdiplusStartupOutput* output);

namespace DllExports {
extern "C" {

// With a null `pixels` the bitmap has its own, otherwise it borrows them, rows `stride`
// bytes apart.
GpStatus WINAPI GdipCreateBitmapFromScan0(INT width, INT height, INT stride, PixelFormat format,
                                          BYTE* pixels, GpBitmap** bitmap);
GpStatus WINAPI GdipDisposeImage(GpImage* image);
// What draws on the image; to be deleted before it.
GpStatus WINAPI GdipGetImageGraphicsContext(GpImage* image, GpGraphics** graphics);
GpStatus WINAPI GdipDeleteGraphics(GpGraphics* graphics);
GpStatus WINAPI GdipGraphicsClear(GpGraphics* graphics, ARGB color);
// Stretches the whole image over the rectangle.
GpStatus WINAPI GdipDrawImageRectI(GpGraphics* graphics, GpImage* image, INT x, INT y, INT width,
                                   INT height);
GpStatus WINAPI GdipSaveImageToStream(GpImage* image, IStream* stream, const CLSID* encoder,
                                      const EncoderParameters* parameters);
// `size` is the bytes that GdipGetImageEncoders writes, more than `count` records.
GpStatus WINAPI GdipGetImageEncodersSize(UINT* count, UINT* size);
GpStatus WINAPI GdipGetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders);

}  // extern "C"
}  // namespace DllExports

}  // namespace Gdiplus
