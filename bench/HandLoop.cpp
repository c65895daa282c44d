#include "HandLoop.h"

#include <libyuv.h>
#include <windows.h>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "PacedLoop.h"
#include "src/win/util/PictureInfo.h"

namespace {

// Draws into a DIB section whose memory is the picture, so that nothing is copied but by
// the system, and keeps all that it draws with. Two sections take turns for a window: what
// has come before it meanwhile must not be shown, and then the last picture is repeated.
class HandLoop {
 public:
  explicit HandLoop(const Round& round)
      : m_left(round.rect.left),
        m_top(round.rect.top),
        m_width(round.rect.right - round.rect.left),
        m_height(round.rect.bottom - round.rect.top),
        m_screen(GetDC(GetDesktopWindow())),
        m_memory(CreateCompatibleDC(m_screen)),
        m_section(makeSection()),
        m_otherSection(round.window ? makeSection() : Section()),
        m_before(SelectObject(m_memory, m_section.bitmap)),
        m_planes(round.i420 ? count() * 3 / 2 : 0) {
    if (!round.window) {
      m_neighbour.emplace();
    }
  }
  HandLoop(const HandLoop&) = delete;
  HandLoop& operator=(const HandLoop&) = delete;

  ~HandLoop() {
    SelectObject(m_memory, m_before);
    DeleteObject(m_section.bitmap);
    DeleteObject(m_otherSection.bitmap);
    DeleteDC(m_memory);
    ReleaseDC(GetDesktopWindow(), m_screen);
  }

  bool Capture() {
    if (m_otherSection.bitmap) {
      std::swap(m_section, m_otherSection);
      SelectObject(m_memory, m_section.bitmap);
    }
    if (!m_section.argb ||
        !BitBlt(m_memory, 0, 0, m_width, m_height, m_screen, m_left, m_top, SRCCOPY)) {
      return false;
    }
    GdiFlush();
    if (m_planes.empty()) {
      return true;
    }
    const auto [y, u, v] = planes();
    return libyuv::ARGBToI420(pixels(), m_width * 4, y, m_width, u, m_width / 2, v, m_width / 2,
                              m_width, m_height) == 0;
  }

  IScreenCapture::ScreenFrameData Picture() {
    IScreenCapture::ScreenFrameData frame;
    frame.width = m_width;
    frame.height = m_height;
    if (m_planes.empty()) {
      frame.data = pixels();
      frame.stride = m_width * 4;
    } else {
      const auto [y, u, v] = planes();
      frame.format = IScreenCapture::ScreenFrameFormatI420;
      frame.dataY = y;
      frame.dataU = u;
      frame.dataV = v;
      frame.strideY = m_width;
      frame.strideU = frame.strideV = m_width / 2;
    }
    return frame;
  }

 private:
  struct Planes {
    std::uint8_t* y;
    std::uint8_t* u;
    std::uint8_t* v;
  };

  struct Section {
    HBITMAP bitmap = nullptr;
    void* argb = nullptr;
  };

  Section makeSection() const {
    const BITMAPINFO info = qx::PictureInfo(m_width, m_height);
    Section section;
    section.bitmap = CreateDIBSection(m_screen, &info, DIB_RGB_COLORS, &section.argb, nullptr, 0);
    return section;
  }

  std::size_t count() const {
    return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
  }

  std::uint8_t* pixels() { return static_cast<std::uint8_t*>(m_section.argb); }

  Planes planes() {
    std::uint8_t* const y = m_planes.data();
    return {y, y + count(), y + count() * 5 / 4};
  }

  // Of a monitor: a capturing thread that another one of its process often wakes up beside
  // is dearer by a tenth where the machine is busy.
  std::optional<Neighbour> m_neighbour;
  const int m_left;
  const int m_top;
  const int m_width;
  const int m_height;
  const HDC m_screen;
  const HDC m_memory;
  Section m_section;
  Section m_otherSection;  // with the last picture, or none
  const HGDIOBJ m_before;
  std::vector<std::uint8_t> m_planes;
};

}  // namespace

double HandLoopMicrosPerFrame(const Round& round) { return PacedMicrosPerFrame<HandLoop>(round); }
