#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>

#include "win/prompt/PromptFrame.h"

namespace qx {

// The coloured frame around a window while it is shared: a click-through,
// half-transparent window with a thread of its own, owned by the shared window, so
// that it goes up and down with it. White is its transparent colour.
//
// Order of calls: constructor, SetPromptWindowInfo, Start, then any, Stop. One
// target, not started twice. All calls come from the capture thread, never from the
// frame's own.
class PromptWindow {
 public:
  // With `show` false the window is there and can't be seen.
  PromptWindow(HWND target, bool show);
  PromptWindow(const PromptWindow&) = delete;
  PromptWindow& operator=(const PromptWindow&) = delete;
  ~PromptWindow() { Stop(); }

  // Returns when the window is up (true) or can't be (false). It has no size yet.
  bool Start();
  // Returns when window and thread are gone, also when the target took the window
  // along. Does nothing when not started.
  void Stop();

  // Follows the target: the frame lies around `rectWindow`, cut at the edges of
  // `rectDesktop`, both in pixels of the virtual screen. Does nothing when neither
  // these nor `show` have changed.
  void UpdatePosition(bool show, const RECT& rectDesktop, const RECT& rectWindow);
  // Whether the frame is painted. Hiding the window is UpdatePosition's.
  void ShowPrompt(bool show);
  // A new thickness moves the frame when UpdatePosition next finds a change.
  void SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info);

  // Null while there is no window.
  HWND GetHwnd() const { return m_frame.GetHwnd(); }
  COLORREF GetColor() const { return m_frame.GetColor(); }
  std::int32_t GetWidth() const { return m_frame.GetWidth(); }

 private:
  void live();

  const HWND m_target;
  bool m_shown = true;  // what the last ShowWindow did
  RECT m_rectDesktop = {};
  RECT m_rectWindow = {};
  PromptFrame m_frame;
};

}  // namespace qx
