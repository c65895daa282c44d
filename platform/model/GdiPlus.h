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

struct GdiPlusGraphics : Object {
  const Gdiplus::GpImage* image = nullptr;  // may have been disposed of
};

namespace gdiplus {

// Returns the token.
ULONG_PTR Start(Lock& lock);
bool IsStarted(Lock& lock);

// A null `pixels` makes some, all 0. `call` is noted in the ledger.
Gdiplus::GpBitmap* AddBitmap(Lock& lock, int width, int height, std::ptrdiff_t stride,
                             bool hasAlpha, BYTE* pixels, const char* call);
std::shared_ptr<GdiPlusImage> FindImage(Lock& lock, const Gdiplus::GpImage* image);
// False for a stale one.
bool Dispose(Lock& lock, const Gdiplus::GpImage* image);

Gdiplus::GpGraphics* AddGraphics(Lock& lock, const Gdiplus::GpImage* image);
// False for a stale one.
bool DeleteGraphics(Lock& lock, const Gdiplus::GpGraphics* graphics);
// What it draws on; null for a stale one and when the image is.
std::shared_ptr<GdiPlusImage> CanvasOf(Lock& lock, const Gdiplus::GpGraphics* graphics);
// The colour takes the place of what was there, its alpha too. Without alpha in the
// canvas, what is transparent is black.
void Clear(GdiPlusImage& canvas, Gdiplus::ARGB color);
// Lays the whole image over `to`. Where GDI+ mixes neighbours, this takes the nearest
// pixel of the image: sizes that are equal and areas of one colour come out the same.
void Draw(GdiPlusImage& canvas, const GdiPlusImage& image, const RECT& to);

enum class Encoder { kBmp, kJpeg, kGif, kTiff, kPng };
UINT EncoderCount(Lock& lock);
std::optional<Encoder> FindEncoder(Lock& lock, REFCLSID id);
// All records, and behind them the texts that they point to.
UINT EncodersSize(Lock& lock);
void WriteEncoders(Lock& lock, Gdiplus::ImageCodecInfo* encoders);

// A complete file: 8 bits a channel, RGBA or RGB.
std::vector<std::uint8_t> PngFile(const GdiPlusImage& image);

}  // namespace gdiplus
}  // namespace vwin
