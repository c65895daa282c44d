#include "win/engine/gdi/ScreenCaptureEngineGDI.h"

#include <limits>
#include <utility>

#include "common/Logging.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

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
  const HWND source = m_bitBlt ? GetDesktopWindow() : m_window;
  m_screenDC = WindowDc(GetDC(source), {source});
  if (!m_screenDC) {
    QX_LOG_WARN("GetDC failed,last Error:{}", static_cast<std::uint32_t>(GetLastError()));
  }
  if (m_bitBlt) {
    m_canvas.dc = MakeMemoryDc(m_screenDC.Get());
  } else if (!m_printer) {
    m_printer = std::make_unique<WindowPrinter>(m_window, m_screenDC.Get());
  }
  return true;
}

void ScreenCaptureEngineGDI::UnInitialize() {
  m_marks.Clear();
  releaseHandles();
}

void ScreenCaptureEngineGDI::releaseHandles() {
  m_canvas.Reset();
  m_otherCanvas.Reset();
  // One that waits is kept: another one would wait as well.
  if (!IsWaiting()) {
    m_printer.reset();
  }
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
  if (!MakeRect(x, y, width, height, rect) || !m_screenDC) {
    return false;
  }
  return m_bitBlt ? copyDesktop(rect, frame, result) : printWindow(rect, frame, result);
}

bool ScreenCaptureEngineGDI::useLast(const ScreenCaptureFrame& frame) {
  QX_LOG_LIMITED(LogLevelWarn, "resize buffer failed, use last");
  return frame.Buffer() != nullptr;
}

bool ScreenCaptureEngineGDI::copyDesktop(const RECT& rect, ScreenCaptureFrame& frame,
                                         CaptureResult& result) {
  if (!m_canvas.dc) {
    return false;
  }
  const std::int32_t width = rect.right - rect.left;
  const std::int32_t height = rect.bottom - rect.top;
  const bool copiesAll = (!m_filterWindows && !m_window) || WindowsUtil::IsDwmCompositionEnabled();
  // What shows all of a monitor is never refused once it is there.
  const auto last =
      copiesAll && !m_window ? ScreenCaptureFrame::Last::Replaced : ScreenCaptureFrame::Last::Kept;
  if (!m_canvas.IsFree(frame, last)) {
    std::swap(m_canvas, m_otherCanvas);
  }
  if (!m_canvas.IsFree(frame, last)) {
    m_canvas.Reset();
  }
  if (!m_canvas.Prepare(m_screenDC.Get(), width, height)) {
    // The last picture may show what is to be left out by now.
    return !m_filterWindows && useLast(frame);
  }
  if (!copiesAll && !hideWindows(rect)) {
    result = CaptureResult::FilterFailed;
    return false;
  }
  // It may become layered while the copy is made.
  if (!copiesAll && isWindowLeftOut()) {
    return false;
  }
  // Without CAPTUREBLT: that would bring layered windows in.
  if (!BitBlt(m_canvas.dc.Get(), 0, 0, width, height, m_screenDC.Get(), rect.left, rect.top,
              SRCCOPY)) {
    QX_LOG_LIMITED(LogLevelWarn, "BitBlt failed,last Error:{}",
                   static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  if (!copiesAll && isWindowLeftOut()) {
    return false;
  }
  drawCursor(m_canvas.dc.Get(), rect);
  GdiFlush();  // the system may still be drawing
  show(m_canvas.picture, frame);
  result = CaptureResult::Success;
  return true;
}

bool ScreenCaptureEngineGDI::printWindow(const RECT& rect, ScreenCaptureFrame& frame,
                                         CaptureResult& result) {
  if (m_printer->IsWaiting()) {
    return false;
  }
  if (!m_printer->Prepare(m_screenDC.Get(), rect.right - rect.left, rect.bottom - rect.top)) {
    return useLast(frame);
  }
  if (!m_printer->Print()) {
    return false;
  }
  drawCursor(m_printer->Dc(), rect);
  show(m_printer->Take(), frame);
  result = CaptureResult::Success;
  return true;
}

void ScreenCaptureEngineGDI::show(const MemoryPicture& picture, ScreenCaptureFrame& frame) {
  frame.Adopt(static_cast<std::uint32_t>(picture.width), static_cast<std::uint32_t>(picture.height),
              picture.pixels);
}

void ScreenCaptureEngineGDI::drawCursor(HDC dc, const RECT& rect) const {
  CURSORINFO cursor = {};
  cursor.cbSize = sizeof(cursor);
  if (!m_showCursor || !GetCursorInfo(&cursor) || !(cursor.flags & CURSOR_SHOWING) ||
      !PtInRect(&rect, cursor.ptScreenPos)) {
    return;
  }
  DrawIcon(dc, cursor.ptScreenPos.x - rect.left, cursor.ptScreenPos.y - rect.top, cursor.hCursor);
}

// False when one that is to be kept out would show.
bool ScreenCaptureEngineGDI::hideWindows(const RECT& rect) {
  if (!m_filterWindows) {
    return true;
  }
  m_filterWindows(rect, m_hiddenWindows);
  return m_marks.Hide(m_hiddenWindows);
}

// Whether a copy shows what is behind the shared window instead of it: some windows are
// layered by themselves, others are so for another share, or were for this one and don't
// answer.
bool ScreenCaptureEngineGDI::isWindowLeftOut() const {
  if (!m_window) {
    return false;
  }
  const auto exStyle = WindowsUtil::ReadStyle(GetAncestor(m_window, GA_ROOT), GWL_EXSTYLE);
  if (exStyle && !WindowsUtil::HasAllBitsOf(*exStyle, WS_EX_LAYERED)) {
    return false;
  }
  QX_LOG_LIMITED(LogLevelWarn, "window {:#08x} is layered, a copy of the screen lacks it",
                 reinterpret_cast<std::uintptr_t>(m_window));
  return true;
}

}  // namespace qx
