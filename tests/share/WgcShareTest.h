// The frame of a test of shares that Windows.Graphics.Capture serves.
#pragma once

#include <cstdint>
#include <tuple>

#include "tests/share/ShareTest.h"

namespace qx::test {

// A share's test on Windows 11, where WGC comes first and GDI takes over when it can't go
// on. There is a window of 100x80 whose picture is one colour, with a mark in a corner.
class WgcShareTest : public ShareTest {
 protected:
  static constexpr std::uint32_t kColor = 0x0A781E;
  static constexpr std::uint32_t kMark = 0xC80AF0;

  WgcShareTest() {
    vwin::control::SetVersion(vwin::control::kWindows11);
    allowEngines({kWgc, kBitBlt, kPrint});
    capture.EnableActiveShareWindow(false);
    vwin::control::Fill(window, {10, 10, 30, 20}, RGB(0xC8, 0x0A, 0xF0));
  }

  using ShareTest::startWindow;
  void startWindow() { startWindow(window); }

  // The last frame is a picture of the window, which is cut by 2 pixels at each side and
  // scaled to its size again: what is near an edge between colours isn't looked at.
  testing::AssertionResult showsWindow(int width = 100, int height = 80) {
    const Frame frame = host.LastFrame();
    if (frame.width != width || frame.height != height) {
      return testing::AssertionFailure() << frame.width << 'x' << frame.height << '\n'
                                         << log.Dump();
    }
    const auto at = [&](int x, int y) {
      return frame.At((x - 2) * width / (width - 4), (y - 2) * height / (height - 4));
    };
    for (const auto& [x, y, rgb] : {std::tuple(2, 2, kColor),
                                    {width - 3, 2, kColor},
                                    {2, height - 3, kColor},
                                    {width - 3, height - 3, kColor},
                                    {20, 15, kMark},
                                    {40, 40, kColor}}) {
      if (at(x, y) != rgb) {
        return testing::AssertionFailure()
               << std::hex << at(x, y) << " at " << std::dec << x << ',' << y << '\n'
               << log.Dump();
      }
    }
    return testing::AssertionSuccess();
  }

  static std::uint64_t starts() {
    return vwin::control::Count("IGraphicsCaptureSession::StartCapture");
  }

  const HWND window =
      vwin::control::OpenWindow({.rect = {20, 30, 120, 110}, .color = RGB(0x0A, 0x78, 0x1E)});
};

}  // namespace qx::test
