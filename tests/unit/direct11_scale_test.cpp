// Pictures that the graphics processor makes, with the cursor on them. What is expected is
// worked out here, pixel by pixel.
#include <d3d11.h>
#include <dxgi1_2.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/GraphicsCard.h"
#include "tests/support/PointerNews.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/dxgi/Direct11Scale.h"

namespace qx {
namespace {

using test::LogRecorder;
using test::PointerNews;

constexpr int kWidth = 40;
constexpr int kHeight = 24;
constexpr std::uint32_t kInvert = 0xFFFFFF;
constexpr int kChannels[] = {24, 16, 8, 0};

// 0xAARRGGBB of a picture at a place.
using Pixels = std::function<std::uint32_t(int x, int y)>;

// A desktop on which no two places and no two channels are alike.
std::uint32_t Desktop(int x, int y) {
  return 0xFF000000 | static_cast<std::uint32_t>((x * 6 + 3) << 16 | (y * 10 + 1) << 8 |
                                                 ((x * 3 + y * 5) & 255));
}

int Channel(std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 255); }

// A cursor of four quarters, each of which does one thing to what is below it.
constexpr int kCursorWidth = 12;
constexpr int kCursorHeight = 8;

int QuarterAt(int x, int y) { return (y >= kCursorHeight / 2 ? 2 : 0) + (x >= kCursorWidth / 2); }

PointerNews Pixels32(UINT type, const std::vector<std::uint32_t>& quarters) {
  constexpr UINT kPitch = kCursorWidth * 4 + 16;
  PointerNews news;
  news.info = {type, kCursorWidth, kCursorHeight, kPitch, {}};
  news.shape.assign(kPitch * kCursorHeight, 0xEE);
  for (int y = 0; y < kCursorHeight; ++y) {
    for (int x = 0; x < kCursorWidth; ++x) {
      const std::uint32_t pixel = quarters[static_cast<std::size_t>(QuarterAt(x, y))];
      std::memcpy(
          &news.shape[static_cast<std::size_t>(y) * kPitch + static_cast<std::size_t>(x) * 4],
          &pixel, sizeof(pixel));
    }
  }
  return news;
}

struct Cursor {
  std::string name;
  PointerNews news;
  std::function<std::uint32_t(int quarter, std::uint32_t below)> look;
};

// Its alpha stays in the picture.
Cursor Color() {
  return {"color",
          Pixels32(DXGI_OUTDUPL_POINTER_SHAPE_TYPE_COLOR,
                   {0xFFC08040, 0x00FFFFFF, 0x80204060, 0xFF000001}),
          [](int quarter, std::uint32_t below) -> std::uint32_t {
            if (quarter == 2) {  // half of each
              std::uint32_t mixed = 0x80000000;
              for (const int shift : {16, 8, 0}) {
                const int sum = Channel(0x204060, shift) * 128 + Channel(below, shift) * 127;
                mixed |= static_cast<std::uint32_t>((sum + 127) / 255) << shift;
              }
              return mixed;
            }
            return quarter == 0 ? 0xFFC08040 : quarter == 1 ? below & 0xFFFFFF : 0xFF000001;
          }};
}

Cursor MaskedColor() {
  return {"masked color",
          Pixels32(DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR,
                   {0x00C08040, 0xFF000000, 0xFF102030, 0xFFFFFFFF}),
          [](int quarter, std::uint32_t below) -> std::uint32_t {
            return quarter == 0   ? 0xFFC08040
                   : quarter == 1 ? below
                   : quarter == 2 ? below ^ 0x102030
                                  : below ^ kInvert;
          }};
}

// Black, white, nothing, inverted.
Cursor Monochrome() {
  constexpr UINT kPitch = 4;
  Cursor cursor;
  cursor.name = "monochrome";
  cursor.news.info = {
      DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME, kCursorWidth, kCursorHeight * 2, kPitch, {}};
  cursor.news.shape.assign(kPitch * kCursorHeight * 2, 0);
  for (int y = 0; y < kCursorHeight; ++y) {
    for (int x = 0; x < kCursorWidth; ++x) {
      const int quarter = QuarterAt(x, y);
      const auto bit = static_cast<std::uint8_t>(128 >> (x % 8));
      const auto at = [x](int row) {
        return static_cast<std::size_t>(row) * kPitch + static_cast<std::size_t>(x / 8);
      };
      if (quarter >= 2) {
        cursor.news.shape[at(y)] |= bit;
      }
      if (quarter % 2 == 1) {
        cursor.news.shape[at(kCursorHeight + y)] |= bit;
      }
    }
  }
  cursor.look = [](int quarter, std::uint32_t below) -> std::uint32_t {
    return quarter == 0   ? 0xFF000000
           : quarter == 1 ? 0xFFFFFFFF
           : quarter == 2 ? below
                          : below ^ kInvert;
  };
  return cursor;
}

Pixels WithCursor(const Pixels& picture, const Cursor& cursor, int left, int top) {
  return [picture, look = cursor.look, left, top](int x, int y) {
    const bool on = x >= left && x < left + kCursorWidth && y >= top && y < top + kCursorHeight;
    return on ? look(QuarterAt(x - left, y - top), picture(x, y)) : picture(x, y);
  };
}

class Direct11ScaleTest : public testing::Test {
 protected:
  // Whether the desktop, drawn in its own size with the cursor, has these pixels, give or
  // take `tolerance` in each channel.
  testing::AssertionResult Shows(const Pixels& expected, int tolerance = 0) {
    ComPtr<ID3D11Texture2D> target;
    EXPECT_TRUE(scale.Scale(card.Texture(test::MakePicture(kWidth, kHeight, Desktop)).Get(), target,
                            kWidth, kHeight, kWidth, kHeight, true));
    const test::CardPicture picture = card.Read(target.Get());
    if (picture.width != kWidth || picture.height != kHeight) {
      return testing::AssertionFailure() << "it has " << picture.width << 'x' << picture.height;
    }
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        for (const int shift : kChannels) {
          const std::uint32_t seen = picture.At(x, y);
          const std::uint32_t wanted = expected(x, y);
          if (std::abs(Channel(seen, shift) - Channel(wanted, shift)) > tolerance) {
            return testing::AssertionFailure() << "first wrong pixel at " << x << ',' << y << ": "
                                               << std::hex << seen << " instead of " << wanted;
          }
        }
      }
    }
    return testing::AssertionSuccess();
  }

  const test::Card card;
  Direct11Scale scale;
};

TEST_F(Direct11ScaleTest, CutsTheCursorAtEveryEdge) {
  LogRecorder log;
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  for (Cursor& cursor : std::vector<Cursor>{Color(), Monochrome(), MaskedColor()}) {
    for (const int left : {-kCursorWidth, -7, 10, kWidth - 7, kWidth}) {
      for (const int top : {-kCursorHeight, -5, 10, kHeight - 5, kHeight}) {
        ASSERT_TRUE(scale.UpdateCursor(&cursor.news, cursor.news.At(left, top)));
        EXPECT_TRUE(Shows(WithCursor(Desktop, cursor, left, top), 1))
            << cursor.name << " at " << left << ',' << top;
      }
    }
  }
  PointerNews none;
  for (const LONG away : {LONG{INT32_MIN}, LONG{INT32_MAX}}) {
    ASSERT_TRUE(scale.UpdateCursor(&none, PointerNews::MouseAt(away, away)));
    EXPECT_TRUE(Shows(Desktop));
  }
  EXPECT_EQ(log.Count("failed"), 0) << "nothing is made of what isn't seen: " << log.Dump();
}

TEST_F(Direct11ScaleTest, DrawsNoCursorWhoseShapeClaimsMoreThanItHolds) {
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  using Info = DXGI_OUTDUPL_POINTER_SHAPE_INFO;
  const std::vector<std::function<void(Info&)>> lies = {
      [](Info& info) { info.Height += 2; },
      [](Info& info) { info.Width = info.Pitch * 8 + 1; },
      [](Info& info) { info.Height = info.Pitch = 0x10000; },  // the product is 0 in 32 bits
      [](Info& info) { info.Width = 0x40000000; },             // so are four times this
      [](Info& info) { info.Width = 0; },
      [](Info& info) { info.Height = 0; },
      [](Info& info) { info.Type = 8; },
  };
  for (const Cursor& honest : {Color(), Monochrome(), MaskedColor()}) {
    for (std::size_t i = 0; i < lies.size(); ++i) {
      // A block that was larger before holds no more of this shape for that.
      PointerNews large = honest.news;
      large.shape.resize(large.shape.size() * 2);
      ASSERT_TRUE(scale.UpdateCursor(&large, large.At(2, 2)));
      EXPECT_FALSE(Shows(Desktop)) << honest.name;
      PointerNews lying = honest.news;
      lies[i](lying.info);
      ASSERT_TRUE(scale.UpdateCursor(&lying, lying.At(2, 2)));
      EXPECT_TRUE(Shows(Desktop)) << honest.name << ", lie " << i;
    }
  }
}

TEST_F(Direct11ScaleTest, KeepsTheCursorWhoseNewShapeCannotBeRead) {
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  Cursor cursor = Monochrome();
  ASSERT_TRUE(scale.UpdateCursor(&cursor.news, cursor.news.At(3, 3)));
  PointerNews failing = Color().news;
  failing.answer = E_FAIL;
  ASSERT_TRUE(scale.UpdateCursor(&failing, failing.At(10, 6)));
  EXPECT_TRUE(Shows(WithCursor(Desktop, cursor, 10, 6)));
}

TEST_F(Direct11ScaleTest, LeavesTheViewportAsItWas) {
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  const D3D11_VIEWPORT viewport = {1, 2, 3, 4, 0, 1};
  card.context->RSSetViewports(1, &viewport);
  EXPECT_TRUE(Shows(Desktop));
  D3D11_VIEWPORT after = {};
  UINT count = 1;
  card.context->RSGetViewports(&count, &after);
  EXPECT_EQ(std::memcmp(&after, &viewport, sizeof(viewport)), 0);
}

}  // namespace
}  // namespace qx
