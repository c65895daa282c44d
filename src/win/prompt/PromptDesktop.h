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
// share, not started twice. Start and Stop come from the owner of the share, the
// others from any thread but the frame's own.
class PromptDesktop {
 public:
  // `monitor` in pixels of the virtual screen. With `show` false the window is
  // there and can't be seen.
  PromptDesktop(const RECT& monitor, bool show);
  PromptDesktop(const PromptDesktop&) = delete;
  PromptDesktop& operator=(const PromptDesktop&) = delete;
  ~PromptDesktop() { Stop(); }

  // Returns when the window is up (true) or can't be (false).
  bool Start();
  // Returns when window and thread are gone. Does nothing when not started.
  void Stop() { m_frame.Stop(); }

  void Show(bool show);
  void SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info);
  void UpdatePosition(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height);

  // Null while there is no window.
  HWND GetHwnd() const { return m_frame.GetHwnd(); }
  COLORREF GetColor() const { return m_frame.GetColor(); }
  std::int32_t GetWidth() const { return m_frame.GetWidth(); }

 private:
  struct Position {
    std::int32_t x;
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
    bool operator==(const Position&) const = default;
  };

  void live();

  Position m_position;  // the thread's until Start has returned
  PromptFrame m_frame;
};

}  // namespace qx
