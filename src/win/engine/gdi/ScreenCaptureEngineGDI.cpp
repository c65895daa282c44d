#include "win/engine/gdi/ScreenCaptureEngineGDI.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "common/Logging.h"
#include "win/util/PictureInfo.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

// Asks for what a window shows through the compositor. Not in older headers.
constexpr UINT kPrintFullContent = 2;

bool Contains(const std::vector<HWND>& windows, HWND window) {
  return std::find(windows.begin(), windows.end(), window) != windows.end();
}

// The window is not ours, and nobody else would give its style back: a call that
// failed gets a second chance.
bool MakePlain(HWND window) {
  constexpr int kAttempts = 2;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    WindowsUtil::SetWindowLayered(window, false);
    if (!WindowsUtil::IsLayeredWindow(window)) {
      return true;
    }
  }
  return false;
}

bool MakeRect(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height, RECT& rect) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  if (width < 1 || height < 1 || std::int64_t{x} + width > kMax ||
      std::int64_t{y} + height > kMax) {
    return false;
  }
  rect = {x, y, x + width, y + height};
  return true;
}

}  // namespace

ScreenCaptureEngineGDI::ScreenCaptureEngineGDI(HWND window, bool bitBlt,
                                               FilterWindowProvider filterWindows)
    : m_window(window), m_bitBlt(bitBlt), m_filterWindows(std::move(filterWindows)) {}

bool ScreenCaptureEngineGDI::Initialize() {
  QX_LOG_INFO("ScreenCaptureEngineGDI bitblt: {}", m_bitBlt ? "true" : "false");
  releaseHandles();
  const HWND source = m_window ? m_window : GetDesktopWindow();
  m_screenDC = WindowDc(GetDC(source), {source});
  m_memoryDC = MemoryDc(CreateCompatibleDC(m_screenDC.Get()));
  return true;
}

void ScreenCaptureEngineGDI::UnInitialize() {
  clearLayeredWindows();
  releaseHandles();
}

void ScreenCaptureEngineGDI::releaseHandles() {
  // A bitmap can't be deleted while a DC holds it.
  m_memoryDC.Reset();
  m_pixels.reset();
  m_screenDC.Reset();
}

CaptureEngineType ScreenCaptureEngineGDI::GetEngineType() const {
  return m_bitBlt ? IScreenCapture::CaptureEngineGDIBitBlt
                  : IScreenCapture::CaptureEngineGDIPrintWindow;
}

bool ScreenCaptureEngineGDI::Capture(std::int32_t x, std::int32_t y, std::int32_t width,
                                     std::int32_t height, ScreenCaptureFrame& frame,
                                     CaptureResult& result) {
  result = CaptureResult::Failed;
  RECT rect;
  if (!MakeRect(x, y, width, height, rect) || !m_memoryDC) {
    return false;
  }
  if (!resizePicture(width, height)) {
    QX_LOG_LIMITED(LogLevelWarn, "resize buffer failed, use last");
    return frame.Buffer() != nullptr;
  }
  const bool drawn = m_bitBlt ? copyDesktop(rect) : printWindow();
  if (m_showCursor) {
    drawCursor(rect);
  }
  GdiFlush();  // the system may still be drawing
  frame.Adopt(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), m_pixels);
  if (drawn) {
    result = CaptureResult::Success;
  }
  return drawn;
}

// On failure the old bitmap stays selected, and is not to be drawn to: its size
// is not the one asked for.
bool ScreenCaptureEngineGDI::resizePicture(std::int32_t width, std::int32_t height) {
  if (m_pixels && width == m_width && height == m_height) {
    return true;
  }
  if (!ScreenCaptureFrame::CanHold(static_cast<std::uint32_t>(width),
                                   static_cast<std::uint32_t>(height))) {
    return false;
  }
  const BITMAPINFO info = PictureInfo(width, height);
  void* pixels = nullptr;
  auto bitmap = std::make_shared<GdiBitmap>(
      CreateDIBSection(m_screenDC.Get(), &info, DIB_RGB_COLORS, &pixels, nullptr, 0));
  if (!*bitmap || !SelectObject(m_memoryDC.Get(), bitmap->Get())) {
    QX_LOG_LIMITED(LogLevelWarn, "ScreenCaptureEngineGDI has no bitmap of {}x{},last Error:{}",
                   width, height, static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  m_pixels = {std::move(bitmap), static_cast<std::uint8_t*>(pixels)};
  m_width = width;
  m_height = height;
  return true;
}

bool ScreenCaptureEngineGDI::copyDesktop(const RECT& rect) {
  updateLayeredWindows(rect);
  // Without CAPTUREBLT: that would bring layered windows in.
  if (BitBlt(m_memoryDC.Get(), 0, 0, m_width, m_height, m_screenDC.Get(), rect.left, rect.top,
             SRCCOPY)) {
    return true;
  }
  QX_LOG_WARN("BitBlt failed,last Error:{}", static_cast<std::uint32_t>(GetLastError()));
  return false;
}

bool ScreenCaptureEngineGDI::printWindow() {
  if (WindowsUtil::IsWindows10OrGreater()) {
    if (PrintWindow(m_window, m_memoryDC.Get(), kPrintFullContent)) {
      return true;
    }
    QX_LOG_WARN("PrintWindow in Windows 10 failed,last Error:{}",
                static_cast<std::uint32_t>(GetLastError()));
  }
  if (PrintWindow(m_window, m_memoryDC.Get(), 0)) {
    return true;
  }
  QX_LOG_WARN("PrintWindow failed,last Error:{}", static_cast<std::uint32_t>(GetLastError()));
  return false;
}

void ScreenCaptureEngineGDI::drawCursor(const RECT& rect) {
  CURSORINFO cursor = {};
  cursor.cbSize = sizeof(cursor);
  if (!GetCursorInfo(&cursor) || !(cursor.flags & CURSOR_SHOWING) ||
      !PtInRect(&rect, cursor.ptScreenPos)) {
    return;
  }
  DrawIcon(m_memoryDC.Get(), cursor.ptScreenPos.x - rect.left, cursor.ptScreenPos.y - rect.top,
           cursor.hCursor);
}

void ScreenCaptureEngineGDI::updateLayeredWindows(const RECT& rect) {
  if (WindowsUtil::IsDwmCompositionEnabled() || !m_filterWindows) {
    return;
  }
  m_filterWindows(rect, m_hiddenWindows);
  std::erase_if(m_layeredWindows, [&](HWND window) {
    return !Contains(m_hiddenWindows, window) && MakePlain(window);
  });
  for (const HWND window : m_hiddenWindows) {
    // A window that is layered by itself stays out of the copy and out of our hands.
    if (!Contains(m_layeredWindows, window) && !WindowsUtil::IsLayeredWindow(window)) {
      // Recorded first, so that it is given back whatever happens.
      m_layeredWindows.push_back(window);
      WindowsUtil::SetWindowLayered(window, true);
    }
  }
}

void ScreenCaptureEngineGDI::clearLayeredWindows() {
  for (const HWND window : m_layeredWindows) {
    if (!MakePlain(window)) {
      QX_LOG_WARN("window {:#08x} stays layered,last Error:{}",
                  reinterpret_cast<std::uintptr_t>(window),
                  static_cast<std::uint32_t>(GetLastError()));
    }
  }
  m_layeredWindows.clear();
}

}  // namespace qx
