#include "platform/model/TurnedPicture.h"

#include <libyuv/rotate_argb.h>

#include <algorithm>

namespace vwin {

void TurnPicture(const std::uint32_t* from, int width, int height, std::ptrdiff_t fromStride,
                 int quarterTurns, std::uint32_t* to, std::ptrdiff_t toStride) {
  constexpr int kPixelSize = sizeof(std::uint32_t);
  constexpr int kBand = 32;  // rows whose columns fit into the cache
  for (int y = 0; y < height; y += kBand) {
    const int rows = std::min(kBand, height - y);
    const int below = height - y - rows;
    const std::ptrdiff_t at = quarterTurns == 1 ? below : quarterTurns == 2 ? below * toStride : y;
    libyuv::ARGBRotate(reinterpret_cast<const std::uint8_t*>(from + y * fromStride),
                       static_cast<int>(fromStride) * kPixelSize,
                       reinterpret_cast<std::uint8_t*>(to + at),
                       static_cast<int>(toStride) * kPixelSize, width, rows,
                       static_cast<libyuv::RotationMode>(90 * quarterTurns));
  }
}

}  // namespace vwin
