// What the screen shows of other programs' windows, and what a click reaches.
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class CompositorTest : public DesktopTest {};

TEST_F(CompositorTest, CutsChildrenAtTheirParentAndLeavesOutWhatIsHiddenOrCloaked) {
  const HWND parent = OpenWindow({.rect = {110, 40, 160, 90}, .color = kRed});
  const HWND child = OpenWindow({.rect = {150, 80, 190, 100}, .color = kGreen, .parent = parent});
  TestBitmap edge(2, 1);
  EXPECT_TRUE(edge.CopyScreen(159, 89));
  EXPECT_EQ(edge.Pixels(), (std::vector<std::uint32_t>{kGreenPixel, kDesktopPixel}));
  Hide(child);
  EXPECT_EQ(screenAt(159, 89), kRedPixel);
  SetCloaked(parent, true);
  EXPECT_EQ(screenAt(159, 89), kDesktopPixel);
  DWORD cloaked = 0;
  SetVersion(kWindows7);
  EXPECT_EQ(DwmGetWindowAttribute(parent, DWMWA_CLOAKED, &cloaked, sizeof(cloaked)), E_INVALIDARG);

  SetCursorShape({.width = 2, .height = 1, .pixels = {0xFFC81E0A, 0x00FFFFFF}});
  CURSORINFO cursor{};
  cursor.cbSize = sizeof(cursor);
  ASSERT_TRUE(GetCursorInfo(&cursor));
  edge.Fill({0, 0, 2, 1}, kGreen);
  EXPECT_TRUE(DrawIcon(edge.dc(), 0, 0, cursor.hCursor));
  EXPECT_EQ(edge.Pixels(), (std::vector<std::uint32_t>{kRedPixel, kGreenPixel}));
}

TEST_F(CompositorTest, MixesLayeredWindows) {
  const HWND window = OpenWindow({.rect = {0, 0, 100, 100}, .color = kRed});
  Fill(window, {50, 0, 100, 100}, kGreen);
  // 25 of 255 over the desktop's 32, 64, 96.
  SetLayered(window, std::nullopt, std::uint8_t{25});
  EXPECT_EQ(screenAt(10, 10), 0x00303D58u);
  SetLayered(window, kGreen, std::nullopt);
  EXPECT_EQ(screenAt(10, 10), kRedPixel);
  EXPECT_EQ(screenAt(60, 10), kDesktopPixel);
  SetLayered(window, kGreen, std::uint8_t{128});
  EXPECT_EQ(screenAt(10, 10), 0x00742F35u);
  EXPECT_EQ(screenAt(60, 10), kDesktopPixel);
  SetExStyle(window, 0);
  EXPECT_EQ(screenAt(60, 10), kGreenPixel);
  SetExStyle(window, WS_EX_LAYERED);
  EXPECT_EQ(screenAt(60, 10), kDesktopPixel) << "without attributes it shows nothing";
  SetLayered(window, std::nullopt, std::uint8_t{255});
  EXPECT_EQ(screenAt(10, 10), kRedPixel);
  SetComposition(false);
  EXPECT_EQ(screenAt(10, 10), kDesktopPixel) << "left out";
  EXPECT_EQ(screenAt(10, 10, SRCCOPY | CAPTUREBLT), kRedPixel);
}

TEST_F(CompositorTest, PointsReachWhatAClickWouldReach) {
  const HWND low = OpenWindow({.rect = {0, 0, 100, 100}, .color = kRed});
  const HWND high = OpenWindow({.rect = {0, 0, 100, 100}, .color = kGreen});
  const HWND child = OpenWindow({.rect = {0, 0, 10, 10}, .parent = high});
  EXPECT_EQ(WindowFromPoint({5, 5}), child);
  EXPECT_EQ(WindowFromPoint({50, 50}), high);
  SetLayered(high, std::nullopt, std::uint8_t{128});
  EXPECT_EQ(WindowFromPoint({50, 50}), high);
  SetLayered(high, kGreen, std::nullopt);
  EXPECT_EQ(WindowFromPoint({50, 50}), low) << "through the key colour";
  SetLayered(high, std::nullopt, std::uint8_t{255});
  SetExStyle(high, WS_EX_LAYERED | WS_EX_TRANSPARENT);
  EXPECT_EQ(WindowFromPoint({5, 5}), low);
  Hide(low);
  EXPECT_EQ(WindowFromPoint({50, 50}), GetDesktopWindow());
  EXPECT_EQ(WindowFromPoint({500, 50}), nullptr);
}

}  // namespace
}  // namespace qx::test
