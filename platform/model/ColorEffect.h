// Colour effects of magnifiers.
#pragma once

#include <magnification.h>

#include <cstdint>
#include <vector>

namespace vwin {

// Multiplies each pixel of 0xAARRGGBB with the matrix; what lies between two values is cut
// off, and what is beyond the ends is limited.
void Apply(const MAGCOLOREFFECT& effect, std::vector<std::uint32_t>& pixels);

}  // namespace vwin
