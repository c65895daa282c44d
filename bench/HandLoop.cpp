#include "HandLoop.h"

#include <libyuv.h>
#include <windows.h>

#include <cstdint>
#include <vector>

#include "PacedLoop.h"

namespace {

class HandLoop {
 public:
  explicit HandLoop(const Round& round)
      : m_left(round.rect.left),
        m_top(round.rect.top),
        m_width(round.rect.right - round.rect.left),
        m_height(round.rect.bottom - round.rect.top),
        m_screen(GetDC(GetDesktopWindow())),
        m_memory(CreateCompatibleDC(m_screen)),
        m_bitmap(CreateCompatibleBitmap(m_screen, m_width, m_height)),
        m_before(SelectObject(m_memory, m_bitmap)),
        m_argb(count() * 4),
        m_planes(round.i420 ? count() * 3 / 2 : 0) {
    m_header.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    m_header.bmiHeader.biWidth = m_width;
    m_header.bmiHeader.biHeight = -m_height;
    m_header.bmiHeader.biPlanes = 1;
    m_header.bmiHeader.biBitCount = 32;
    m_header.bmiHeader.biCompression = BI_RGB;
  }
  HandLoop(const HandLoop&) = delete;
  HandLoop& operator=(const HandLoop&) = delete;

  ~HandLoop() {
    SelectObject(m_memory, m_before);
    DeleteObject(m_bitmap);
    DeleteDC(m_memory);
    ReleaseDC(GetDesktopWindow(), m_screen);
  }

  bool Capture() {
    if (!BitBlt(m_memory, 0, 0, m_width, m_height, m_screen, m_left, m_top, SRCCOPY) ||
        GetDIBits(m_memory, m_bitmap, 0, static_cast<UINT>(m_height), m_argb.data(), &m_header,
                  DIB_RGB_COLORS) != m_height) {
      return false;
    }
    if (m_planes.empty()) {
      return true;
    }
    std::uint8_t* const y = m_planes.data();
    std::uint8_t* const u = y + count();
    std::uint8_t* const v = u + count() / 4;
    return libyuv::ARGBToI420(m_argb.data(), m_width * 4, y, m_width, u, m_width / 2, v,
                              m_width / 2, m_width, m_height) == 0;
  }

 private:
  std::size_t count() const {
    return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
  }

  const int m_left;
  const int m_top;
  const int m_width;
  const int m_height;
  const HDC m_screen;
  const HDC m_memory;
  const HBITMAP m_bitmap;
  const HGDIOBJ m_before;
  BITMAPINFO m_header = {};
  std::vector<std::uint8_t> m_argb;
  std::vector<std::uint8_t> m_planes;
};

}  // namespace

double HandLoopMicrosPerFrame(const Round& round) { return PacedMicrosPerFrame<HandLoop>(round); }
