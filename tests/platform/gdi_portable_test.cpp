// GDI: bitmaps, copying, what the screen shows.
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using Pixels = std::vector<std::uint32_t>;

constexpr COLORREF kBlue = RGB(15, 25, 220);
constexpr std::uint32_t kBluePixel = 0x000F19DC;

// One pixel wide and three high: red, green, blue from the top.
struct ThreeRows : TestBitmap {
  ThreeRows() : TestBitmap(1, 3) {
    EXPECT_EQ(Pixels(), (std::vector<std::uint32_t>{0, 0, 0})) << "a new bitmap is black";
    Fill({0, 0, 1, 1}, kRed);
    Fill({0, 1, 1, 2}, kGreen);
    Fill({0, 2, 1, 3}, kBlue);
  }
};

TEST(DIBits, ComeInTheAskedOrderAndCountFromTheBottom) {
  const ThreeRows bitmap;
  EXPECT_EQ(bitmap.Lines(0, 3, true), (Pixels{kRedPixel, kGreenPixel, kBluePixel}));
  EXPECT_EQ(bitmap.Lines(0, 3, false), (Pixels{kBluePixel, kGreenPixel, kRedPixel}));
  EXPECT_EQ(bitmap.Lines(0, 1, false), (Pixels{kBluePixel}));
  EXPECT_EQ(bitmap.Lines(1, 2, false), (Pixels{kGreenPixel, kRedPixel}));
  EXPECT_EQ(bitmap.Lines(0, 1, true), (Pixels{kBluePixel}));
  EXPECT_EQ(bitmap.Lines(1, 2, true), (Pixels{kRedPixel, kGreenPixel}));
  EXPECT_EQ(bitmap.Lines(2, 5, false)[0], kRedPixel);
}

TEST(BitBlt, IsClippedToBothBitmapsAndCopiesWithinOne) {
  const ThreeRows from;
  TestBitmap to(1, 4);
  EXPECT_TRUE(BitBlt(to.dc(), 0, 2, 5, 5, from.dc(), 0, 0, SRCCOPY));
  EXPECT_EQ(to.Pixels(), (Pixels{0, 0, kRedPixel, kGreenPixel}));
  EXPECT_TRUE(BitBlt(to.dc(), 0, -1, 1, 2, from.dc(), 0, 1, SRCCOPY));
  EXPECT_EQ(to.Pixels(), (Pixels{kBluePixel, 0, kRedPixel, kGreenPixel}));
  EXPECT_TRUE(BitBlt(from.dc(), 0, 1, 1, 2, from.dc(), 0, 0, SRCCOPY));
  EXPECT_EQ(from.Pixels(), (Pixels{kRedPixel, kRedPixel, kGreenPixel}));
  EXPECT_TRUE(FailsWith(ERROR_INVALID_HANDLE, [&] {
    return BitBlt(to.dc(), 0, 0, 1, 1, reinterpret_cast<HDC>(from.bitmap()), 0, 0, SRCCOPY);
  }));
}

TEST(Bitmaps, GoIntoOneDCAtATimeAndAreBlackAndWhiteInANewOne) {
  TestBitmap colours(2, 1);
  colours.Fill({0, 0, 1, 1}, kGreen);
  colours.Fill({1, 0, 2, 1}, RGB(255, 255, 255));
  const HDC dc = CreateCompatibleDC(nullptr);
  EXPECT_FALSE(SelectObject(dc, colours.bitmap()));
  const HBITMAP bitmap = CreateCompatibleBitmap(dc, 2, 1);
  const HGDIOBJ previous = SelectObject(dc, bitmap);
  EXPECT_TRUE(BitBlt(dc, 0, 0, 2, 1, colours.dc(), 0, 0, SRCCOPY));
  TestBitmap back(2, 1);
  EXPECT_TRUE(BitBlt(back.dc(), 0, 0, 2, 1, dc, 0, 0, SRCCOPY));
  EXPECT_EQ(back.Pixels(), (Pixels{0, 0x00FFFFFF}));
  SelectObject(dc, previous);
  DeleteObject(bitmap);
  DeleteDC(dc);
}

// The colour at a place of the screen, where the fourth byte of a pixel means
// nothing. A screen may show a little later what a window has painted: returns the
// expected colour as soon as it is there, else what is there after five seconds.
std::uint32_t screenAt(int x, int y, std::uint32_t expected) {
  constexpr int kAttempts = 500;
  TestBitmap picture(1, 1);
  std::uint32_t color = TestBitmap::kUntouched;
  for (int attempt = 0; attempt < kAttempts && color != expected; ++attempt) {
    if (attempt > 0) Sleep(10);
    if (!picture.CopyScreen(x, y)) return TestBitmap::kUntouched;
    color = picture.At(0, 0) & 0x00FFFFFF;
  }
  return color;
}

TEST(Screen, DrawingIsClippedToWhatWasInvalid) {
  TestWindow window({100, 100, 200, 200}, kRed, WS_EX_TOPMOST);
  window.Show();
  const HDC dc = GetDC(window);
  const RECT all = {0, 0, 100, 100};
  const HBRUSH brush = CreateSolidBrush(kBlue);
  EXPECT_TRUE(FillRect(dc, &all, brush));
  DeleteObject(brush);
  EXPECT_EQ(ReleaseDC(window, dc), 1);
  const RECT part = {10, 10, 20, 20};
  InvalidateRect(window, &part, FALSE);
  UpdateWindow(window);
  EXPECT_EQ(screenAt(109, 109, kBluePixel), kBluePixel);
  EXPECT_EQ(screenAt(110, 110, kRedPixel), kRedPixel);
  EXPECT_EQ(screenAt(119, 119, kRedPixel), kRedPixel);
  EXPECT_EQ(screenAt(120, 120, kBluePixel), kBluePixel);
}

}  // namespace
}  // namespace qx::test
