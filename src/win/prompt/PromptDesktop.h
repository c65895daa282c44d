#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <atomic>
#include <cstdint>

#include "win/util/Handles.h"
#include "win/util/Thread.h"

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
  void Stop();

  void Show(bool show);
  void SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info);
  void UpdatePosition(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height);

  // Null while there is no window.
  HWND GetHwnd() const { return m_hwnd; }
  COLORREF GetColor() const { return m_color; }
  std::int32_t GetWidth() const { return m_width; }

 private:
  enum class State { NotStarted, Starting, Up, Ended };
  struct Position {
    std::int32_t x;
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
    bool operator==(const Position&) const = default;
  };

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam,
                                          LPARAM lParam) noexcept;

  void run();
  bool createWindow();
  void serveMessages();
  void enterState(State state);
  void invalidate();
  bool paint(HWND window);
  void paintFrame(HDC dc, const RECT& client) const;

  Position m_position;  // the thread's until Start has returned
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
