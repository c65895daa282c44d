// What a test expects to see: its own rectangles and colours, painted one over
// the other, against a delivered ARGB frame.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/support/ShareRecorder.h"

namespace qx::test {

struct Patch {
  int left;
  int top;
  int right;
  int bottom;
  std::uint32_t rgb;  // 0x00RRGGBB
};

// Every pixel of `frame` is `background` or the last of `patches` over it.
// Coordinates count from the frame's top left; patches may reach beyond it.
testing::AssertionResult Shows(const Frame& frame, std::uint32_t background,
                               const std::vector<Patch>& patches);

}  // namespace qx::test
