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

#include "tests/support/PngReader.h"

namespace qx::test {
namespace {

using namespace Gdiplus;
using namespace Gdiplus::DllExports;

constexpr std::uint32_t kRed = 0xFFC81E0A;
constexpr std::uint32_t kGreen = 0xFF14B428;
constexpr ARGB kClearWhite = 0x00FFFFFF;

class Canvases : public testing::Test {
 protected:
  void SetUp() override {
    ULONG_PTR token = 0;
    const GdiplusStartupInput input;
    ASSERT_EQ(GdiplusStartup(&token, &input, nullptr), Ok);
  }
  void TearDown() override {
    EXPECT_EQ(GdipDeleteGraphics(m_canvas), Ok);
    EXPECT_EQ(GdipDisposeImage(m_bitmap), Ok);
    EXPECT_EQ(GdipDisposeImage(m_image), Ok);
  }

  void makeCanvas(INT width, INT height, PixelFormat format, ARGB color) {
    ASSERT_EQ(GdipCreateBitmapFromScan0(width, height, 0, format, nullptr, &m_bitmap), Ok);
    ASSERT_EQ(GdipGetImageGraphicsContext(m_bitmap, &m_canvas), Ok);
    ASSERT_EQ(GdipGraphicsClear(m_canvas, color), Ok);
  }
  void makeImage(INT width, INT height, PixelFormat format, std::uint32_t* pixels) {
    auto* const bytes = reinterpret_cast<BYTE*>(pixels);
    ASSERT_EQ(GdipCreateBitmapFromScan0(width, height, width * 4, format, bytes, &m_image), Ok);
  }
  GpStatus draw(INT x, INT y, INT width, INT height) {
    return GdipDrawImageRectI(m_canvas, m_image, x, y, width, height);
  }
  // As the canvas's PNG file has it.
  std::uint32_t at(int x, int y) {
    static const CLSID png = {
        0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    IStream* stream = nullptr;
    HGLOBAL memory = nullptr;
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    EXPECT_EQ(GdipSaveImageToStream(m_bitmap, stream, &png, nullptr), Ok);
    EXPECT_EQ(GetHGlobalFromStream(stream, &memory), S_OK);
    const auto* const bytes = static_cast<const std::uint8_t*>(GlobalLock(memory));
    const PngPicture picture = ReadPng({bytes, bytes + GlobalSize(memory)});
    GlobalUnlock(memory);
    stream->Release();
    return picture.pixels.at(static_cast<std::size_t>(y * picture.width + x));
  }

  GpBitmap* m_bitmap = nullptr;
  GpGraphics* m_canvas = nullptr;
  GpBitmap* m_image = nullptr;
};

TEST_F(Canvases, KeepAPictureAsItIsOrStretchItsColours) {
  std::uint32_t pixels[] = {0x00C81E0A, 0x7714B428,  // alpha means nothing
                            0x0014B428, 0x000000FF};
  makeImage(2, 2, PixelFormat32bppRGB, pixels);
  makeCanvas(60, 80, PixelFormat32bppARGB, kClearWhite);
  EXPECT_EQ(draw(1, 2, 2, 2), Ok);
  EXPECT_EQ(at(1, 2), kRed);
  EXPECT_EQ(at(2, 2), kGreen);
  EXPECT_EQ(at(1, 3), kGreen);
  EXPECT_EQ(at(2, 3), 0xFF0000FF);
  for (const POINT margin : {POINT{0, 2}, POINT{3, 2}, POINT{1, 1}, POINT{1, 4}})
    EXPECT_EQ(at(margin.x, margin.y) >> 24, 0u) << margin.x << "," << margin.y;

  EXPECT_EQ(GdipGraphicsClear(m_canvas, kClearWhite), Ok);
  EXPECT_EQ(GdipDisposeImage(m_image), Ok);
  // Large enough to have an inside: at its edges GDI+ mixes in what is beyond it.
  std::vector<std::uint32_t> large(20 * 10, kRed);
  makeImage(20, 10, PixelFormat32bppRGB, large.data());
  EXPECT_EQ(draw(-10, 20, 120, 30), Ok) << "cut at the edges";
  EXPECT_EQ(at(10, 35), kRed);
  EXPECT_EQ(at(40, 35), kRed);
  EXPECT_EQ(at(30, 19) >> 24, 0u);
  EXPECT_EQ(at(30, 50) >> 24, 0u);
  EXPECT_EQ(draw(0, 60, 0, 20), Ok);
  EXPECT_EQ(at(0, 60) >> 24, 0u) << "nothing was drawn";
}

TEST_F(Canvases, TakePicturesOverWhatIsThere) {
  std::uint32_t pixels[] = {0x00C81E0A, 0x80FF0000, 0xFF14B428};
  makeImage(3, 1, PixelFormat32bppARGB, pixels);
  makeCanvas(4, 1, PixelFormat32bppARGB, 0xFF0000FF);
  EXPECT_EQ(draw(0, 0, 3, 1), Ok);
  EXPECT_EQ(at(0, 0), 0xFF0000FF);
  EXPECT_NEAR(static_cast<int>(at(1, 0) >> 16 & 0xFF), 0x80, 1);
  EXPECT_NEAR(static_cast<int>(at(1, 0) & 0xFF), 0x7F, 1);
  EXPECT_EQ(at(2, 0), kGreen);
  EXPECT_EQ(at(3, 0), 0xFF0000FF);
}

}  // namespace
}  // namespace qx::test
