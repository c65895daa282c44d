// Icons as pictures.
#include <cstdint>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

// Width, height, bits of a pixel, bytes of a row.
std::vector<LONG> described(HBITMAP bitmap) {
  BITMAP found{};
  EXPECT_EQ(GetObjectW(bitmap, sizeof(found), &found), static_cast<int>(sizeof(found)));
  return {found.bmWidth, found.bmHeight, found.bmBitsPixel, found.bmWidthBytes};
}

std::vector<std::uint32_t> pixelsOf(HBITMAP bitmap) {
  BITMAPINFO info = DescribePixels(32, -32);
  std::vector<std::uint32_t> pixels(32 * 32, 7);
  const HDC screen = GetDC(nullptr);
  EXPECT_EQ(GetDIBits(screen, bitmap, 0, 32, pixels.data(), &info, DIB_RGB_COLORS), 32);
  ReleaseDC(nullptr, screen);
  return pixels;
}

TEST(Icons, TheSystemsOwnHasColoursAndAMask) {
  const HICON icon = LoadIconW(nullptr, IDI_APPLICATION);
  ASSERT_TRUE(icon);
  EXPECT_EQ(LoadIconW(nullptr, IDI_APPLICATION), icon) << "shared";
  ICONINFO first{};
  ICONINFO second{};
  ASSERT_TRUE(GetIconInfo(icon, &first));
  ASSERT_TRUE(GetIconInfo(icon, &second));
  EXPECT_TRUE(first.fIcon);
  EXPECT_NE(first.hbmColor, second.hbmColor) << "copies";
  DeleteObject(second.hbmColor);
  DeleteObject(second.hbmMask);

  EXPECT_EQ(described(first.hbmColor), (std::vector<LONG>{32, 32, 32, 32 * 4}));
  EXPECT_EQ(described(first.hbmMask), (std::vector<LONG>{32, 32, 1, 4}));
  // Alpha comes through, and masks are black and white.
  bool opaque = false;
  for (const std::uint32_t pixel : pixelsOf(first.hbmColor)) opaque |= pixel >> 24 == 0xFF;
  EXPECT_TRUE(opaque);
  for (const std::uint32_t pixel : pixelsOf(first.hbmMask))
    EXPECT_TRUE(pixel == 0 || pixel == 0xFFFFFF) << pixel;
  DeleteObject(first.hbmColor);
  DeleteObject(first.hbmMask);
  EXPECT_EQ(GetObjectW(first.hbmColor, sizeof(BITMAP), &first), 0) << "deleted";
}

TEST(Icons, BelongToAClassAndOtherHandlesAreNone) {
  WNDCLASSEXW description{};
  description.cbSize = sizeof(description);
  description.lpfnWndProc = DefWindowProcW;
  description.lpszClassName = L"IconTestWindow";
  description.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
  ASSERT_TRUE(RegisterClassExW(&description));
  const HWND window = CreateWindowExW(0, L"IconTestWindow", L"", WS_POPUP, 0, 0, 9, 9, nullptr,
                                      nullptr, nullptr, nullptr);
  EXPECT_EQ(reinterpret_cast<HICON>(GetClassLongPtrW(window, GCLP_HICON)), description.hIcon);
  DestroyWindow(window);
  EXPECT_EQ(GetClassLongPtrW(window, GCLP_HICON), 0u);

  TestWindow without({0, 0, 50, 50});
  ICONINFO info{};
  EXPECT_FALSE(GetIconInfo(reinterpret_cast<HICON>(without.handle()), &info));
  EXPECT_FALSE(GetIconInfo(nullptr, &info));
  EXPECT_EQ(GetClassLongPtrW(without, GCLP_HICON), 0u);
}

}  // namespace
}  // namespace qx::test
