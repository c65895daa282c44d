#include "win/engine/mag/MagCursor.h"

#include <cstddef>
#include <span>

#include "common/Logging.h"
#include "win/engine/mag/CursorPixels.h"
#include "win/source/WindowEnumeration.h"

namespace qx {
namespace {

// Shapes come from other programs, whose word for a size is no reason to allocate
// anything.
constexpr LONG kMaxSide = 2048;

std::uint32_t LastError() { return static_cast<std::uint32_t>(GetLastError()); }

bool ReadIconInfo(HCURSOR cursor, ICONINFO& info) {
  info = {};
  return GetIconInfo(cursor, &info) != FALSE;
}

bool ReadBitmap(HBITMAP bitmap, BITMAP& data) {
  data = {};
  return GetObjectW(bitmap, sizeof(data), &data) != 0;
}

// As rows from top to bottom, into `pixels` of width * height.
bool ReadPixels(HDC dc, HBITMAP bitmap, std::int32_t width, std::int32_t height,
                std::uint32_t* pixels) {
  BITMAPV5HEADER header = {};
  header.bV5Size = sizeof(header);
  header.bV5Width = width;
  header.bV5Height = -height;
  header.bV5Planes = 1;
  header.bV5BitCount = 32;
  header.bV5AlphaMask = 0xFF000000;
  header.bV5CSType = 0x57696E20;  // LCS_WINDOWS_COLOR_SPACE
  header.bV5Intent = 1;           // LCS_GM_BUSINESS
  return GetDIBits(dc, bitmap, 0, static_cast<UINT>(height), pixels,
                   reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS) != 0;
}

}  // namespace

MagCursor::MagCursor(bool newMouseCaptureWay)
    : m_newMouseCaptureWay(newMouseCaptureWay), m_lastCursor(LoadCursorW(nullptr, IDC_ARROW)) {}

void MagCursor::Draw(const Canvas& canvas) {
  CURSORINFO info = {};
  info.cbSize = sizeof(info);
  if (!GetCursorInfo(&info) || !(info.flags & CURSOR_SHOWING) ||
      !PtInRect(&canvas.source, info.ptScreenPos)) {
    return;
  }
  Shape shape;
  if (!readShape(info.hCursor, shape)) {
    return;
  }
  // One factor for both directions, so that the shape keeps its proportions.
  const double scale =
      static_cast<double>(canvas.width) / (canvas.source.right - canvas.source.left);
  const auto scaled = [scale](LONG length) { return static_cast<std::int32_t>(length * scale); };
  const Place place = {scaled(info.ptScreenPos.x - canvas.source.left - shape.hotspot.x),
                       scaled(info.ptScreenPos.y - canvas.source.top - shape.hotspot.y),
                       scaled(shape.width), scaled(shape.height)};
  WindowsUtil::EnumMonitorHandles(m_monitors);
  if (m_newMouseCaptureWay && m_monitors.size() >= 2) {
    drawBlended(canvas, shape, place);
  } else {
    drawWithGdi(canvas, shape, place);
  }
}

bool MagCursor::readShape(HCURSOR cursor, Shape& shape) {
  ICONINFO info;
  if (ReadIconInfo(cursor, info)) {
    m_lastCursor = cursor;
  } else {
    QX_LOG_LIMITED(LogLevelWarn, "Get cursor info failed: {}", LastError());
    if (!ReadIconInfo(m_lastCursor, info)) {
      QX_LOG_LIMITED(LogLevelWarn, "use last cursor info failed: {}", LastError());
      return false;
    }
  }
  shape.cursor = m_lastCursor;
  shape.hotspot = {static_cast<LONG>(info.xHotspot), static_cast<LONG>(info.yHotspot)};
  shape.mask = GdiBitmap(info.hbmMask);
  shape.color = GdiBitmap(info.hbmColor);
  BITMAP data;
  if (shape.color && ReadBitmap(shape.color.Get(), data)) {
    shape.height = data.bmHeight;
  } else if (!shape.color && shape.mask && ReadBitmap(shape.mask.Get(), data)) {
    shape.height = data.bmHeight / 2;  // an AND and an XOR plane
  } else {
    QX_LOG_LIMITED(LogLevelWarn, "Get cursor width and height failed");
    return false;
  }
  shape.width = data.bmWidth;
  return true;
}

void MagCursor::drawWithGdi(const Canvas& canvas, const Shape& shape, const Place& place) const {
  QX_LOG_LIMITED(
      LogLevelInfo,
      "qx-sc:cursor:mag mouse capture way: gdi, scNewMouseCaptureWay:{}, monitorCount:{}",
      m_newMouseCaptureWay, m_monitors.size());
  CursorHandle copy;
  HCURSOR cursor = shape.cursor;
  if (m_monitors.size() >= 2) {
    copy = CursorHandle(static_cast<HCURSOR>(CopyImage(cursor, IMAGE_CURSOR, 0, 0, LR_MONOCHROME)));
    cursor = copy.Get();
  }
  HDC dc = nullptr;
  const HRESULT hr = canvas.surface->GetDC(&dc);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelWarn, "no DC to draw the cursor with: {}",
                   static_cast<std::int32_t>(hr));
    return;
  }
  if (!cursor || !DrawIconEx(dc, place.x, place.y, cursor, place.width, place.height, 0, nullptr,
                             DI_NORMAL | DI_COMPAT)) {
    QX_LOG_LIMITED(LogLevelWarn, "the cursor can't be drawn: {}", LastError());
  }
  static_cast<void>(canvas.surface->ReleaseDC(dc));
}

void MagCursor::drawBlended(const Canvas& canvas, const Shape& shape, const Place& place) {
  const WindowDc dc(GetDC(nullptr), {nullptr});
  if (!dc) {
    QX_LOG_ERROR("GetDC failed: {}", LastError());
    return;
  }
  if (!CreateCursorBitmap(dc.Get(), shape)) {
    QX_LOG_LIMITED(LogLevelWarn, "CreateCursorBitmap failed");
    drawWithGdi(canvas, shape, place);
    return;
  }
  QX_LOG_LIMITED(LogLevelInfo,
                 "qx-sc:cursor:mag mouse capture way: dib_alpha_blend, scNewMouseCaptureWay:{}, "
                 "monitorCount:{}",
                 m_newMouseCaptureWay, m_monitors.size());
  D3DLOCKED_RECT locked = {};
  const HRESULT hr = canvas.surface->LockRect(&locked, nullptr, 0);
  if (FAILED(hr)) {
    QX_LOG_ERROR("LockRect failed: {}", static_cast<std::int32_t>(hr));
    return;
  }
  BlendCursor({static_cast<std::uint8_t*>(locked.pBits), locked.Pitch, canvas.width, canvas.height},
              {m_pixels, m_width, m_height}, {place.x, place.y, place.width, place.height});
  static_cast<void>(canvas.surface->UnlockRect());
}

// Premultiplied, into m_pixels.
bool MagCursor::CreateCursorBitmap(HDC dc, const Shape& shape) {
  if (!shape.mask) {
    return false;
  }
  BITMAP data;
  if (!ReadBitmap(shape.mask.Get(), data)) {
    QX_LOG_ERROR("GetObject hbmMask failed: {}", LastError());
    return false;
  }
  if (data.bmWidth < 1 || data.bmHeight < 1 || data.bmWidth > kMaxSide ||
      data.bmHeight > kMaxSide) {
    return false;
  }
  m_width = data.bmWidth;
  m_height = data.bmHeight;
  const auto pixelCount = [this] {
    return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
  };
  m_mask.assign(pixelCount(), 0);
  if (!ReadPixels(dc, shape.mask.Get(), m_width, m_height, m_mask.data())) {
    QX_LOG_ERROR("GetDIBits hbmMask failed: {}", LastError());
    return false;
  }
  if (!shape.color) {
    // The XOR plane lies below the AND plane.
    m_height /= 2;
    const auto begin = m_mask.begin() + static_cast<std::ptrdiff_t>(pixelCount());
    m_pixels.assign(begin, begin + static_cast<std::ptrdiff_t>(pixelCount()));
    CombineWithMask(m_pixels, m_mask);
  } else {
    m_pixels.assign(pixelCount(), 0);
    if (!ReadPixels(dc, shape.color.Get(), m_width, m_height, m_pixels.data())) {
      QX_LOG_ERROR("GetDIBits hbmColor failed: {}", LastError());
      return false;
    }
    if (!HasAlpha(m_pixels)) {
      CombineWithMask(m_pixels, m_mask);
    }
  }
  Premultiply(m_pixels);
  return true;
}

}  // namespace qx
