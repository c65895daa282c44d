// gdi32.
#include <windows.h>

#include <cstdlib>

#include "platform/model/Faults.h"
#include "platform/model/Gdi.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Rects.h"

using namespace vwin;

namespace {

constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;  // of a bitmap

bool isPlainPicture(const BITMAPINFO* info, UINT usage) {
  const BITMAPINFOHEADER* header = info ? &info->bmiHeader : nullptr;
  // The longer header begins as the shorter one does.
  return header &&
         (header->biSize == sizeof(BITMAPINFOHEADER) || header->biSize == sizeof(BITMAPV5HEADER)) &&
         header->biPlanes == 1 && header->biBitCount == 32 && header->biCompression == BI_RGB &&
         usage == DIB_RGB_COLORS && header->biWidth > 0 && header->biHeight != 0;
}

}  // namespace

HDC WINAPI CreateCompatibleDC(HDC like) {
  VWIN_CALL(CreateCompatibleDC);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  if (like && !gdi::FindDC(lock, like)) return SetLastError(ERROR_INVALID_HANDLE), nullptr;
  return gdi::OpenMemoryDC(lock);
}

BOOL WINAPI DeleteDC(HDC handle) {
  VWIN_CALL_INFALLIBLE(DeleteDC);
  if (!handle) return FALSE;
  Lock lock;
  const auto dc = gdi::FindDC(lock, handle);
  if (!dc || dc->kind != DeviceContext::Kind::kMemory) {
    ledger::Misuse(lock, "DeleteDC: not a DC of CreateCompatibleDC");
    return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  }
  gdi::CloseDC(lock, *dc);
  return TRUE;
}

HBITMAP WINAPI CreateCompatibleBitmap(HDC like, int width, int height) {
  VWIN_CALL(CreateCompatibleBitmap);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (width < 0 || height < 0) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  if (std::int64_t{width} * height > kMostPixels)
    return SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr;
  Lock lock;
  const auto dc = gdi::FindDC(lock, like);
  if (!dc) return SetLastError(ERROR_INVALID_HANDLE), nullptr;
  if (width == 0 || height == 0) return gdi::CreateBitmap(lock, 1, 1, true);
  // A memory DC is like the bitmap that it holds, and a new one holds a black and
  // white one.
  return gdi::CreateBitmap(lock, width, height, dc->bitmap && dc->bitmap->monochrome);
}

HBITMAP WINAPI CreateDIBSection(HDC, const BITMAPINFO* info, UINT usage, void** bits,
                                HANDLE section, DWORD) {
  VWIN_CALL(CreateDIBSection);
  if (fault) return SetLastError(fault->win32), nullptr;
  // Only rows from top to bottom, in memory of the system's own.
  if (!isPlainPicture(info, usage) || info->bmiHeader.biHeight > 0 || !bits || section)
    return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  const int width = info->bmiHeader.biWidth;
  const std::int64_t height = -std::int64_t{info->bmiHeader.biHeight};
  if (width * height > kMostPixels) return SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr;
  Lock lock;
  std::uint32_t* pixels = nullptr;
  const HBITMAP bitmap = gdi::CreateSection(lock, width, static_cast<int>(height), pixels);
  *bits = pixels;
  return bitmap;
}

// Nothing that is drawn waits here.
BOOL WINAPI GdiFlush() {
  VWIN_CALL_INFALLIBLE(GdiFlush);
  return TRUE;
}

HBRUSH WINAPI CreateSolidBrush(COLORREF color) {
  VWIN_CALL(CreateSolidBrush);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  return gdi::CreateBrush(lock, ToPixel(color));
}

HGDIOBJ WINAPI SelectObject(HDC handle, HGDIOBJ object) {
  VWIN_CALL(SelectObject);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto dc = gdi::FindDC(lock, handle);
  const auto bitmap = gdi::FindBitmap(lock, object);
  if (!dc || !bitmap) return SetLastError(ERROR_INVALID_HANDLE), nullptr;
  return gdi::SelectBitmap(lock, *dc, bitmap);
}

BOOL WINAPI DeleteObject(HGDIOBJ object) {
  VWIN_CALL_INFALLIBLE(DeleteObject);
  if (!object) return FALSE;
  Lock lock;
  if (const auto bitmap = gdi::FindBitmap(lock, object)) {
    gdi::DeleteBitmap(lock, *bitmap);
    return TRUE;
  }
  if (handles::Remove(lock, HandleKind::kBrush, object)) return TRUE;
  ledger::Misuse(lock, "DeleteObject: not a bitmap or a brush");
  return SetLastError(ERROR_INVALID_HANDLE), FALSE;
}

int WINAPI GetObjectW(HGDIOBJ object, int size, LPVOID out) {
  VWIN_CALL(GetObjectW);
  if (fault) return SetLastError(fault->win32), 0;
  constexpr int kSize = sizeof(BITMAP);
  Lock lock;
  const auto bitmap = gdi::FindBitmap(lock, object);
  if (!bitmap) return SetLastError(ERROR_INVALID_HANDLE), 0;
  if (!out) return kSize;
  if (size < kSize) return SetLastError(ERROR_INVALID_PARAMETER), 0;
  BITMAP described{};
  described.bmWidth = bitmap->surface.width();
  described.bmHeight = bitmap->surface.height();
  described.bmPlanes = 1;
  described.bmBitsPixel = bitmap->monochrome ? 1 : 32;
  // Rows are whole 16-bit words.
  described.bmWidthBytes = (described.bmWidth * described.bmBitsPixel + 15) / 16 * 2;
  *static_cast<BITMAP*>(out) = described;
  return kSize;
}

BOOL WINAPI BitBlt(HDC destination, int x, int y, int width, int height, HDC source, int sourceX,
                   int sourceY, DWORD rasterOperation) {
  VWIN_CALL(BitBlt);
  if (fault) return SetLastError(fault->win32), FALSE;
  if ((rasterOperation & ~CAPTUREBLT) != SRCCOPY || width < 0 || height < 0)
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  Lock lock;
  const auto to = gdi::FindDC(lock, destination);
  const auto from = gdi::FindDC(lock, source);
  if (!to || !from) return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  const Machine& machine = TheMachine(lock);
  const bool readsScreen = from->kind == DeviceContext::Kind::kScreen;
  if (readsScreen && machine.secureDesktop) return SetLastError(ERROR_ACCESS_DENIED), FALSE;
  // Without composition the screen holds layered windows apart from the rest.
  const bool layered = machine.composition || (rasterOperation & CAPTUREBLT) != 0;
  if (!gdi::Copy(lock, *to, SizedRect(x, y, width, height), *from, {sourceX, sourceY}, layered))
    return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  return TRUE;
}

int WINAPI GetDIBits(HDC dc, HBITMAP handle, UINT firstLine, UINT lineCount, LPVOID bits,
                     LPBITMAPINFO info, UINT usage) {
  VWIN_CALL(GetDIBits);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto bitmap = gdi::FindBitmap(lock, handle);
  if (!gdi::FindDC(lock, dc) || !bitmap) return SetLastError(ERROR_INVALID_HANDLE), 0;
  if (!isPlainPicture(info, usage) || !bits) return SetLastError(ERROR_INVALID_PARAMETER), 0;
  const BITMAPINFOHEADER& header = info->bmiHeader;
  return gdi::ReadLines(*bitmap, firstLine, lineCount, header.biWidth, std::abs(header.biHeight),
                        header.biHeight < 0, static_cast<std::uint32_t*>(bits));
}
