// PNG files as tests look at them.
#pragma once

#include <cstdint>
#include <vector>

namespace qx::test {

struct PngPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;  // 0xAARRGGBB, straight alpha, rows top to bottom
};

// No size for what is not a complete PNG file.
PngPicture ReadPng(const std::vector<std::uint8_t>& file);

}  // namespace qx::test
