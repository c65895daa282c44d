#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "win/util/GdiPlus.h"
#include "win/util/Handles.h"

// PNG files out of GDI+ pictures. GDI+ must have been started.
namespace qx::WindowsUtil {

struct GdiplusImagePolicy {
  using Value = Gdiplus::GpBitmap*;
  void Close(Gdiplus::GpBitmap* image) const { Gdiplus::DllExports::GdipDisposeImage(image); }
};
// Goes before pixels that it borrows.
using GdiplusBitmap = Handle<GdiplusImagePolicy>;

// The first encoder of exactly this MIME type. False when there is none.
bool FindImageEncoder(const std::wstring& mimeType, CLSID& clsid);

// The complete file. False, with `bytes` as before, when none came out.
bool EncodeImage(Gdiplus::GpImage* image, const CLSID& encoder, std::vector<std::uint8_t>& bytes);

}  // namespace qx::WindowsUtil
