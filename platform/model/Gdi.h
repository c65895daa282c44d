// GDI objects: device contexts, bitmaps, brushes, and copying between them.
//
// All functions are called with the machine's lock held.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/HandleTable.h"
#include "platform/model/Surface.h"

namespace vwin {

struct Brush : Object {
  std::uint32_t pixel = 0;
};

struct Bitmap : Object {
  HBITMAP handle = nullptr;
  Surface surface;
  // Top bytes of an icon's colours, beside the surface, which has none; empty for
  // any other bitmap. Nobody draws on a bitmap that has them.
  std::vector<std::uint8_t> topBytes;
  bool monochrome = false;
  bool stock = false;          // the bitmap of a new memory DC: shared and never deleted
  HDC selectedInto = nullptr;  // not kept for the stock bitmap
  bool deletePending = false;
};

struct DeviceContext : Object {
  enum class Kind { kScreen, kWindow, kMemory };

  HDC handle = nullptr;
  Kind kind = Kind::kScreen;
  HWND window = nullptr;           // what it was got for; null for a memory DC
  std::uint32_t threadId = 0;      // that got it
  bool painting = false;           // came from BeginPaint
  std::optional<RECT> clip;        // of a painting one, in client coordinates
  std::shared_ptr<Bitmap> bitmap;  // of a memory DC
};

namespace gdi {

std::shared_ptr<DeviceContext> FindDC(Lock& lock, HDC handle);
std::shared_ptr<Bitmap> FindBitmap(Lock& lock, HGDIOBJ handle);
// The colour of a brush, or of (HBRUSH)(COLOR_x + 1).
std::optional<std::uint32_t> BrushPixel(Lock& lock, HBRUSH brush);

// A DC for the screen (null or the desktop window) or for a window's client area;
// `clip` makes it a painting one. `call` is noted in the ledger.
HDC OpenDC(Lock& lock, Window* window, HWND gotFor, const char* call,
           std::optional<RECT> clip = std::nullopt);
HDC OpenMemoryDC(Lock& lock);
// One that has `bitmap`, which needs no handle, selected; `call` is noted in the ledger.
HDC OpenBitmapDC(Lock& lock, std::shared_ptr<Bitmap> bitmap, const char* call);
HBITMAP CreateBitmap(Lock& lock, int width, int height, bool monochrome);
// `bits` is where its pixels are, rows top to bottom, until it is deleted.
HBITMAP CreateSection(Lock& lock, int width, int height, std::uint32_t*& bits);
// A bitmap of GetIconInfo, with pixels of 0xAARRGGBB, rows top to bottom.
HBITMAP AddIconBitmap(Lock& lock, int width, int height, const std::vector<std::uint32_t>& pixels,
                      bool monochrome);
HBRUSH CreateBrush(Lock& lock, std::uint32_t pixel);

// Null when the bitmap is selected into another DC.
HGDIOBJ SelectBitmap(Lock& lock, DeviceContext& dc, const std::shared_ptr<Bitmap>& bitmap);
// Takes the DC out of the table; a memory DC lets go of its bitmap.
void CloseDC(Lock& lock, DeviceContext& dc);
// A selected bitmap lives on until it is deselected, and that is noted as misuse.
void DeleteBitmap(Lock& lock, Bitmap& bitmap);

// What a DC draws on: a surface, where the DC's (0, 0) lies on it, and the part that
// may be touched, in surface coordinates. No surface for the screen and for a
// window that has gone.
struct Target {
  Surface* surface = nullptr;
  POINT origin{};
  RECT clip{};
  bool monochrome = false;
};
Target TargetOf(Lock& lock, const DeviceContext& dc);

// False when the destination can't be drawn on or the source can't be read.
bool Copy(Lock& lock, const DeviceContext& to, const RECT& area, const DeviceContext& from,
          POINT source, bool withLayered);
// In the DC's coordinates.
bool Fill(Lock& lock, const DeviceContext& dc, const RECT& rect, std::uint32_t pixel);
bool DrawCursor(Lock& lock, const DeviceContext& dc, int x, int y, const CursorShape& shape);
// With its thumbnails from Windows 8.1 on; before that a window draws itself.
bool DrawWholeWindow(Lock& lock, const DeviceContext& dc, const Window& window);
// Copies lines as GetDIBits counts them, into rows of `width` pixels. Returns how
// many lines were written.
int ReadLines(const Bitmap& bitmap, UINT first, UINT count, int width, int height, bool topDown,
              std::uint32_t* bits);

}  // namespace gdi
}  // namespace vwin
