// The frame of a window share's test.
#pragma once

#include <string>
#include <vector>

#include "platform/control/Ledger.h"
#include "tests/share/ShareTest.h"

namespace qx::test {

// Adds a window of another program, 100x80 in kWindowColor with a mark in its corner,
// to the machine of a share's test. Windows 10 prints it, Windows 7 without
// composition copies it from the screen.
class WindowShareTest : public ShareTest {
 protected:
  static constexpr std::uint32_t kWindowColor = 0xC8280A;
  static constexpr std::uint32_t kMarkColor = 0x0A141E;
  static constexpr RECT kWindowRect = {40, 30, 140, 110};

  static void useClassicWindows7() {
    vwin::control::SetVersion(vwin::control::kWindows7);
    vwin::control::SetComposition(false);
  }

  static HWND openShared(vwin::control::WindowSpec wanted = {}) {
    wanted.title = L"Shared";
    wanted.rect = kWindowRect;
    wanted.color = RGB(0xC8, 0x28, 0x0A);
    const HWND opened = vwin::control::OpenWindow(wanted);
    vwin::control::Fill(opened, {0, 0, 10, 10}, RGB(0x0A, 0x14, 0x1E));
    return opened;
  }

  using ShareTest::startWindow;
  void startWindow() { startWindow(window); }

  // Runs ticks until a moved window is captured again.
  static void settleMove() { vwin::control::Advance(500ms); }

  testing::AssertionResult showsWindow() const {
    return Shows(host.LastFrame(), kWindowColor, {{0, 0, 10, 10, kMarkColor}});
  }

  HWND window = openShared();
};

}  // namespace qx::test
