// Pictures turned by right angles.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vwin {

// Turns a picture clockwise. Strides in pixels; `to` has room for the picture that comes
// out, which is as wide as the other was high after one or three quarters.
void TurnPicture(const std::uint32_t* from, int width, int height, std::ptrdiff_t fromStride,
                 int quarterTurns, std::uint32_t* to, std::ptrdiff_t toStride);

}  // namespace vwin
