#include "tests/support/PictureMatcher.h"

#include <algorithm>
#include <iomanip>

namespace qx::test {
namespace {

std::uint32_t expectedAt(int x, int y, std::uint32_t background,
                         const std::vector<Patch>& patches) {
  std::uint32_t expected = background;
  for (const Patch& patch : patches) {
    if (x >= patch.left && x < patch.right && y >= patch.top && y < patch.bottom) {
      expected = patch.rgb;
    }
  }
  return expected;
}

}  // namespace

testing::AssertionResult Shows(const Frame& frame, std::uint32_t background,
                               const std::vector<Patch>& patches) {
  if (frame.argb.empty()) {
    return testing::AssertionFailure() << "the frame has no ARGB pixels (" << frame.width << "x"
                                       << frame.height << ", format " << frame.format << ")";
  }
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const std::uint32_t expected = expectedAt(x, y, background, patches);
      const std::uint32_t seen = frame.At(x, y);
      if (seen != expected) {
        return testing::AssertionFailure()
               << "first wrong pixel at " << x << ',' << y << " of " << frame.width << 'x'
               << frame.height << std::hex << std::setfill('0') << ": 0x" << std::setw(6) << seen
               << " instead of 0x" << std::setw(6) << expected;
      }
    }
  }
  return testing::AssertionSuccess();
}

}  // namespace qx::test
