// Cursors as pixels. The expected values are worked out by hand.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "win/engine/mag/CursorPixels.h"

namespace qx {
namespace {

using Pixels = std::vector<std::uint32_t>;

TEST(CursorPixels, PremultiplyRoundsDown) {
  Pixels pixels = {0xFFFF8001, 0x80FF8001, 0x00FFFFFF, 0x01FFFE00};
  Premultiply(pixels);
  EXPECT_EQ(pixels, (Pixels{0xFFFF8001, 0x80804000, 0x00000000, 0x01010000}));
}

class Blending : public testing::Test {
 protected:
  static constexpr int kWidth = 4;
  static constexpr int kHeight = 3;
  static constexpr int kStride = kWidth + 2;  // in pixels
  static constexpr std::uint32_t kBelow = 0x00646464;

  Pixels blended(const Pixels& image, int width, int height, const CursorPlace& place) {
    Pixels canvas(kStride * kHeight, kBelow);
    BlendCursor({reinterpret_cast<std::uint8_t*>(canvas.data()), kStride * 4, kWidth, kHeight},
                {image, width, height}, place);
    return canvas;
  }
};

TEST_F(Blending, AlphaDecidesHowMuchOfThePictureStays) {
  // 100 * (255 - 128) / 255 is 49, and of the image come 0x40, 0x20 and 0x80.
  const Pixels canvas =
      blended({0xFF010203, 0x80402080, 0x00FFFFFF, 0x01010000}, 4, 1, {0, 1, 4, 1});
  const Pixels expected = {kBelow,     kBelow,     kBelow, kBelow,     kBelow, kBelow,  //
                           0xFF010203, 0xFF7151B1, kBelow, 0xFF646363, kBelow, kBelow,  //
                           kBelow,     kBelow,     kBelow, kBelow,     kBelow, kBelow};
  EXPECT_EQ(canvas, expected);
}

TEST_F(Blending, StretchesToTheNearestPixelAndCutsAtTheEdges) {
  constexpr std::uint32_t a = 0xFF00000A;
  constexpr std::uint32_t b = 0xFF00000B;
  // 2x1 as 6x2 from -1,2: columns a a a b b b, of which the first is cut off.
  EXPECT_EQ(blended({a, b}, 2, 1, {-1, 2, 6, 2}),
            (Pixels{kBelow, kBelow, kBelow, kBelow, kBelow, kBelow,  //
                    kBelow, kBelow, kBelow, kBelow, kBelow, kBelow,  //
                    a, a, b, b, kBelow, kBelow}));
  // 4x1 as 2x1: every second pixel.
  EXPECT_EQ(blended({a, b, b, a}, 4, 1, {3, 0, 2, 1})[3], a);
  const Pixels untouched(kStride * kHeight, kBelow);
  EXPECT_EQ(blended({a}, 1, 1, {4, 0, 1, 1}), untouched);
  EXPECT_EQ(blended({a}, 1, 1, {-1, 0, 1, 1}), untouched);
  EXPECT_EQ(blended({a}, 1, 1, {0, 3, 1, 1}), untouched);
  EXPECT_EQ(blended({a}, 1, 1, {0, 0, 0, 1}), untouched);
  EXPECT_EQ(blended({}, 0, 0, {0, 0, 4, 4}), untouched);
  EXPECT_EQ(blended({a}, 1, 1, {2147483647, 2147483647, 2147483647, 2147483647}), untouched);
  BlendCursor({}, {Pixels{a}, 1, 1}, {0, 0, 1, 1});
}

}  // namespace
}  // namespace qx
