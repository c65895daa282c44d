// What becomes of a picture when something that it takes can't be made.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/control/Faults.h"
#include "tests/support/GraphicsCard.h"
#include "tests/support/PointerNews.h"
#include "win/engine/dxgi/Direct11Scale.h"

namespace qx {
namespace {

using namespace vwin::control;
using test::CardPicture;
using test::PointerNews;

constexpr std::uint32_t kBelow = 0xFF204080;
constexpr std::uint32_t kInverted = 0xFFDFBF7F;
const CardPicture kPlain = test::MakePicture(8, 4, [](int, int) { return kBelow; });
const CardPicture kWithCursor =
    test::MakePicture(8, 4, [](int x, int y) { return x < 2 && y < 2 ? kInverted : kBelow; });

// A monitor that is turned and a cursor that is composed with it: all that there is to
// make, twice, since the second picture could show what is left of the first. The ledger
// is looked at after the test.
TEST(Direct11ScaleFaults, OneFailureCostsTheStartOrThePictureOrTheCursorAndNothingAfterIt) {
  PointerNews pointer;
  pointer.info = {DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR, 2, 2, 8, {}};
  pointer.shape.assign(16, 0xFF);
  const test::Card card;
  const ComPtr<ID3D11Texture2D> source = card.Texture(kPlain);
  int lostStarts = 0;
  int lostPictures = 0;
  int lostCursors = 0;
  bool injected = true;
  for (std::uint64_t n = 1; injected; ++n) {
    ASSERT_LT(n, 100u);
    Direct11Scale scale;
    std::vector<ComPtr<ID3D11Texture2D>> drawn;
    const auto draw = [&] {
      EXPECT_TRUE(scale.UpdateCursor(&pointer, pointer.At(0, 0)));
      const bool done = scale.Scale(source.Get(), drawn.emplace_back(), 8, 4, 8, 4, true);
      EXPECT_EQ(static_cast<bool>(drawn.back()), done);
    };
    FailNthOfAll(n);
    if (scale.Init(card.device, DXGI_MODE_ROTATION_ROTATE180)) {
      draw();
      draw();
    } else {
      ++lostStarts;
      ASSERT_TRUE(scale.Init(card.device, DXGI_MODE_ROTATION_ROTATE180));
    }
    const std::string failed = InjectedInto().value_or("");
    SCOPED_TRACE(failed);
    injected = !failed.empty();
    ClearFaults();
    draw();
    for (const ComPtr<ID3D11Texture2D>& picture : drawn) {
      const CardPicture seen = picture ? card.Read(picture.Get()) : CardPicture{};
      lostPictures += picture ? 0 : 1;
      lostCursors += seen.pixels == kPlain.pixels ? 1 : 0;
      EXPECT_TRUE(!picture || seen.pixels == kPlain.pixels || seen.pixels == kWithCursor.pixels);
    }
    ASSERT_TRUE(drawn.back());
    EXPECT_EQ(card.Read(drawn.back().Get()).pixels, kWithCursor.pixels);
  }
  EXPECT_GT(lostStarts, 0);
  EXPECT_GT(lostPictures, 0);
  EXPECT_GT(lostCursors, 0);
}

}  // namespace
}  // namespace qx
