// What the screen shows of other programs' windows.
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class CompositorTest : public DesktopTest {};

TEST_F(CompositorTest, ShowsTheTopmostWindowThatIsThere) {
  EXPECT_EQ(screenAt(50, 50), kDesktopPixel);
  const HWND low = open({.rect = {10, 10, 100, 90}, .color = kRed});
  const HWND high = open({.rect = {40, 40, 150, 90}, .color = kGreen});
  EXPECT_EQ(screenAt(39, 50), kRedPixel);
  EXPECT_EQ(screenAt(40, 50), kGreenPixel);
  EXPECT_EQ(screenAt(150, 50), kDesktopPixel);
  struct Step {
    const char* what;
    std::function<void()> change;
    std::uint32_t pixel;
  };
  const Step steps[] = {
      {"to the top", [&] { ToTop(low); }, kRedPixel},
      {"to the bottom", [&] { ToBottom(low); }, kGreenPixel},
      {"topmost", [&] { SetTopmost(low, true), ToTop(high); }, kRedPixel},
      {"hidden", [&] { Hide(low); }, kGreenPixel},
      {"cloaked", [&] { Show(low), SetCloaked(low, true); }, kGreenPixel},
      {"minimised", [&] { SetCloaked(low, false), Minimise(low); }, kGreenPixel},
      {"restored", [&] { Restore(low); }, kRedPixel},
      {"moved", [&] { MoveTo(low, 100, 0); }, kGreenPixel},
  };
  for (const Step& step : steps) {
    step.change();
    EXPECT_EQ(screenAt(50, 50), step.pixel) << step.what;
  }
  EXPECT_EQ(screenAt(189, 79), kRedPixel);
  Close(low);
  EXPECT_EQ(screenAt(189, 79), kDesktopPixel);
}

TEST_F(CompositorTest, ShowsWhatWindowsDraw) {
  const HWND window = open({.rect = {10, 10, 110, 60}, .paint = [](Canvas& canvas) {
                              canvas.Fill({0, 0, canvas.width(), canvas.height()}, kRed);
                              canvas.Fill({canvas.width() - 10, -5, 1000, 5}, kGreen);
                              canvas.Row(1)[2] = 0xFF123456;
                            }});
  EXPECT_EQ(screenAt(99, 14), kRedPixel);
  EXPECT_EQ(screenAt(100, 14), kGreenPixel);
  EXPECT_EQ(screenAt(100, 15), kRedPixel);
  EXPECT_EQ(screenAt(12, 11), 0x00123456u) << "the top byte is 0 throughout";
  Resize(window, 60, 50);
  EXPECT_EQ(screenAt(60, 14), kGreenPixel) << "drawn anew for its new size";
  EXPECT_EQ(screenAt(70, 14), kDesktopPixel);
  Fill(window, {0, 0, 5, 5}, RGB(1, 2, 3));
  EXPECT_EQ(screenAt(14, 14), 0x00010203u);

  const HWND plain = open({.rect = {120, 10, 140, 30}, .color = kGreen});
  Resize(plain, 40, 20);
  EXPECT_EQ(screenAt(159, 29), kGreenPixel) << "grows in its own colour";

  const HWND parent = open({.rect = {110, 40, 160, 90}, .color = kRed});
  open({.rect = {150, 80, 190, 100}, .color = kGreen, .parent = parent});
  TestBitmap edge(2, 1);
  EXPECT_TRUE(edge.CopyScreen(159, 89));
  EXPECT_EQ(edge.Pixels(), (std::vector<std::uint32_t>{kGreenPixel, kDesktopPixel}))
      << "children are cut at their parent's edge";
  Hide(parent);
  EXPECT_EQ(screenAt(159, 89), kDesktopPixel) << "and go with it";
}

TEST_F(CompositorTest, MixesLayeredWindows) {
  const HWND window = open({.rect = {0, 0, 100, 100}, .color = kRed});
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

TEST_F(CompositorTest, PrintWindowDrawsWhatIsCovered) {
  const HWND window = open({.rect = {-20, 10, 30, 40}, .color = kRed});
  Fill(window, {0, 0, 1, 1}, RGB(1, 2, 3));
  open({.rect = {-50, -50, 200, 200}, .color = kGreen});
  TestBitmap picture(60, 40);
  for (const UINT flags : {0u, static_cast<UINT>(PW_RENDERFULLCONTENT)}) {
    picture.Fill({0, 0, 60, 40}, RGB(9, 9, 9));
    EXPECT_TRUE(PrintWindow(window, picture.dc(), flags));
    EXPECT_EQ(picture.At(0, 0), 0x00010203u);
    EXPECT_EQ(picture.At(49, 29), kRedPixel);
    EXPECT_EQ(picture.At(50, 29), 0x00090909u) << "beyond the window nothing is drawn";
  }
  Close(window);
  EXPECT_TRUE(
      FailsWith(ERROR_INVALID_WINDOW_HANDLE, [&] { return PrintWindow(window, picture.dc(), 0); }));
}

TEST_F(CompositorTest, TheCursorIsDrawnOnDemand) {
  SetCursorPosition(50, 60);
  SetCursorShape(
      {.width = 2, .height = 1, .hotspotX = 1, .hotspotY = 0, .pixels = {0xFFC81E0A, 0x00FFFFFF}});
  EXPECT_EQ(screenAt(50, 60), kDesktopPixel);
  CURSORINFO cursor{};
  cursor.cbSize = sizeof(cursor);
  ASSERT_TRUE(GetCursorInfo(&cursor));
  EXPECT_EQ(cursor.flags, static_cast<DWORD>(CURSOR_SHOWING));
  EXPECT_EQ(std::pair(cursor.ptScreenPos.x, cursor.ptScreenPos.y), std::pair(LONG{50}, LONG{60}));
  TestBitmap picture(4, 2);
  picture.Fill({0, 0, 4, 2}, kGreen);
  EXPECT_TRUE(DrawIcon(picture.dc(), 3, 1, cursor.hCursor));
  EXPECT_TRUE(DrawIcon(picture.dc(), 1, 0, cursor.hCursor));
  EXPECT_EQ(picture.Pixels(),
            (std::vector<std::uint32_t>{kGreenPixel, kRedPixel, kGreenPixel, kGreenPixel,
                                        kGreenPixel, kGreenPixel, kGreenPixel, kRedPixel}));
  HideCursor();
  ASSERT_TRUE(GetCursorInfo(&cursor));
  EXPECT_EQ(cursor.flags, 0u);
  ShowCursor();
}

TEST_F(CompositorTest, PointsReachWhatAClickWouldReach) {
  const HWND low = open({.rect = {0, 0, 100, 100}, .color = kRed});
  const HWND high = open({.rect = {0, 0, 100, 100}, .color = kGreen});
  const HWND child = open({.rect = {0, 0, 10, 10}, .parent = high});
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

TEST_F(CompositorTest, WindowAttributesDependOnTheVersion) {
  const HWND window =
      open({.rect = {10, 10, 60, 60}, .cloaked = true, .invisibleFrame = {7, 0, 7, 7}});
  DWORD cloaked = 0;
  RECT bounds{};
  const auto askCloaked = [&] {
    return DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked));
  };
  const auto askBounds = [&](DWORD size) {
    return DwmGetWindowAttribute(window, DWMWA_EXTENDED_FRAME_BOUNDS, &bounds, size);
  };
  EXPECT_EQ(askCloaked(), S_OK);
  EXPECT_NE(cloaked, 0u);
  EXPECT_EQ(askBounds(sizeof(bounds)), S_OK);
  EXPECT_EQ(SidesOf(bounds), (Sides{17, 10, 53, 53}));
  EXPECT_EQ(askBounds(8), E_INVALIDARG);
  SetVersion(kWindows7);
  EXPECT_EQ(askCloaked(), E_INVALIDARG);
  SetComposition(false);
  EXPECT_EQ(askBounds(sizeof(bounds)), DWM_E_COMPOSITIONDISABLED);
}

TEST_F(CompositorTest, MaximisedWindowsReachOverTheWorkArea) {
  ASSERT_TRUE(AddMonitor({200, 0, 400, 100}, {.workArea = RECT{200, 0, 400, 90}}));
  const HWND window = open({.rect = {210, 10, 260, 60}, .style = WS_OVERLAPPEDWINDOW});
  Maximise(window);
  EXPECT_TRUE(IsZoomed(window));
  EXPECT_EQ(SidesOf(window), (Sides{192, -8, 408, 98}));
  Minimise(window);
  Restore(window);
  EXPECT_TRUE(IsZoomed(window)) << "it was maximised before";
  Restore(window);
  EXPECT_EQ(SidesOf(window), (Sides{210, 10, 260, 60}));
}

}  // namespace
}  // namespace qx::test
