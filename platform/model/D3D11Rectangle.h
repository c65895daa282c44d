// Drawing a rectangle that shows a part of a texture upright or turned by right angles:
// what whole pictures are drawn as. Row by row, so much faster than pixel by pixel.
#pragma once

#include <array>
#include <vector>

#include "platform/model/D3D11Pixels.h"

namespace vwin::d3d11 {

// True when the strip is such a rectangle and was drawn. `at`: where its four corners lie
// on the target.
bool DrawnAsRectangle(const std::vector<Corner>& corners, const std::array<Point, 4>& at,
                      const Drawing& drawing);

}  // namespace vwin::d3d11
