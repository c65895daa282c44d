#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "win/engine/ScreenCaptureFrame.h"

namespace qx {
namespace {

TEST(ScreenCaptureFrame, RefusesSizesThatOverflowAndKeepsItsOwn) {
  ScreenCaptureFrame frame;
  EXPECT_FALSE(frame.ScaleTo(4, 4)) << "nothing to scale";
  ASSERT_TRUE(frame.Resize(8, 4));
  std::memset(frame.Buffer().get(), 0x40, 8 * 4 * 4);
  // The first product is 0 and the second 64 in 32 bits.
  for (const auto& [width, height] : {std::pair{65536u, 65536u},
                                      {0x40000004u, 4u},
                                      {0xFFFFFFFFu, 0xFFFFFFFFu},
                                      {32768u, 16384u},
                                      {0xFFFFFFF8u, 1u}}) {
    EXPECT_FALSE(frame.Resize(width, height)) << width << "x" << height;
  }
  EXPECT_EQ(frame.Width(), 8u);
  EXPECT_EQ(frame.Height(), 4u);
  EXPECT_EQ(frame.Buffer().get()[127], 0x40);
}

TEST(ScreenCaptureFrame, ScalesByAveragingBoxesAndOnlyDown) {
  ScreenCaptureFrame frame;
  ASSERT_TRUE(frame.Resize(8, 4));
  for (const auto& [width, height] : {std::pair{8, 4}, {9, 2}, {4, 5}, {0, 2}, {2, -1}}) {
    EXPECT_FALSE(frame.ScaleTo(width, height)) << width << 'x' << height;
  }
  // Half lit at the left, lit at the right.
  for (int i = 0; i < 32; ++i) {
    std::memset(frame.Buffer().get() + i * 4, i % 8 < 4 && i % 2 == 0 ? 0 : 0xF0, 4);
  }
  ASSERT_TRUE(frame.ScaleTo(4, 2));
  for (int i = 0; i < 8 * 4; ++i) {
    EXPECT_EQ(frame.ScaledBuffer().get()[i], i % 16 < 8 ? 0x78 : 0xF0) << "byte " << i;
  }
}

}  // namespace
}  // namespace qx
