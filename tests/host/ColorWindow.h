#pragma once

#include <windows.h>

#include <cstdint>

namespace qx::test {

// A topmost window in one colour, with a thread and a message loop of its own.
// It is on the screen when the constructor returns, as far as this process can
// tell, and gone after the destructor.
class ColorWindow {
 public:
  // `rgb` is 0x00RRGGBB.
  ColorWindow(const RECT& rect, std::uint32_t rgb);
  ColorWindow(const ColorWindow&) = delete;
  ColorWindow& operator=(const ColorWindow&) = delete;
  ~ColorWindow();

  HWND Handle() const { return m_window; }

 private:
  void run();

  const RECT m_rect;
  const std::uint32_t m_rgb;
  HWND m_window = nullptr;
  HANDLE m_opened = nullptr;
  HANDLE m_thread = nullptr;
};

}  // namespace qx::test
