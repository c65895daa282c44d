// Pictures that the graphics processor makes: scaled, set upright, with the cursor on
// them. What is expected is worked out here, pixel by pixel.
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

Pixels Halved(const Pixels& picture) {
  return [picture](int x, int y) {
    std::uint32_t mean = 0;
    for (const int shift : kChannels) {
      const int sum =
          Channel(picture(2 * x, 2 * y), shift) + Channel(picture(2 * x + 1, 2 * y), shift) +
          Channel(picture(2 * x, 2 * y + 1), shift) + Channel(picture(2 * x + 1, 2 * y + 1), shift);
      mean |= static_cast<std::uint32_t>((sum + 2) / 4) << shift;
    }
    return mean;
  };
}

// How a monitor that is turned keeps the picture `upright` of kWidth by kHeight.
Pixels Turned(const Pixels& upright, DXGI_MODE_ROTATION rotation) {
  return [upright, rotation](int x, int y) {
    switch (rotation) {
      case DXGI_MODE_ROTATION_ROTATE90:
        return upright(kWidth - 1 - y, x);
      case DXGI_MODE_ROTATION_ROTATE180:
        return upright(kWidth - 1 - x, kHeight - 1 - y);
      case DXGI_MODE_ROTATION_ROTATE270:
        return upright(y, kHeight - 1 - x);
      default:
        return upright(x, y);
    }
  };
}

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
  ComPtr<ID3D11Texture2D> Texture(int width, int height, const Pixels& pixels) const {
    return card.Texture(test::MakePicture(width, height, pixels));
  }

  // Whether `texture` is a picture of this size and these pixels, give or take
  // `tolerance` in each channel.
  testing::AssertionResult Shows(const ComPtr<ID3D11Texture2D>& texture, int width, int height,
                                 const Pixels& expected, int tolerance = 0) const {
    const test::CardPicture picture = card.Read(texture.Get());
    if (picture.width != width || picture.height != height) {
      return testing::AssertionFailure() << "it has " << picture.width << 'x' << picture.height;
    }
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
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
  testing::AssertionResult ShowsDesktop(const ComPtr<ID3D11Texture2D>& texture) const {
    return Shows(texture, kWidth, kHeight, Desktop);
  }

  // Scales the desktop, in its own size unless another is given, with the cursor.
  ComPtr<ID3D11Texture2D> Draw(int width = kWidth, int height = kHeight) {
    ComPtr<ID3D11Texture2D> target;
    EXPECT_TRUE(scale.Scale(Texture(kWidth, kHeight, Desktop).Get(), target, kWidth, kHeight, width,
                            height, true));
    return target;
  }

  const test::Card card;
  Direct11Scale scale;
};

TEST_F(Direct11ScaleTest, SetsAnyMonitorUprightAndLaysTheCursorOverItsUprightPicture) {
  for (const DXGI_MODE_ROTATION rotation :
       {DXGI_MODE_ROTATION_UNSPECIFIED, DXGI_MODE_ROTATION_IDENTITY, DXGI_MODE_ROTATION_ROTATE90,
        DXGI_MODE_ROTATION_ROTATE180, DXGI_MODE_ROTATION_ROTATE270}) {
    SCOPED_TRACE(rotation);
    const bool onItsSide =
        rotation == DXGI_MODE_ROTATION_ROTATE90 || rotation == DXGI_MODE_ROTATION_ROTATE270;
    const ComPtr<ID3D11Texture2D> source = Texture(
        onItsSide ? kHeight : kWidth, onItsSide ? kWidth : kHeight, Turned(Desktop, rotation));
    scale.Release();
    ASSERT_TRUE(scale.Init(card.device, rotation));
    ComPtr<ID3D11Texture2D> target;
    ASSERT_TRUE(scale.Scale(source.Get(), target, kWidth, kHeight, kWidth, kHeight, true));
    EXPECT_TRUE(ShowsDesktop(target));
    for (Cursor& cursor : std::vector<Cursor>{Color(), Monochrome(), MaskedColor()}) {
      SCOPED_TRACE(cursor.name);
      ASSERT_TRUE(scale.UpdateCursor(&cursor.news, cursor.news.At(22, 4)));
      const Pixels expected = WithCursor(Desktop, cursor, 22, 4);
      ASSERT_TRUE(scale.Scale(source.Get(), target, kWidth, kHeight, kWidth, kHeight, true));
      EXPECT_TRUE(Shows(target, kWidth, kHeight, expected, 1));
      ASSERT_TRUE(
          scale.Scale(source.Get(), target, kWidth, kHeight, kWidth / 2, kHeight / 2, true));
      EXPECT_TRUE(Shows(target, kWidth / 2, kHeight / 2, Halved(expected), 1));
      ASSERT_TRUE(scale.Scale(source.Get(), target, kWidth, kHeight, kWidth, kHeight, false));
      EXPECT_TRUE(ShowsDesktop(target)) << "no cursor is wanted";
    }
  }
}

TEST_F(Direct11ScaleTest, CutsTheCursorAtEveryEdge) {
  LogRecorder log;
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  for (Cursor& cursor : std::vector<Cursor>{Color(), Monochrome(), MaskedColor()}) {
    for (const int left : {-kCursorWidth, -7, 10, kWidth - 7, kWidth}) {
      for (const int top : {-kCursorHeight, -5, 10, kHeight - 5, kHeight}) {
        ASSERT_TRUE(scale.UpdateCursor(&cursor.news, cursor.news.At(left, top)));
        EXPECT_TRUE(Shows(Draw(), kWidth, kHeight, WithCursor(Desktop, cursor, left, top), 1))
            << cursor.name << " at " << left << ',' << top;
      }
    }
  }
  PointerNews none;
  for (const LONG away : {LONG{INT32_MIN}, LONG{INT32_MAX}}) {
    ASSERT_TRUE(scale.UpdateCursor(&none, PointerNews::MouseAt(away, away)));
    EXPECT_TRUE(ShowsDesktop(Draw()));
  }
  EXPECT_EQ(log.Count("failed"), 0) << "nothing is made of what isn't seen: " << log.Dump();
}

TEST_F(Direct11ScaleTest, KeepsTheCursorUntilThereIsNewsOrAnotherDevice) {
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  Cursor cursor = Monochrome();
  EXPECT_TRUE(ShowsDesktop(Draw())) << "nothing is known of it yet";
  ASSERT_TRUE(scale.UpdateCursor(&cursor.news, cursor.news.At(3, 3)));
  DXGI_OUTDUPL_FRAME_INFO old = cursor.news.At(5, 5);
  old.LastMouseUpdateTime.QuadPart = 0;
  ASSERT_TRUE(scale.UpdateCursor(&cursor.news, old));
  EXPECT_TRUE(Shows(Draw(), kWidth, kHeight, WithCursor(Desktop, cursor, 3, 3))) << "no news";
  PointerNews failing = Color().news;
  failing.answer = E_FAIL;
  ASSERT_TRUE(scale.UpdateCursor(&failing, failing.At(10, 6)));
  EXPECT_TRUE(Shows(Draw(), kWidth, kHeight, WithCursor(Desktop, cursor, 10, 6)))
      << "a shape that can't be read";
  scale.Release();
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  EXPECT_TRUE(ShowsDesktop(Draw())) << "forgotten with the device";
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
      EXPECT_FALSE(ShowsDesktop(Draw())) << honest.name;
      PointerNews lying = honest.news;
      lies[i](lying.info);
      ASSERT_TRUE(scale.UpdateCursor(&lying, lying.At(2, 2)));
      EXPECT_TRUE(ShowsDesktop(Draw())) << honest.name << ", lie " << i;
    }
  }
}

TEST_F(Direct11ScaleTest, AsksForInitKeepsTheFirstAndLeavesWhatIsNotItsOwn) {
  LogRecorder log;
  PointerNews news;
  const ComPtr<ID3D11Texture2D> source = Texture(kWidth, kHeight, Desktop);
  ComPtr<ID3D11Texture2D> target = source;
  EXPECT_FALSE(scale.Scale(source.Get(), target, kWidth, kHeight, kWidth, kHeight, false));
  EXPECT_EQ(target.Get(), source.Get());
  EXPECT_FALSE(scale.UpdateCursor(&news, {}));
  EXPECT_EQ(log.Count("need init first"), 2);
  EXPECT_FALSE(scale.Init(nullptr, DXGI_MODE_ROTATION_IDENTITY));

  const auto references = [this] {
    card.device->AddRef();
    card.context->AddRef();
    return card.device->Release() + card.context->Release();
  };
  const ULONG before = references();
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_ROTATE180));
  ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_IDENTITY));
  const D3D11_VIEWPORT viewport = {1, 2, 3, 4, 0, 1};
  card.context->RSSetViewports(1, &viewport);
  ComPtr<ID3D11Texture2D> first = Draw();
  Draw(kWidth / 2, kHeight / 2);
  EXPECT_TRUE(Shows(first, kWidth, kHeight, Turned(Desktop, DXGI_MODE_ROTATION_ROTATE180)));
  first.Reset();
  D3D11_VIEWPORT after = {};
  UINT count = 1;
  card.context->RSGetViewports(&count, &after);
  EXPECT_EQ(std::memcmp(&after, &viewport, sizeof(viewport)), 0) << "as it was";
  scale.Release();
  EXPECT_EQ(references(), before) << "nobody holds the device any more";
  EXPECT_FALSE(scale.Scale(source.Get(), target, kWidth, kHeight, kWidth, kHeight, false));
}

}  // namespace
}  // namespace qx
