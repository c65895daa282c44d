#pragma once

#include <cstdint>
#include <vector>

#include "win/engine/ScreenCaptureEngine.h"
#include "win/engine/ScreenCaptureFrame.h"
#include "win/util/Handles.h"

namespace qx {

// The last resort: works on every Windows and needs no graphics hardware. It
// copies a rectangle of the desktop, or has one window print itself. Pictures
// always have the captured size; it never scales and never says NoChange.
//
// The picture is drawn where the frame shows it: capturing makes no copy of it.
//
// Without desktop composition it keeps windows out of a copy by making them
// layered while they are named, since a plain copy leaves layered windows out.
class ScreenCaptureEngineGDI : public ScreenCaptureEngine {
 public:
  // `bitBlt`: copy the desktop, and `window` is null; else `window` prints itself.
  // `filterWindows` may be empty.
  ScreenCaptureEngineGDI(HWND window, bool bitBlt, FilterWindowProvider filterWindows);

  // Always true. What the system refuses here shows in the captures.
  bool Initialize() override;
  // Also makes the windows plain again that this engine made layered.
  void UnInitialize() override;
  CaptureEngineType GetEngineType() const override;
  // For a printing window the rectangle's position only places the cursor.
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  bool IsDesktopBased() const override { return m_bitBlt; }

 private:
  void releaseHandles();
  bool resizePicture(std::int32_t width, std::int32_t height);
  bool copyDesktop(const RECT& rect);
  bool printWindow();
  void drawCursor(const RECT& rect);
  void updateLayeredWindows(const RECT& rect);
  void clearLayeredWindows();

  const HWND m_window;
  const bool m_bitBlt;
  const FilterWindowProvider m_filterWindows;
  WindowDc m_screenDC;
  // The memory of a bitmap that lives as long as this or a frame that shows it. Selected
  // into m_memoryDC, so it goes after that.
  ScreenCaptureFrame::Pixels m_pixels;
  MemoryDc m_memoryDC;
  std::int32_t m_width = 0;  // of the bitmap
  std::int32_t m_height = 0;
  std::vector<HWND> m_hiddenWindows;   // as of the last capture
  std::vector<HWND> m_layeredWindows;  // those that this engine has made layered
};

}  // namespace qx
