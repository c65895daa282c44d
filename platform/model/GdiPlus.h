// GDI+: whether it was started, its images, the encoders it has.
//
// All functions with a Lock are called with the machine's lock held.
#pragma once

#include <windows.h>
// After windows.h.
#include <gdiplus.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/model/HandleTable.h"
#include "platform/model/Scheduler.h"

namespace vwin {

// 32-bit pixels, B G R A in memory, straight alpha.
struct GdiPlusImage : Object {
  int width = 0;
  int height = 0;
  std::ptrdiff_t stride = 0;  // bytes from row to row; negative: bottom to top
  bool hasAlpha = false;      // otherwise A means nothing
  BYTE* pixels = nullptr;     // the first row's
  std::vector<BYTE> own;      // what `pixels` points into, when nobody lent any
};

namespace gdiplus {

// Returns the token.
ULONG_PTR Start(Lock& lock);
bool IsStarted(Lock& lock);

// A null `pixels` makes some, all 0.
Gdiplus::GpBitmap* AddBitmap(Lock& lock, int width, int height, std::ptrdiff_t stride,
                             bool hasAlpha, BYTE* pixels);
std::shared_ptr<GdiPlusImage> FindImage(Lock& lock, const Gdiplus::GpImage* image);
// False for a stale one.
bool Dispose(Lock& lock, const Gdiplus::GpImage* image);

enum class Encoder { kBmp, kJpeg, kGif, kTiff, kPng };
inline constexpr UINT kEncoderCount = 5;
std::optional<Encoder> FindEncoder(REFCLSID id);
// All records, and behind them the texts that they point to.
UINT EncodersSize();
void WriteEncoders(Gdiplus::ImageCodecInfo* encoders);

// A complete file: 8 bits a channel, RGBA or RGB.
std::vector<std::uint8_t> PngFile(const GdiPlusImage& image);

}  // namespace gdiplus
}  // namespace vwin
