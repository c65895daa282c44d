// How large a frame may be.
#include <gtest/gtest.h>

#include "common/ResolutionUtil.h"
#include "tests/support/ShareRecorder.h"

namespace qx {

static bool operator==(const Resolution& a, const Resolution& b) {
  return a.width == b.width && a.height == b.height;
}
static void PrintTo(const Resolution& size, std::ostream* out) {
  *out << size.width << 'x' << size.height;
}

namespace {

using Limit = IScreenCapture::ScreenFrameResolutionLimit;

Limit LimitOf(std::uint64_t width, std::uint64_t height, std::uint64_t pixels, int mode = 0) {
  return {.aspectRatioMode = mode,
          .maxScreenWidth = width,
          .maxScreenHeight = height,
          .maxScreenPixels = pixels};
}

// What the call leaves in the outputs; they start with something it must replace.
struct Answer {
  explicit Answer(Resolution raw, const Limit& limit = {})
      : ok(GetLimitedEncodeResolution(raw, size, scale, limit)) {}

  Resolution size = {1, 2};
  double scale = 77;
  bool ok;
};

TEST(ResolutionLimit, DefaultLimit) {
  struct Row {
    Resolution raw;
    double scale;
    Resolution target;
  };
  for (const Row& row :
       {Row{{1920, 1080}, 1.0, {1920, 1080}},
        Row{{2880, 1800}, 1.0, {2880, 1800}},  // just the limit
        Row{{3840, 2160}, 0.7895833, {3032, 1705}},
        Row{{3840, 2400}, 0.75, {2880, 1800}},  // the limit's shape
        Row{{5120, 2880}, 0.5921875, {3032, 1705}}, Row{{5760, 3600}, 0.5, {2880, 1800}},
        Row{{6400, 3600}, 0.5, {3200, 1800}},  // snapped, above the limit
        Row{{7680, 4320}, 0.3947917, {3032, 1705}}, Row{{3000, 2000}, 0.928, {2784, 1856}},
        Row{{8, 1}, 1.0, {8, 1}}}) {
    const Answer answer(row.raw);
    EXPECT_TRUE(answer.ok);
    EXPECT_EQ(answer.size, row.target) << "from " << testing::PrintToString(row.raw);
    EXPECT_NEAR(answer.scale, row.scale, 1e-7);
  }
}

TEST(ResolutionLimit, UnusableLimitsAndSizesLeaveTheRawSize) {
  const test::LogRecorder log;
  const Resolution fullHd = {1920, 1080};
  for (const Answer& answer :
       {Answer(fullHd, LimitOf(1920, 1080, 2073601)), Answer(fullHd, LimitOf(0, 0, 100, 1)),
        Answer(fullHd, LimitOf(1920, 1080, 2073600, 1))}) {
    EXPECT_FALSE(answer.ok);
    EXPECT_EQ(answer.size, fullHd);
    EXPECT_EQ(answer.scale, 1.0);
  }
  for (const Resolution raw : {Resolution{0, 1080}, Resolution{1920, 0}, Resolution{7, 5000}}) {
    const Answer answer(raw);
    EXPECT_FALSE(answer.ok);
    EXPECT_EQ(answer.size, raw);
  }
  ASSERT_EQ(log.Lines().size(), 2u) << "each of the two messages once in five seconds";
  EXPECT_TRUE(log.Has(4,
                      "GetLimitedEncodeResolution fail, screenFrameResolutionLimit is not valid, "
                      "aspectRatioMode:0 maxScreenWidth*maxScreenHeight=1920x1080 "
                      "maxScreenPixels:2073601"))
      << log.Dump();
  EXPECT_TRUE(log.Has(
      4, "GetLimitedEncodeResolution fail, rawResolution.width*rawResolution.height:0x1080"))
      << log.Dump();
}

TEST(ResolutionLimit, WithoutABoxOnlyTheAreaCounts) {
  const Answer scaled({3840, 2160}, LimitOf(0, 0, 1000000));
  EXPECT_TRUE(scaled.ok);
  EXPECT_EQ(scaled.size.width, 1328u);
  EXPECT_EQ(scaled.size.width % 8, 0u);
  EXPECT_LE(scaled.size.width * scaled.size.height, 1000000u);
  EXPECT_EQ(Answer({1000, 1000}, LimitOf(0, 500, 1000000)).size, (Resolution{1000, 1000}));
  const Answer nothing({1920, 1080}, LimitOf(0, 0, 20));
  EXPECT_TRUE(nothing.ok);
  EXPECT_EQ(nothing.size, (Resolution{0, 0}));
}

TEST(ResolutionLimit, SnapsBetween45And55Percent) {
  const test::LogRecorder log;
  // 1600x1000 in boxes of its own shape: 0.44, 0.46, 0.54, 0.55.
  EXPECT_EQ(Answer({1600, 1000}, LimitOf(704, 440, 309760)).scale, 0.44);
  EXPECT_EQ(log.Count("change to 0.5"), 0) << log.Dump();
  EXPECT_EQ(Answer({1600, 1000}, LimitOf(736, 460, 338560)).size, (Resolution{800, 500}));
  EXPECT_TRUE(log.Has(3, "qx-sc:config:resolution scale is 0.46, change to 0.5")) << log.Dump();
  EXPECT_EQ(Answer({1600, 1000}, LimitOf(864, 540, 466560)).scale, 0.5);
  EXPECT_EQ(Answer({1600, 1000}, LimitOf(880, 550, 484000)).scale, 0.55);
  EXPECT_EQ(log.Count("change to 0.5"), 1) << "limited, as one statement";
  // Scaling to an area is a statement of its own.
  EXPECT_EQ(Answer({1600, 1000}, LimitOf(0, 0, 400000)).scale, 0.5);
  EXPECT_EQ(log.Count("change to 0.5"), 2) << log.Dump();
}

}  // namespace
}  // namespace qx
