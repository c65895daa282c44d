#include "tests/fuzz/Pixels.h"

#include <cstddef>

#include "tests/fuzz/Promise.h"

namespace qx::fuzz {

namespace {

std::uint64_t readRows(const std::uint8_t* rows, std::int32_t stride, std::int32_t rowBytes,
                       std::int32_t height) {
  Promise(rows != nullptr && stride >= rowBytes, "a picture has rows as wide as it is");
  std::uint64_t sum = 0;
  for (std::int32_t y = 0; y < height; ++y) {
    const std::uint8_t* const row = rows + static_cast<std::ptrdiff_t>(y) * stride;
    for (std::int32_t x = 0; x < rowBytes; ++x) {
      sum = sum * 31 + row[x];
    }
  }
  return sum;
}

}  // namespace

std::uint64_t ReadPicture(const qx_screen_frame_data& picture) {
  Promise(picture.width > 0 && picture.height > 0, "a picture has a size");
  Promise(picture.raw_width > 0 && picture.raw_height > 0, "what was captured has a size");
  if (picture.format == QX_SCREEN_FRAME_FORMAT_ARGB) {
    return readRows(picture.data, picture.stride, picture.width * 4, picture.height);
  }
  Promise(picture.format == QX_SCREEN_FRAME_FORMAT_I420, "a picture has one of two formats");
  const std::int32_t halfWidth = (picture.width + 1) / 2;
  const std::int32_t halfHeight = (picture.height + 1) / 2;
  return readRows(picture.data_y, picture.stride_y, picture.width, picture.height) +
         readRows(picture.data_u, picture.stride_u, halfWidth, halfHeight) * 3 +
         readRows(picture.data_v, picture.stride_v, halfWidth, halfHeight) * 7;
}

bool HasColor(const qx_screen_frame_data& picture, std::uint32_t rgb) {
  for (std::int32_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* pixel = picture.data + static_cast<std::ptrdiff_t>(y) * picture.stride;
    for (std::int32_t x = 0; x < picture.width; ++x, pixel += 4) {
      const std::uint32_t color = static_cast<std::uint32_t>(pixel[2]) << 16 |
                                  static_cast<std::uint32_t>(pixel[1]) << 8 | pixel[0];
      if (color == rgb || color == rgb + 0x010000) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace qx::fuzz
