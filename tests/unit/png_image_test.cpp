// From a GDI+ picture to a PNG file.
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/PngReader.h"
#include "win/source/PngImage.h"

namespace qx {
namespace {

using namespace WindowsUtil;
using Pixels = std::vector<std::uint32_t>;

class PngImage : public testing::Test {
 protected:
  void SetUp() override {
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    ASSERT_EQ(Gdiplus::GdiplusStartup(&token, &input, nullptr), Gdiplus::Ok);
  }

  // Of a picture that is two pixels wide and lies in rows of three.
  static std::vector<std::uint8_t> File(Gdiplus::PixelFormat format, Pixels& pixels) {
    GdiplusBitmap bitmap;
    EXPECT_EQ(Gdiplus::DllExports::GdipCreateBitmapFromScan0(
                  2, static_cast<INT>(pixels.size() / 3), 12, format,
                  reinterpret_cast<BYTE*>(pixels.data()), bitmap.Put()),
              Gdiplus::Ok);
    CLSID encoder = {};
    EXPECT_TRUE(FindImageEncoder(L"image/png", encoder));
    std::vector<std::uint8_t> file = {1, 2, 3};
    EXPECT_TRUE(EncodeImage(bitmap.Get(), encoder, file));
    return file;
  }
};

TEST_F(PngImage, KeepsSizeColoursAndStraightAlphaAndIsOpaqueWithout) {
  Pixels pixels = {0xFF0A141E, 0x80C86432, 0xDEADBEEF,  //
                   0x010000FF, 0xFFFFFFFF, 0xDEADBEEF};
  test::PngPicture picture = test::ReadPng(File(PixelFormat32bppARGB, pixels));
  EXPECT_EQ(picture.width, 2);
  EXPECT_EQ(picture.height, 2);
  EXPECT_EQ(picture.pixels, (Pixels{0xFF0A141E, 0x80C86432, 0x010000FF, 0xFFFFFFFF}));
  picture = test::ReadPng(File(PixelFormat32bppRGB, pixels));
  EXPECT_EQ(picture.pixels, (Pixels{0xFF0A141E, 0xFFC86432, 0xFF0000FF, 0xFFFFFFFF}));
}

TEST_F(PngImage, EncodersAreFoundByTheirWholeName) {
  CLSID encoder = {};
  for (const wchar_t* name : {L"image/PNG", L"image/pn", L"image/png ", L"", L"PNG"}) {
    EXPECT_FALSE(FindImageEncoder(name, encoder)) << testing::PrintToString(std::wstring(name));
  }
  const CLSID png = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
  ASSERT_TRUE(FindImageEncoder(L"image/png", encoder));
  EXPECT_TRUE(encoder == png);

  // Nothing comes out of an encoder that does not exist, and nothing is touched.
  GdiplusBitmap bitmap;
  ASSERT_EQ(Gdiplus::DllExports::GdipCreateBitmapFromScan0(1, 1, 0, PixelFormat32bppARGB, nullptr,
                                                           bitmap.Put()),
            Gdiplus::Ok);
  std::vector<std::uint8_t> file = {1, 2, 3};
  encoder.Data1 = 0;
  EXPECT_FALSE(EncodeImage(bitmap.Get(), encoder, file));
  EXPECT_EQ(file.size(), 3u);
}

}  // namespace
}  // namespace qx
