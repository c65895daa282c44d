// Cursors as pictures: what copies and draws them. And windows that only take messages.
#include <algorithm>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

constexpr COLORREF kGround = RGB(32, 64, 96);
constexpr std::uint32_t kGroundPixel = 0x00204060;

// How many pixels a cursor changes in a picture of 80 x 80.
std::ptrdiff_t changedBy(HCURSOR cursor, int size) {
  TestBitmap picture(80, 80);
  picture.Fill({0, 0, 80, 80}, kGround);
  EXPECT_TRUE(
      DrawIconEx(picture.dc(), 8, 8, cursor, size, size, 0, nullptr, DI_NORMAL | DI_COMPAT));
  const std::vector<std::uint32_t> pixels = picture.Pixels();
  return 80 * 80 - std::count_if(pixels.begin(), pixels.end(), [](std::uint32_t pixel) {
           return (pixel & 0x00FFFFFF) == kGroundPixel;
         });
}

TEST(Cursors, AreDrawnInAnySizeAndACopyIsTheCallers) {
  const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
  ASSERT_TRUE(arrow);
  const std::ptrdiff_t whole = changedBy(arrow, 32);
  EXPECT_GT(whole, 20);
  EXPECT_NEAR(static_cast<double>(changedBy(arrow, 64)) / static_cast<double>(whole), 4, 0.6);
  const auto copy = static_cast<HCURSOR>(CopyImage(arrow, IMAGE_CURSOR, 0, 0, LR_MONOCHROME));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy, arrow);
  EXPECT_GT(changedBy(copy, 32), 20);
  EXPECT_TRUE(DestroyCursor(copy));
  ICONINFO gone{};
  EXPECT_FALSE(GetIconInfo(copy, &gone));
}

TEST(Cursors, BitmapsAreReadWithTheLongHeader) {
  ICONINFO info{};
  ASSERT_TRUE(GetIconInfo(LoadCursorW(nullptr, IDC_ARROW), &info));
  EXPECT_FALSE(info.fIcon);
  BITMAP mask{};
  ASSERT_TRUE(GetObjectW(info.hbmMask, sizeof(mask), &mask));
  BITMAPV5HEADER header{};
  header.bV5Size = sizeof(header);
  header.bV5Width = mask.bmWidth;
  header.bV5Height = -mask.bmHeight;
  header.bV5Planes = 1;
  header.bV5BitCount = 32;
  header.bV5AlphaMask = 0xFF000000;
  header.bV5CSType = 0x57696E20;  // that of Windows
  header.bV5Intent = 1;
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(mask.bmWidth * mask.bmHeight), 7);
  const HDC screen = GetDC(nullptr);
  EXPECT_EQ(GetDIBits(screen, info.hbmMask, 0, static_cast<UINT>(mask.bmHeight), pixels.data(),
                      reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS),
            mask.bmHeight);
  ReleaseDC(nullptr, screen);
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 7), 0);
  EXPECT_GT(std::count(pixels.begin(), pixels.end(), 0x00FFFFFF), 0);
  if (info.hbmColor) DeleteObject(info.hbmColor);
  DeleteObject(info.hbmMask);
}

BOOL CALLBACK collect(HWND window, LPARAM found) {
  reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
  return TRUE;
}

TEST(MessageWindows, AreNotAmongTheWindowsOfTheirThread) {
  TestWindow seen({10, 10, 60, 60});
  TestWindow unseen({0, 0, 0, 0}, RGB(0, 0, 0), 0, HWND_MESSAGE, 0);
  ASSERT_TRUE(unseen.handle());
  EXPECT_EQ(GetWindowThreadProcessId(unseen, nullptr), GetCurrentThreadId());
  std::vector<HWND> windows;
  EnumThreadWindows(GetCurrentThreadId(), &collect, reinterpret_cast<LPARAM>(&windows));
  EXPECT_EQ(std::count(windows.begin(), windows.end(), seen.handle()), 1);
  EXPECT_EQ(std::count(windows.begin(), windows.end(), unseen.handle()), 0);

  unseen.onMessage = [](UINT, WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam) + 1; };
  TestThread sender([&] {
    DWORD_PTR result = 0;
    EXPECT_TRUE(
        SendMessageTimeoutW(unseen, WM_USER, 41, 0, SMTO_BLOCK | SMTO_ABORTIFHUNG, 5000, &result));
    EXPECT_EQ(result, DWORD_PTR{42});
    EXPECT_TRUE(SendMessageTimeoutW(unseen, WM_CLOSE, 0, 0, SMTO_BLOCK, 5000, nullptr));
    PostThreadMessageW(GetWindowThreadProcessId(seen, nullptr), WM_QUIT, 0, 0);
  });
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  EXPECT_FALSE(IsWindow(unseen)) << "WM_CLOSE ends it";
  EXPECT_EQ(unseen.noted, (std::vector<UINT>{WM_USER, WM_DESTROY, WM_NCDESTROY}));
}

}  // namespace
}  // namespace qx::test
