#pragma once

#include <windows.h>

#include <cstdint>

#include "tests/platform/TestWindow.h"

namespace qx::test {

// A window in one colour, topmost by default, with a thread and a message loop of its own.
// It is on the screen when the constructor returns, as far as this process can
// tell, and gone after the destructor.
class ColorWindow {
 public:
  // `rgb` is 0x00RRGGBB.
  ColorWindow(const RECT& rect, std::uint32_t rgb, DWORD exStyle = WS_EX_TOPMOST)
      : m_thread([this, rect, rgb, exStyle] {
          const COLORREF color = RGB(rgb >> 16 & 0xFF, rgb >> 8 & 0xFF, rgb & 0xFF);
          TestWindow window(rect, color, exStyle);
          m_window = window;
          window.Show();
          m_opened.Set();
          MSG message = {};
          while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            DispatchMessageW(&message);
          }
        }) {
    m_opened.Wait();
  }
  ~ColorWindow() { PostThreadMessageW(m_thread.id(), WM_QUIT, 0, 0); }
  ColorWindow(const ColorWindow&) = delete;
  ColorWindow& operator=(const ColorWindow&) = delete;

  HWND Handle() const { return m_window; }

 private:
  HWND m_window = nullptr;
  TestEvent m_opened;
  TestThread m_thread;  // ends first
};

}  // namespace qx::test
