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
// target, not started twice. All calls come from one thread, the share's capture thread.
// Only Start and Stop wait for the frame's thread: what the others ask for happens a
// little later, and when the target hangs and takes the frame's thread along, much later.
class PromptWindow {
 public:
  // With `show` false the window is there and can't be seen.
  PromptWindow(HWND target, bool show);

  // Returns when the window is up (true) or can't be (false). It has no size yet.
  bool Start();
  // Returns when window and thread are gone, also when the target took the window
  // along, or after kPatienceMs. Does nothing when not started.
  void Stop() { m_frame.Stop(); }

  // Follows the target: the frame lies around `rectWindow`, cut at the edges of
  // `rectDesktop`, both in pixels of the virtual screen. Does nothing when neither
  // these nor `show` have changed.
  void UpdatePosition(bool show, const RECT& rectDesktop, const RECT& rectWindow);
  // Puts the frame above all windows that are not topmost.
  void SetTopmost();
  // Whether the frame is painted. Hiding the window is UpdatePosition's.
  void ShowPrompt(bool show);
  // A new thickness moves the frame when UpdatePosition next finds a change.
  void SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info);

  // Null while there is no window.
  HWND GetHwnd() const { return m_frame.GetHwnd(); }
  COLORREF GetColor() const { return m_frame.Asked().look.color; }
  std::int32_t GetWidth() const { return m_frame.Asked().look.width; }

 private:
  const HWND m_target;
  RECT m_rectDesktop = {};
  RECT m_rectWindow = {};
  PromptFrame m_frame;
};

}  // namespace qx
