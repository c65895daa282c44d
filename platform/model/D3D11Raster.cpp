#include "platform/model/D3D11Raster.h"

#include <algorithm>
#include <cmath>

#include "platform/model/D3D11Pixels.h"
#include "platform/model/D3D11Rectangle.h"
#include "platform/model/Rects.h"

namespace vwin::d3d11 {
namespace {

// `u` and `v` in texels.
std::uint32_t sampled(const Image& texture, double u, double v, const Footprint& footprint,
                      int probes) {
  const bool alongRight = footprint.Right() >= footprint.Below();
  const double du = alongRight ? footprint.rightU : footprint.belowU;
  const double dv = alongRight ? footprint.rightV : footprint.belowV;
  std::array<std::uint32_t, 4> sums{};
  for (int i = 0; i < probes; ++i) {
    const double along = (i + 0.5) / probes - 0.5;
    const std::uint32_t pixel =
        Bilinear(texture.pixels, NeighboursAt(u + along * du, texture.width, 1),
                 NeighboursAt(v + along * dv, texture.height, texture.stride));
    for (unsigned c = 0; c < 4; ++c) sums[c] += pixel >> 8 * c & 0xFF;
  }
  std::uint32_t pixel = 0;
  const auto count = static_cast<std::uint32_t>(probes);
  for (unsigned c = 0; c < 4; ++c) pixel |= (sums[c] + count / 2) / count << 8 * c;
  return pixel;
}

// Twice the area to the right of the way from `a` to `b` that `c` spans.
std::int64_t areaOf(const Point& a, const Point& b, const Point& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// Pixels on an edge belong to the triangle on whose top or left they are.
bool ownsEdge(const Point& a, const Point& b) { return b.y < a.y || (b.y == a.y && b.x > a.x); }

// A value that changes evenly over a triangle: at the target's origin, and by how much
// from pixel to pixel.
struct Plane {
  double origin, right, below;

  double At(double x, double y) const { return origin + right * x + below * y; }
};

class Triangle {
 public:
  Triangle(std::array<const Corner*, 3> corners, std::array<Point, 3> at, const Drawing& drawing)
      : m_corners(corners), m_at(at), m_drawing(drawing), m_area(areaOf(at[0], at[1], at[2])) {}

  void Draw() const {
    if (m_area <= 0) return;
    std::array<std::array<Plane, 4>, kRegisters> planes;
    for (std::size_t reg = 0; reg < kRegisters; ++reg) {
      for (std::size_t c = 0; c < 4; ++c) planes[reg][c] = planeOf(reg, c);
    }
    std::vector<Footprint> footprints;
    for (const SampleSite& site : m_drawing.pixelShader->samples()) {
      const Image& texture = m_drawing.textures[site.texture];
      const Plane& u = planes[site.u.reg][site.u.component];
      const Plane& v = planes[site.v.reg][site.v.component];
      footprints.push_back({u.right * texture.width, v.right * texture.height,
                            u.below * texture.width, v.below * texture.height});
    }
    const auto [left, right] = std::minmax({m_at[0].x, m_at[1].x, m_at[2].x});
    const auto [top, bottom] = std::minmax({m_at[0].y, m_at[1].y, m_at[2].y});
    const RECT box = Overlap(ClipOf(m_drawing), {FirstPixel(left), FirstPixel(top),
                                                 FirstPixel(right) + 1, FirstPixel(bottom) + 1});
    for (int y = box.top; y < box.bottom; ++y) {
      for (int x = box.left; x < box.right; ++x) {
        if (!covers({std::int64_t{x} * kFraction + kHalf, std::int64_t{y} * kFraction + kHalf}))
          continue;
        RegisterFile<float> inputs;
        for (std::size_t reg = 0; reg < kRegisters; ++reg) {
          for (std::size_t c = 0; c < 4; ++c)
            inputs[reg][c] = static_cast<float>(planes[reg][c].At(x + 0.5, y + 0.5));
        }
        const std::uint32_t pixel = shade(inputs, footprints);
        WriteRow(m_drawing.target.Row(y) + x, &pixel, 1, m_drawing.blending);
      }
    }
  }

 private:
  bool covers(const Point& point) const {
    for (std::size_t i = 0; i < 3; ++i) {
      const Point& a = m_at[i];
      const Point& b = m_at[(i + 1) % 3];
      const std::int64_t side = areaOf(a, b, point);
      if (side < 0 || (side == 0 && !ownsEdge(a, b))) return false;
    }
    return true;
  }

  Plane planeOf(std::size_t reg, std::size_t component) const {
    const auto value = [&](std::size_t i) { return double{m_corners[i]->outputs[reg][component]}; };
    const auto x = [&](std::size_t i) { return static_cast<double>(m_at[i].x) / kFraction; };
    const auto y = [&](std::size_t i) { return static_cast<double>(m_at[i].y) / kFraction; };
    const double area = static_cast<double>(m_area) / (kFraction * kFraction);
    const double one = value(1) - value(0), two = value(2) - value(0);
    Plane plane{};
    plane.right = (one * (y(2) - y(0)) - two * (y(1) - y(0))) / area;
    plane.below = (two * (x(1) - x(0)) - one * (x(2) - x(0))) / area;
    plane.origin = value(0) - plane.right * x(0) - plane.below * y(0);
    return plane;
  }

  std::uint32_t shade(const RegisterFile<float>& inputs,
                      const std::vector<Footprint>& footprints) const {
    const auto sample = [&](std::size_t number, float u, float v) {
      const SampleSite& site = m_drawing.pixelShader->samples()[number];
      const Image& texture = m_drawing.textures[site.texture];
      Vector4<float> color{};
      if (!texture.pixels) return color;
      const Footprint& footprint = footprints[number];
      const std::uint32_t pixel =
          sampled(texture, double{u} * texture.width, double{v} * texture.height, footprint,
                  ProbesFor(footprint, m_drawing.samplers[site.sampler]));
      constexpr std::array<int, 4> kShifts{16, 8, 0, 24};  // red first
      for (std::size_t c = 0; c < 4; ++c)
        color[c] = static_cast<float>(pixel >> kShifts[c] & 0xFF) / 255.0f;
      return color;
    };
    const Vector4<float> color = m_drawing.pixelShader->Run(inputs, sample)[0];
    const auto channel = [](float value) {
      return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
    };
    return channel(color[3]) << 24 | channel(color[0]) << 16 | channel(color[1]) << 8 |
           channel(color[2]);
  }

  const std::array<const Corner*, 3> m_corners;
  const std::array<Point, 3> m_at;
  const Drawing& m_drawing;
  const std::int64_t m_area;
};

}  // namespace

bool DrawTriangleStrip(const std::vector<Corner>& corners, const Drawing& drawing) {
  std::vector<Point> at;
  for (const Corner& corner : corners) {
    if (corner.position[3] != 1.0f) return false;
    if (!std::isfinite(corner.position[0]) || !std::isfinite(corner.position[1])) return true;
    // Between the near and the far plane; a quad lies in one depth.
    if (!(corner.position[2] >= 0.0f && corner.position[2] <= 1.0f)) return true;
    at.push_back(ToScreen(corner.position, drawing.viewport));
  }
  if (at.size() == 4 && DrawnAsRectangle(corners, {at[0], at[1], at[2], at[3]}, drawing))
    return true;
  for (std::size_t i = 2; i < corners.size(); ++i) {
    // Every second triangle turns the other way.
    const std::size_t one = i % 2 == 0 ? i - 2 : i - 1;
    const std::size_t two = i % 2 == 0 ? i - 1 : i - 2;
    Triangle({&corners[one], &corners[two], &corners[i]}, {at[one], at[two], at[i]}, drawing)
        .Draw();
  }
  return true;
}

}  // namespace vwin::d3d11
