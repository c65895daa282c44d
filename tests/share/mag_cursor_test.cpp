// The cursor in the pictures of a magnifier.
#include <array>
#include <string>

#include "platform/control/Icons.h"
#include "tests/share/MagShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class MagCursorTest : public MagShareTest {
 protected:
  MagCursorTest() {
    // Opaque red, half-transparent red, transparent, opaque blue.
    SetCursorIcon({4, 1, {0xFFC80000, 0x80C80000, 0x00000000, 0xFF0000FA}}, {0, 0});
    SetCursorPosition(100, 60);
    capture.EnableCaptureCursor(true);
  }
  void useNewWay() {
    capture.SetScreenCaptureConfig({.scDynamicCheck = false, .scNewMouseCaptureWay = true});
  }
  // The cursor is drawn over the picture as it is.
  testing::AssertionResult showsCursor(int x, int y, std::uint32_t half) {
    return Shows(host.LastFrame(), kBackground + kRedder,
                 {{x, y, x + 1, y + 1, 0xC80000},
                  {x + 1, y, x + 2, y + 1, half},
                  {x + 3, y, x + 4, y + 1, 0x0000FA}})
           << log.Dump();
  }
  // 0xC8 * 0x80 / 0xFF is 100; of the picture's 0x21, 0x30 and 0x40 remain 127 of 255.
  static constexpr std::uint32_t kBlended = (100 + 16) << 16 | 23 << 8 | 31;
};

TEST_F(MagCursorTest, IsBlendedWhereThereAreSeveralMonitors) {
  AddMonitor({320, 0, 400, 100});
  useNewWay();
  startMag();
  EXPECT_TRUE(showsCursor(100, 60, kBlended));
  EXPECT_EQ(log.Count("mag mouse capture way: dib_alpha_blend, scNewMouseCaptureWay:true, "
                      "monitorCount:2"),
            1);
  FailNth("GetIconInfo", 1);
  SetCursorPosition(20, 10);
  tick();
  EXPECT_TRUE(showsCursor(20, 10, kBlended)) << "the last shape, where the cursor is";
  SetCursorPosition(330, 60);
  EXPECT_TRUE(nextMagFrameShows({})) << "on the other monitor";
  for (const char* call : {"GetCursorInfo", "GetDC", "GetObjectW"}) {
    SetCursorPosition(100, 60);
    FailNth(call, 1);
    EXPECT_TRUE(nextMagFrameShows({})) << call << " costs a frame its cursor";
    SetCursorPosition(20, 10);
    tick();
    EXPECT_TRUE(showsCursor(20, 10, kBlended)) << call;
  }
  capture.EnableCaptureCursor(false);
  OpenWindow({.rect = {0, 0, 9, 9}, .color = RGB(1, 2, 3)});
  EXPECT_TRUE(nextMagFrameShows({{0, 0, 9, 9, 0x010203}}));
}

TEST_F(MagCursorTest, IsACopyOfItWhereThereAreSeveralMonitorsAndScaledWithThePicture) {
  AddMonitor({320, 0, 400, 100});
  limitTo(160, 100);
  SetCursorIcon({4, 2, std::vector<std::uint32_t>(8, 0xFFC80000)}, {2, 0});
  startMag();
  EXPECT_EQ(Count("CopyImage"), 1u);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground + kRedder, {{49, 30, 51, 31, 0x000000}}))
      << "and in black and white" << log.Dump();
}

// Cursors of a dark left and another right half, at the edges and corners of the monitors,
// in all the ways in which they are drawn.
constexpr std::uint32_t kBelow = kBackground + kRedder;
constexpr std::uint32_t kInverted = kBelow ^ 0xFFFFFF;
constexpr std::uint32_t kDark = 0x640A14;

enum Way { kDrawn, kDrawnCopy, kBlendedIn };

struct Halves {
  std::uint32_t left;
  std::uint32_t right;
};

constexpr Halves kAsItIs = {kDark, kBelow};
constexpr Halves kBlack = {0, kBelow};

struct CursorCase {
  const char* name;
  int width;
  int height;
  std::uint32_t right;  // of its picture; the left half is kDark, and the mask's 0
  bool alpha;
  bool blackAndWhite;
  std::array<Halves, 3> shows;  // in each Way
};

class MagCursorPlaces : public MagCursorTest, public testing::WithParamInterface<CursorCase> {
 protected:
  static IconPicture picture() {
    const CursorCase& cursor = GetParam();
    IconPicture icon = {cursor.width, cursor.height};
    const int rows = cursor.height * (cursor.blackAndWhite ? 2 : 1);
    for (int i = 0; i < cursor.width * rows; ++i) {
      const bool left = i % cursor.width < cursor.width / 2;
      icon.mask.push_back(left ? 0 : 0xFFFFFF);
      if (!cursor.blackAndWhite) {
        icon.colors.push_back(left ? kDark | (cursor.alpha ? 0xFF000000 : 0) : cursor.right);
      }
    }
    return icon;
  }
  // With its middle at a place of the picture.
  static std::vector<Patch> patchesAt(int x, int y, const Halves& halves) {
    const int halfWidth = GetParam().width / 2;
    const int halfHeight = GetParam().height / 2;
    return {{x - halfWidth, y - halfHeight, x, y + halfHeight, halves.left},
            {x, y - halfHeight, x + halfWidth, y + halfHeight, halves.right}};
  }
};

TEST_P(MagCursorPlaces, CursorIsWhereItBelongsAndNowhereElse) {
  SetCursorIcon(picture(), {GetParam().width / 2, GetParam().height / 2});
  OtherShare other;
  other.capture.EnableCaptureCursor(true);
  useNewWay();
  startMag();
  const std::string drawn = "mag mouse capture way: gdi, scNewMouseCaptureWay:true, monitorCount:1";
  EXPECT_EQ(log.Count(drawn), 1) << log.Dump();
  for (const Way way : {kDrawn, kDrawnCopy, kBlendedIn}) {
    // The way alone is no reason for another engine.
    const IScreenCapture::ScreenCaptureConfig config = {.GetDirtyRectInfo = way == kDrawnCopy,
                                                        .scDynamicCheck = false,
                                                        .scNewMouseCaptureWay = way != kDrawnCopy};
    capture.SetScreenCaptureConfig(config);
    other.capture.SetScreenCaptureConfig(config);
    if (way == kDrawnCopy) {
      ASSERT_TRUE(other.StartMonitor(AddMonitor({-320, 0, 0, 200})));
    }
    tick(2);
    for (const int x : {-320, -160, -1, 0, 160, 319}) {
      for (const int y : {0, 100, 199}) {
        if (way == kDrawn && x < 0) {
          continue;
        }
        SCOPED_TRACE(testing::Message() << "way " << way << " at " << x << ',' << y);
        SetCursorPosition(x, y);
        tick();
        const auto here = patchesAt(x < 0 ? x + 320 : x, y, GetParam().shows[way]);
        const Frame frames[] = {host.LastFrame(), other.host.LastFrame()};
        EXPECT_TRUE(Shows(frames[x < 0 ? 1 : 0], kBelow, here));
        if (way != kDrawn) {
          EXPECT_TRUE(Shows(frames[x < 0 ? 0 : 1], kBelow, {})) << "the neighbour";
        }
        ASSERT_FALSE(HasFailure()) << log.Dump();
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, MagCursorPlaces,
    testing::Values(
        CursorCase{"Alpha", 24, 24, 0, true, false, {kAsItIs, kBlack, kAsItIs}},
        CursorCase{
            "Monochrome", 24, 24, 0, false, true, {Halves{0, kInverted}, {0, kInverted}, {0, 0}}},
        CursorCase{"MaskedColour",
                   24,
                   24,
                   0xFFFFFF,
                   false,
                   false,
                   {Halves{kDark, kInverted}, kBlack, {kDark, 0}}},
        CursorCase{"LargerThanTheMonitor", 700, 420, 0, true, false, {kAsItIs, kBlack, kAsItIs}},
        // Too wide to be blended.
        CursorCase{"Huge", 2100, 20, 0, true, false, {kAsItIs, kBlack, kBlack}}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qx::test
