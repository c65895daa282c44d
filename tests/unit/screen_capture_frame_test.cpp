#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "win/engine/ScreenCaptureFrame.h"

namespace qx {
namespace {

void Fill(const ScreenCaptureFrame::Pixels& pixels, std::size_t count, std::uint32_t color) {
  for (std::size_t i = 0; i < count; ++i) {
    std::memcpy(pixels.get() + i * 4, &color, 4);
  }
}

std::uint32_t PixelAt(const ScreenCaptureFrame::Pixels& pixels, std::size_t index) {
  std::uint32_t color = 0;
  std::memcpy(&color, pixels.get() + index * 4, 4);
  return color;
}

constexpr std::uint32_t kBlue = 0xFF2040F0;
constexpr std::uint32_t kRed = 0xFFF01030;

TEST(ScreenCaptureFrame, IsEmptyAtFirst) {
  ScreenCaptureFrame frame;
  EXPECT_EQ(frame.Width(), 0u);
  EXPECT_EQ(frame.Height(), 0u);
  EXPECT_FALSE(frame.Buffer());
  EXPECT_FALSE(frame.Dirty().valid);
  EXPECT_FALSE(frame.ScaleTo(4, 4)) << "nothing to scale";
  EXPECT_FALSE(frame.ScaledBuffer());
}

TEST(ScreenCaptureFrame, KeepsThePictureWhileTheSizeIsSteady) {
  ScreenCaptureFrame frame;
  ASSERT_TRUE(frame.Resize(8, 4));
  Fill(frame.Buffer(), 32, kBlue);
  const std::uint8_t* const block = frame.Buffer().get();
  ASSERT_TRUE(frame.Resize(8, 4));
  EXPECT_EQ(frame.Buffer().get(), block);
  EXPECT_EQ(PixelAt(frame.Buffer(), 31), kBlue);
}

// A listener may still be shown the last picture when a capture of another size
// has begun and failed.
TEST(ScreenCaptureFrame, LeavesABlockThatWasHandedOutAlone) {
  ScreenCaptureFrame frame;
  ASSERT_TRUE(frame.Resize(8, 4));
  Fill(frame.Buffer(), 32, kBlue);
  ASSERT_TRUE(frame.ScaleTo(4, 2));
  const ScreenCaptureFrame::Pixels delivered = frame.Buffer();
  const ScreenCaptureFrame::Pixels deliveredScaled = frame.ScaledBuffer();

  ASSERT_TRUE(frame.Resize(6, 6));
  EXPECT_EQ(PixelAt(frame.Buffer(), 35), 0u) << "a new block is black";
  Fill(frame.Buffer(), 36, kRed);
  ASSERT_TRUE(frame.ScaleTo(3, 3));
  frame.Reset();

  for (std::size_t i = 0; i < 32; ++i) {
    ASSERT_EQ(PixelAt(delivered, i), kBlue) << "pixel " << i;
  }
  EXPECT_EQ(PixelAt(deliveredScaled, 7), kBlue);
}

TEST(ScreenCaptureFrame, RefusesSizesThatOverflow) {
  ScreenCaptureFrame frame;
  ASSERT_TRUE(frame.Resize(8, 4));
  Fill(frame.Buffer(), 32, kBlue);
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
  EXPECT_EQ(PixelAt(frame.Buffer(), 31), kBlue);
}

TEST(ScreenCaptureFrame, ScalesOnlyDownAndOnlyWhenThereIsSomethingToDo) {
  ScreenCaptureFrame frame;
  ASSERT_TRUE(frame.Resize(64, 32));
  Fill(frame.Buffer(), 64 * 32, kBlue);
  EXPECT_FALSE(frame.ScaleTo(64, 32)) << "its own size";
  EXPECT_FALSE(frame.ScaleTo(65, 16));
  EXPECT_FALSE(frame.ScaleTo(32, 33));
  EXPECT_FALSE(frame.ScaleTo(0, 16));
  EXPECT_FALSE(frame.ScaleTo(16, -1));
  EXPECT_FALSE(frame.ScaledBuffer());
  EXPECT_TRUE(frame.ScaleTo(64, 31)) << "smaller in one direction";
}

// Left half red, right half blue: each scaled pixel is the mean of its own box.
TEST(ScreenCaptureFrame, ScalesByAveragingBoxes) {
  ScreenCaptureFrame frame;
  ASSERT_TRUE(frame.Resize(8, 4));
  Fill(frame.Buffer(), 32, kBlue);
  for (std::size_t y = 0; y < 4; ++y) {
    for (std::size_t x = 0; x < 4; ++x) {
      std::memcpy(frame.Buffer().get() + (y * 8 + x) * 4, &kRed, 4);
    }
  }
  ASSERT_TRUE(frame.ScaleTo(4, 2));
  EXPECT_EQ(frame.ScaledWidth(), 4);
  EXPECT_EQ(frame.ScaledHeight(), 2);
  for (std::size_t y = 0; y < 2; ++y) {
    EXPECT_EQ(PixelAt(frame.ScaledBuffer(), y * 4 + 0), kRed);
    EXPECT_EQ(PixelAt(frame.ScaledBuffer(), y * 4 + 1), kRed);
    EXPECT_EQ(PixelAt(frame.ScaledBuffer(), y * 4 + 2), kBlue);
    EXPECT_EQ(PixelAt(frame.ScaledBuffer(), y * 4 + 3), kBlue);
  }
  const std::uint8_t* const block = frame.ScaledBuffer().get();
  ASSERT_TRUE(frame.ScaleTo(4, 2));
  EXPECT_EQ(frame.ScaledBuffer().get(), block) << "a steady size allocates nothing";
}

}  // namespace
}  // namespace qx
