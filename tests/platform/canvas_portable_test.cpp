// Drawing on GDI+ images.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <objbase.h>
#include <objidl.h>
// After objidl.h.
#include <gdiplus.h>

#include <cstdint>
#include <vector>

#include "tests/platform/TestWindow.h"
#include "tests/support/PngReader.h"

namespace qx::test {
namespace {

using namespace Gdiplus;
using namespace Gdiplus::DllExports;

constexpr std::uint32_t kRed = 0xFFC81E0A;
constexpr std::uint32_t kGreen = 0xFF14B428;
constexpr ARGB kClearWhite = 0x00FFFFFF;

struct Image {
  Image(INT width, INT height, PixelFormat format, std::uint32_t* pixels = nullptr) {
    EXPECT_EQ(GdipCreateBitmapFromScan0(width, height, pixels ? width * 4 : 0, format,
                                        reinterpret_cast<BYTE*>(pixels), &bitmap),
              Ok);
  }
  explicit Image(HBITMAP from) {
    EXPECT_EQ(GdipCreateBitmapFromHBITMAP(from, nullptr, &bitmap), Ok);
  }
  ~Image() { EXPECT_EQ(GdipDisposeImage(bitmap), Ok); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  GpBitmap* bitmap = nullptr;
};

struct Canvas : Image {
  Canvas(INT width, INT height, PixelFormat format, ARGB color) : Image(width, height, format) {
    EXPECT_EQ(GdipGetImageGraphicsContext(bitmap, &graphics), Ok);
    EXPECT_EQ(GdipGraphicsClear(graphics, color), Ok);
  }
  ~Canvas() { EXPECT_EQ(GdipDeleteGraphics(graphics), Ok); }

  GpStatus Draw(const Image& image, INT x, INT y, INT width, INT height) const {
    return GdipDrawImageRectI(graphics, image.bitmap, x, y, width, height);
  }
  // As its PNG file has them.
  PngPicture Picture() const {
    static const CLSID png = {
        0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    IStream* stream = nullptr;
    HGLOBAL memory = nullptr;
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    EXPECT_EQ(GdipSaveImageToStream(bitmap, stream, &png, nullptr), Ok);
    EXPECT_EQ(GetHGlobalFromStream(stream, &memory), S_OK);
    const auto* const bytes = static_cast<const std::uint8_t*>(GlobalLock(memory));
    const PngPicture picture = ReadPng({bytes, bytes + GlobalSize(memory)});
    GlobalUnlock(memory);
    stream->Release();
    return picture;
  }

  GpGraphics* graphics = nullptr;
};

std::uint32_t at(const PngPicture& picture, int x, int y) {
  return picture.pixels.at(static_cast<std::size_t>(y * picture.width + x));
}

class Canvases : public testing::Test {
 protected:
  void SetUp() override {
    ULONG_PTR token = 0;
    const GdiplusStartupInput input;
    ASSERT_EQ(GdiplusStartup(&token, &input, nullptr), Ok);
  }
};

TEST_F(Canvases, KeepAPictureAsItIsAndTheirMarginsTransparent) {
  std::uint32_t pixels[] = {0x00C81E0A, 0x7714B428, 0x00000001,  // alpha means nothing
                            0x000000FF, 0x00FFFFFF, 0x00C81E0A};
  const Image image(3, 2, PixelFormat32bppRGB, pixels);
  const Canvas canvas(5, 6, PixelFormat32bppARGB, kClearWhite);
  EXPECT_EQ(canvas.Draw(image, 1, 2, 3, 2), Ok);
  const PngPicture picture = canvas.Picture();
  ASSERT_EQ(picture.width, 5);
  ASSERT_EQ(picture.height, 6);
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 5; ++x) {
      const bool drawn = x >= 1 && x < 4 && y >= 2 && y < 4;
      if (drawn)
        EXPECT_EQ(at(picture, x, y), pixels[(y - 2) * 3 + x - 1] | 0xFF000000) << x << "," << y;
      else
        EXPECT_EQ(at(picture, x, y) >> 24, 0u) << x << "," << y;
    }
  }
}

TEST_F(Canvases, StretchColoursAndCutAtTheirEdges) {
  std::vector<std::uint32_t> pixels(20 * 10, kRed);
  for (int y = 0; y < 10; ++y) std::fill_n(pixels.data() + y * 20 + 10, 10, kGreen);
  const Image image(20, 10, PixelFormat32bppRGB, pixels.data());
  const Canvas larger(60, 80, PixelFormat32bppARGB, kClearWhite);
  EXPECT_EQ(larger.Draw(image, 0, 20, 60, 30), Ok);
  EXPECT_EQ(larger.Draw(image, 50, 60, 20, 10), Ok);
  PngPicture picture = larger.Picture();
  EXPECT_EQ(at(picture, 15, 35), kRed);
  EXPECT_EQ(at(picture, 45, 35), kGreen);
  for (int x = 0; x < 60; ++x) {
    EXPECT_EQ(at(picture, x, 19) >> 24, 0u) << x;
    EXPECT_EQ(at(picture, x, 50) >> 24, 0u) << x;
  }
  EXPECT_EQ(at(picture, 59, 65), kRed);

  const Canvas smaller(6, 4, PixelFormat32bppRGB, 0xFF102030);
  EXPECT_EQ(smaller.Draw(image, 0, 0, 6, 3), Ok);
  picture = smaller.Picture();
  EXPECT_EQ(at(picture, 1, 1), kRed);
  EXPECT_EQ(at(picture, 4, 1), kGreen);
  EXPECT_EQ(at(picture, 2, 3), 0xFF102030);
}

TEST_F(Canvases, TakePicturesOverWhatIsThere) {
  std::uint32_t pixels[] = {0x00C81E0A, 0x80FF0000, 0xFF14B428};
  const Image image(3, 1, PixelFormat32bppARGB, pixels);
  const Canvas canvas(4, 1, PixelFormat32bppARGB, 0xFF0000FF);
  EXPECT_EQ(canvas.Draw(image, 0, 0, 3, 1), Ok);
  const PngPicture picture = canvas.Picture();
  EXPECT_EQ(at(picture, 0, 0), 0xFF0000FF);
  EXPECT_NEAR(static_cast<int>(at(picture, 1, 0) >> 16 & 0xFF), 0x80, 1);
  EXPECT_NEAR(static_cast<int>(at(picture, 1, 0) & 0xFF), 0x7F, 1);
  EXPECT_EQ(at(picture, 2, 0), kGreen);
  EXPECT_EQ(at(picture, 3, 0), 0xFF0000FF);
}

TEST_F(Canvases, CopyBitmapsOfGdi) {
  TestBitmap bitmap(4, 4);
  bitmap.Fill({0, 0, 4, 4}, RGB(0xC8, 0x1E, 0x0A));
  const Image image(bitmap.bitmap());
  bitmap.Fill({0, 0, 4, 4}, RGB(1, 2, 3));
  const Canvas canvas(4, 4, PixelFormat32bppARGB, kClearWhite);
  EXPECT_EQ(canvas.Draw(image, 0, 0, 4, 4), Ok);
  EXPECT_EQ(at(canvas.Picture(), 2, 2), kRed) << "a copy, and opaque";
  GpBitmap* none = nullptr;
  EXPECT_EQ(GdipCreateBitmapFromHBITMAP(nullptr, nullptr, &none), InvalidParameter);
}

TEST_F(Canvases, WantThingsToDrawOn) {
  const Image image(2, 2, PixelFormat32bppRGB);
  const Canvas canvas(2, 2, PixelFormat32bppRGB, 0xFF102030);
  GpGraphics* none = nullptr;
  EXPECT_EQ(GdipGetImageGraphicsContext(nullptr, &none), InvalidParameter);
  EXPECT_EQ(GdipGraphicsClear(nullptr, 0), InvalidParameter);
  EXPECT_EQ(GdipDrawImageRectI(canvas.graphics, nullptr, 0, 0, 2, 2), InvalidParameter);
  EXPECT_EQ(canvas.Draw(image, 0, 0, 0, 2), Ok);
  EXPECT_EQ(canvas.Draw(image, 0, 0, 2, 0), Ok);
  EXPECT_EQ(at(canvas.Picture(), 1, 1), 0xFF102030) << "nothing was drawn";
}

}  // namespace
}  // namespace qx::test
