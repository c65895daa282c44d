#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>

#include "common/Logging.h"
#include "win/util/Handles.h"
#include "win/util/Thread.h"

namespace qx {

// What the frames around a monitor (PromptDesktop) and around a window (PromptWindow)
// have in common: a click-through, half-transparent popup with a thread of its own,
// which paints strips along its edges. White is its transparent colour.
//
// One life: Start, Stop. The setters and getters may be called from any thread, Start
// and Stop from any but the frame's own.
class PromptFrame {
 public:
  // What the two kinds differ in.
  struct Kind {
    const wchar_t* className;
    const char* logName;
    LogRateLimiter& emptyClientLog;
  };

  // With `show` false nothing is painted but white.
  PromptFrame(const Kind& kind, bool show);
  PromptFrame(const PromptFrame&) = delete;
  PromptFrame& operator=(const PromptFrame&) = delete;
  ~PromptFrame() { Stop(); }

  // Runs `life` on the frame's thread and returns when it serves the window (true) or
  // has ended before (false). A life is: Open, what else the window needs, Serve, and
  // an end for the window that TakeWindow gives.
  bool Start(std::function<void()> life);
  // Returns when the life has ended and the thread is gone. Needs no window: it may
  // have been destroyed from outside. Does nothing when not started.
  void Stop();

  // For the life. Makes the window, still hidden, in pixels of the virtual screen; null
  // when there can't be one.
  HWND Open(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height);
  // For the life. Handles messages until Stop or until the window is destroyed.
  void Serve();
  // For the life. From now on the frame has no window; null when it has none already.
  HWND TakeWindow() { return m_hwnd.exchange(nullptr); }

  void SetShow(bool show);
  void SetLook(const IScreenCapture::PromptWindowInfo& info);

  // Null while there is no window.
  HWND GetHwnd() const { return m_hwnd; }
  COLORREF GetColor() const { return m_color; }
  std::int32_t GetWidth() const { return m_width; }

 private:
  enum class State { NotStarted, Starting, Up, Ended };

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam,
                                          LPARAM lParam) noexcept;

  bool attachTo(HWND window);
  void enterState(State state);
  void invalidate();
  bool paint(HWND window);
  void paintStrips(HDC dc, const RECT& client);

  const Kind m_kind;
  std::atomic<bool> m_show;
  std::atomic<bool> m_running = false;
  std::atomic<State> m_state = State::NotStarted;
  std::atomic<HWND> m_hwnd = nullptr;
  std::atomic<COLORREF> m_color;
  std::atomic<std::int32_t> m_width;
  KernelHandle m_stateChanged;  // auto-reset; the thread enters Up and Ended
  Thread m_thread;
};

}  // namespace qx
