// Where two pictures differ.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vwin {

// The rectangles in which two pictures of the same size differ; none when they are the
// same. Changes that lie apart get rectangles of their own, each as small as it can be.
// `stride` in pixels, for both.
std::vector<RECT> ChangedParts(const std::uint32_t* before, const std::uint32_t* after, int width,
                               int height, std::ptrdiff_t stride);

}  // namespace vwin
