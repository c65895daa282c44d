// Icons and cursors as pictures, GDI+ images and streams over memory.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <objbase.h>
#include <objidl.h>
// After objidl.h.
#include <gdiplus.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using namespace Gdiplus::DllExports;

// Width, height, bits of a pixel, bytes of a row.
std::vector<LONG> described(HBITMAP bitmap) {
  BITMAP found{};
  EXPECT_EQ(GetObjectW(bitmap, sizeof(found), &found), static_cast<int>(sizeof(found)));
  return {found.bmWidth, found.bmHeight, found.bmBitsPixel, found.bmWidthBytes};
}

// All of a bitmap, read with a header of its size.
template <typename Header>
std::vector<std::uint32_t> pixelsOf(HBITMAP bitmap, Header header) {
  const std::vector<LONG> size = described(bitmap);
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(size[0] * size[1]), 7);
  const HDC screen = GetDC(nullptr);
  EXPECT_EQ(GetDIBits(screen, bitmap, 0, static_cast<UINT>(size[1]), pixels.data(),
                      reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS),
            size[1]);
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
  const BITMAPINFO plain = DescribePixels(32, -32);
  for (const std::uint32_t pixel : pixelsOf(first.hbmColor, plain)) opaque |= pixel >> 24 == 0xFF;
  EXPECT_TRUE(opaque);
  for (const std::uint32_t pixel : pixelsOf(first.hbmMask, plain))
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

TEST(Images, AreMadeOfPixelsThatMakeSenseAndHaveFiveEncoders) {
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  ASSERT_EQ(Gdiplus::GdiplusStartup(&token, &input, nullptr), Gdiplus::Ok);
  Gdiplus::GpBitmap* bitmap = nullptr;
  const auto make = [&](INT width, INT height, INT stride) {
    static std::uint32_t pixels[6] = {};
    return GdipCreateBitmapFromScan0(width, height, stride, PixelFormat32bppARGB,
                                     reinterpret_cast<BYTE*>(pixels), &bitmap);
  };
  EXPECT_EQ(make(0, 2, 12), Gdiplus::InvalidParameter);
  EXPECT_EQ(make(3, -2, 12), Gdiplus::InvalidParameter);
  EXPECT_EQ(make(3, 2, 13), Gdiplus::InvalidParameter);
  ASSERT_EQ(make(3, 2, 12), Gdiplus::Ok);
  EXPECT_EQ(GdipDisposeImage(bitmap), Gdiplus::Ok);

  UINT count = 0;
  UINT size = 0;
  ASSERT_EQ(GdipGetImageEncodersSize(&count, &size), Gdiplus::Ok);
  EXPECT_GE(size, count * sizeof(Gdiplus::ImageCodecInfo));
  std::vector<Gdiplus::ImageCodecInfo> encoders(size / sizeof(Gdiplus::ImageCodecInfo) + 1);
  EXPECT_NE(GdipGetImageEncoders(count + 1, size, encoders.data()), Gdiplus::Ok);
  ASSERT_EQ(GdipGetImageEncoders(count, size, encoders.data()), Gdiplus::Ok);
  std::vector<std::wstring> types;
  for (UINT i = 0; i < count; ++i) types.emplace_back(encoders[i].MimeType);
  EXPECT_EQ(types, (std::vector<std::wstring>{L"image/bmp", L"image/jpeg", L"image/gif",
                                              L"image/tiff", L"image/png"}));
  EXPECT_EQ(encoders[0].Clsid.Data1, 0x557cf400u);
  EXPECT_EQ(encoders[4].Clsid.Data1, 0x557cf406u);
  EXPECT_EQ(encoders[4].FormatID.Data1, 0xb96b3cafu);
}

TEST(Streams, WriteIntoGlobalMemoryThatGoesWithThemOrStays) {
  for (const BOOL goes : {TRUE, FALSE}) {
    IStream* stream = nullptr;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, goes, &stream), S_OK);
    HGLOBAL memory = nullptr;
    ASSERT_EQ(GetHGlobalFromStream(stream, &memory), S_OK);
    EXPECT_EQ(GlobalSize(memory), 0u) << "nothing was written";
    ULONG written = 0;
    EXPECT_EQ(stream->Write("abcd", 4, &written), S_OK);
    EXPECT_EQ(written, 4u);
    EXPECT_EQ(stream->Write("ef", 2, nullptr), S_OK);
    ASSERT_EQ(GetHGlobalFromStream(stream, &memory), S_OK);
    if (!goes) {
      EXPECT_EQ(stream->Release(), 0u);
    }
    ASSERT_EQ(GlobalSize(memory), 6u);
    const char* const bytes = static_cast<const char*>(GlobalLock(memory));
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::string(bytes, 6), "abcdef");
    EXPECT_TRUE(FailsWith(ERROR_SUCCESS, [&] { return GlobalUnlock(memory); }));
    if (goes) {
      EXPECT_EQ(stream->Release(), 0u);
    } else {
      EXPECT_FALSE(GlobalFree(memory));
    }
  }
}

// How many pixels a cursor changes in a picture of 80 x 80.
std::ptrdiff_t changedBy(HCURSOR cursor, int size) {
  TestBitmap picture(80, 80);
  picture.Fill({0, 0, 80, 80}, kDesktop);
  EXPECT_TRUE(
      DrawIconEx(picture.dc(), 8, 8, cursor, size, size, 0, nullptr, DI_NORMAL | DI_COMPAT));
  const std::vector<std::uint32_t> pixels = picture.Pixels();
  return 80 * 80 - std::count_if(pixels.begin(), pixels.end(), [](std::uint32_t pixel) {
           return (pixel & 0x00FFFFFF) == kDesktopPixel;
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
  const std::vector<LONG> size = described(info.hbmMask);
  BITMAPV5HEADER header{};
  header.bV5Size = sizeof(header);
  header.bV5Width = size[0];
  header.bV5Height = -size[1];
  header.bV5Planes = 1;
  header.bV5BitCount = 32;
  header.bV5AlphaMask = 0xFF000000;
  header.bV5CSType = 0x57696E20;  // that of Windows
  header.bV5Intent = 1;
  const std::vector<std::uint32_t> pixels = pixelsOf(info.hbmMask, header);
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 7), 0);
  EXPECT_GT(std::count(pixels.begin(), pixels.end(), 0x00FFFFFF), 0);
  if (info.hbmColor) DeleteObject(info.hbmColor);
  DeleteObject(info.hbmMask);
}

}  // namespace
}  // namespace qx::test
