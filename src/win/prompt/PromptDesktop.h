#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>

#include "win/prompt/PromptFrame.h"

namespace qx {

// The coloured frame along the inside of a monitor's edges while it is shared: a
// topmost, click-through, half-transparent window with a thread of its own.
// White is its transparent colour.
//
// Order of calls: constructor, SetPromptWindowInfo, Start, then any, Stop. One
// share, not started twice. All calls come from one thread, the share's capture thread.
// Only Start and Stop wait for the frame's thread: what the others ask for happens a
// little later.
class PromptDesktop {
 public:
  // `monitor` in pixels of the virtual screen. With `show` false the window is
  // there and can't be seen.
  PromptDesktop(const RECT& monitor, bool show);

  // Returns when the window is up (true) or can't be (false).
  bool Start();
  // Returns when window and thread are gone, or after kPatienceMs. Does nothing when not
  // started.
  void Stop() { m_frame.Stop(); }

  void Show(bool show);
  void SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info);
  void UpdatePosition(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height);

  // Null while there is no window.
  HWND GetHwnd() const { return m_frame.GetHwnd(); }
  COLORREF GetColor() const { return m_frame.Asked().look.color; }
  std::int32_t GetWidth() const { return m_frame.Asked().look.width; }

 private:
  PromptFrame m_frame;
};

}  // namespace qx
