#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "win/engine/ScreenCaptureEngine.h"
#include "win/engine/ScreenCaptureFrame.h"
#include "win/engine/gdi/LayeredMarks.h"
#include "win/engine/gdi/MemoryPicture.h"
#include "win/engine/gdi/WindowPrinter.h"
#include "win/util/Handles.h"

namespace qx {

// The last resort: works on every Windows and needs no graphics hardware. It
// copies a rectangle of the desktop, or has one window print itself. Pictures
// always have the captured size; it never scales and never says NoChange.
//
// The picture is drawn where the frame shows it: capturing makes no copy of it. One that
// was delivered is left alone until another one is, since it may be repeated.
//
// Without desktop composition it keeps windows out of a copy by making them
// layered while they are named, since a plain copy leaves layered windows out. While one of
// them can't be made so it answers FilterFailed.
class ScreenCaptureEngineGDI : public ScreenCaptureEngine {
 public:
  // `window` is what is shared, null for a monitor. `bitBlt`: copy the desktop; else the
  // window prints itself.
  // `filterWindows` may be empty.
  ScreenCaptureEngineGDI(HWND window, bool bitBlt, FilterWindowProvider filterWindows);

  // Always true. What the system refuses here shows in the captures.
  bool Initialize() override;
  // Also lets go of the windows that this engine wants layered.
  void UnInitialize() override;
  CaptureEngineType GetEngineType() const override;
  // For a printing window the rectangle's position only places the cursor.
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  bool IsDesktopBased() const override { return m_bitBlt; }
  bool IsWaiting() const override { return m_printer && m_printer->IsWaiting(); }

 private:
  void releaseHandles();
  bool copyDesktop(const RECT& rect, ScreenCaptureFrame& frame, CaptureResult& result);
  bool printWindow(const RECT& rect, ScreenCaptureFrame& frame, CaptureResult& result);
  void drawCursor(HDC dc, const RECT& rect) const;
  bool hideWindows(const RECT& rect);
  bool isWindowLeftOut() const;
  static bool useLast(const ScreenCaptureFrame& frame);
  static void show(const MemoryPicture& picture, ScreenCaptureFrame& frame);

  const HWND m_window;
  const bool m_bitBlt;
  const FilterWindowProvider m_filterWindows;
  WindowDc m_screenDC;
  MemoryCanvas m_canvas;                     // copies of the desktop
  MemoryCanvas m_otherCanvas;                // takes turns with it
  std::unique_ptr<WindowPrinter> m_printer;  // when the window prints itself
  std::vector<HWND> m_hiddenWindows;         // as of the last capture
  LayeredMarks m_marks;
};

}  // namespace qx
