#include "platform/model/D3D11Rectangle.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "platform/model/Rects.h"
#include "platform/model/TurnedPicture.h"

// The loops over pixels are worth vector instructions in every build.
#pragma GCC optimize("O3")

namespace vwin::d3d11 {
namespace {

// One axis of a rectangle: its edges, and the texture's coordinate at both.
struct Axis {
  std::int64_t begin, end;
  double from, to;  // in texels
};

struct Rectangle {
  Axis x, y;
  Image texture;
};

double texelsPerPixel(const Axis& axis) {
  return std::abs(axis.to - axis.from) * kFraction / static_cast<double>(axis.end - axis.begin);
}

// ----------------------------------------------------------- whether it is one

// Another picture of the texture, turned clockwise.
Image turned(const Image& texture, int quarterTurns) {
  thread_local std::vector<std::uint32_t> pixels;
  pixels.resize(static_cast<std::size_t>(texture.width) * static_cast<std::size_t>(texture.height));
  Image picture{pixels.data(), texture.width, texture.height, 0};
  if (quarterTurns % 2 != 0) std::swap(picture.width, picture.height);
  picture.stride = picture.width;
  TurnPicture(texture.pixels, texture.width, texture.height, texture.stride, quarterTurns,
              picture.pixels, picture.stride);
  return picture;
}

Axis mirrored(Axis axis, int size) {
  axis.from = size - axis.from;
  axis.to = size - axis.to;
  return axis;
}

// Turns the texture so that it is read from left to right.
void setUpright(Rectangle& rectangle, bool sideways) {
  Axis& x = rectangle.x;
  Axis& y = rectangle.y;
  const Image& texture = rectangle.texture;
  if (sideways && x.from > x.to) {
    x = mirrored(x, texture.height);
    rectangle.texture = turned(texture, 1);
  } else if (sideways) {
    y = mirrored(y, texture.width);
    rectangle.texture = turned(texture, 3);
  } else if (x.from > x.to) {
    x = mirrored(x, texture.width);
    y = mirrored(y, texture.height);
    rectangle.texture = turned(texture, 2);
  }
}

// False for anything else. With `sideways` v goes along x.
bool asRectangle(const std::vector<Corner>& corners, const std::array<Point, 4>& at,
                 const SampleSite& site, Rectangle& rectangle, bool& sideways) {
  if (at[0].x != at[1].x || at[2].x != at[3].x || at[0].y != at[2].y || at[1].y != at[3].y)
    return false;
  // A strip of this order shows its front.
  if (at[0].x >= at[2].x || at[1].y >= at[0].y) return false;
  std::array<double, 4> u, v;
  for (std::size_t i = 0; i < 4; ++i) {
    u[i] = double{corners[i].outputs[site.u.reg][site.u.component]} * rectangle.texture.width;
    v[i] = double{corners[i].outputs[site.v.reg][site.v.component]} * rectangle.texture.height;
  }
  const auto alongX = [](const auto& a) { return a[0] == a[1] && a[2] == a[3]; };
  const auto alongY = [](const auto& a) { return a[0] == a[2] && a[1] == a[3]; };
  sideways = !alongX(u) || !alongY(v);
  if (sideways && (!alongX(v) || !alongY(u))) return false;
  const auto& across = sideways ? v : u;
  const auto& down = sideways ? u : v;
  rectangle.x = {at[0].x, at[2].x, across[0], across[2]};
  rectangle.y = {at[1].y, at[0].y, down[1], down[0]};
  return true;
}

// --------------------------------------------------------------------- drawing

// Where each pixel from `first` to `last` looks.
std::vector<Neighbours> placesAlong(const Axis& axis, int first, int last, int size,
                                    std::ptrdiff_t step) {
  std::vector<Neighbours> places;
  places.reserve(static_cast<std::size_t>(std::max(last - first, 0)));
  for (std::int64_t i = first; i < last; ++i) {
    const double along = static_cast<double>(i * kFraction + kHalf - axis.begin) /
                         static_cast<double>(axis.end - axis.begin);
    places.push_back(NeighboursAt(axis.from + along * (axis.to - axis.from), size, step));
  }
  return places;
}

// Whether every place has this weight and lies `step` behind the one before.
bool areSpaced(const std::vector<Neighbours>& places, std::uint32_t weight, std::ptrdiff_t step) {
  for (std::size_t i = 0; i < places.size(); ++i) {
    const Neighbours& place = places[i];
    if (place.weight != weight || (weight != 0 && place.second != place.first + 1) ||
        (i > 0 && place.first != places[i - 1].first + step)) {
      return false;
    }
  }
  return true;
}

void halveRow(std::uint32_t* to, const std::uint32_t* upper, const std::uint32_t* lower,
              int count) {
  constexpr std::uint32_t kMask = 0x00FF00FF;
  const auto sum = [](const std::uint32_t* pair, int shift) {
    return (pair[0] >> shift & kMask) + (pair[1] >> shift & kMask);
  };
  for (int i = 0; i < count; ++i) {
    const std::uint32_t low = (sum(upper + 2 * i, 0) + sum(lower + 2 * i, 0) + 0x00020002) >> 2;
    const std::uint32_t high = (sum(upper + 2 * i, 8) + sum(lower + 2 * i, 8) + 0x00020002) >> 2;
    to[i] = (low & kMask) | (high & kMask) << 8;
  }
}

// The rows of a rectangle, one after the other.
class Rows {
 public:
  // Draws `count` pixels of each, from `columns` of the texture on.
  Rows(const Image& texture, std::vector<Neighbours> columns)
      : m_texture(texture),
        m_columns(std::move(columns)),
        m_whole(areSpaced(m_columns, 0, 1)),
        m_halved(areSpaced(m_columns, kHalf, 2)),
        m_picked(std::all_of(m_columns.begin(), m_columns.end(),
                             [](const Neighbours& column) { return column.weight == 0; })),
        m_pixels(m_columns.size()) {}

  // Good until the next one.
  const std::uint32_t* At(const Neighbours& place) {
    const std::uint32_t* const upper = m_texture.pixels + place.first;
    const std::uint32_t* const lower = m_texture.pixels + place.second;
    const std::ptrdiff_t left = m_columns.front().first;
    if (m_whole && place.weight == 0) return upper + left;
    if (m_halved && place.weight == kHalf) {
      halveRow(m_pixels.data(), upper + left, lower + left, static_cast<int>(m_pixels.size()));
    } else if (m_picked && place.weight == 0) {
      for (std::size_t i = 0; i < m_pixels.size(); ++i) m_pixels[i] = upper[m_columns[i].first];
    } else {
      mixRows(upper, lower, place.weight);
      for (std::size_t i = 0; i < m_pixels.size(); ++i) m_pixels[i] = mixedAt(m_columns[i]);
    }
    return m_pixels.data();
  }

 private:
  // What lies between two rows, as far as the columns want it.
  void mixRows(const std::uint32_t* upper, const std::uint32_t* lower, std::uint32_t weight) {
    const std::ptrdiff_t left = m_columns.front().first;
    m_mixed.resize(4 * static_cast<std::size_t>(m_columns.back().second + 1 - left));
    const auto* const above = reinterpret_cast<const std::uint8_t*>(upper + left);
    const auto* const below = reinterpret_cast<const std::uint8_t*>(lower + left);
    const auto high = static_cast<std::uint16_t>(kFraction - weight);
    const auto low = static_cast<std::uint16_t>(weight);
    std::uint16_t* const to = m_mixed.data();
    for (std::size_t i = 0; i < m_mixed.size(); ++i)
      to[i] = static_cast<std::uint16_t>(above[i] * high + below[i] * low);
  }

  std::uint32_t mixedAt(const Neighbours& place) const {
    // Every second channel of a pixel, in the halves of a number.
    constexpr std::uint64_t kChannels = 0x0000FFFF0000FFFF;
    const std::uint64_t a = channelsAt(place.first), b = channelsAt(place.second);
    const std::uint64_t right = place.weight, left = kFraction - right;
    const auto channels = [&](int shift) {
      const std::uint64_t sum =
          (a >> shift & kChannels) * left + (b >> shift & kChannels) * right + 0x0000800000008000;
      return static_cast<std::uint32_t>((sum >> 16 & 0xFF) | (sum >> 32 & 0x00FF0000));
    };
    return channels(0) | channels(16) << 8;
  }
  std::uint64_t channelsAt(std::ptrdiff_t column) const {
    std::uint64_t channels;
    std::memcpy(&channels, &m_mixed[4 * static_cast<std::size_t>(column - m_columns.front().first)],
                sizeof(channels));
    return channels;
  }

  const Image m_texture;
  const std::vector<Neighbours> m_columns;
  const bool m_whole;   // pixel by pixel
  const bool m_halved;  // in the middle of two each
  const bool m_picked;  // in the middle of one each
  std::vector<std::uint32_t> m_pixels;
  std::vector<std::uint16_t> m_mixed;  // times 256
};

void draw(const Rectangle& rectangle, const Drawing& drawing) {
  const auto& [x, y, texture] = rectangle;
  const RECT drawn = Overlap(ClipOf(drawing), {FirstPixel(x.begin), FirstPixel(y.begin),
                                               FirstPixel(x.end), FirstPixel(y.end)});
  if (IsEmpty(drawn)) return;
  const auto places = placesAlong(y, drawn.top, drawn.bottom, texture.height, texture.stride);
  Rows rows(texture, placesAlong(x, drawn.left, drawn.right, texture.width, 1));
  for (int row = drawn.top; row < drawn.bottom; ++row) {
    const std::uint32_t* const pixels = rows.At(places[static_cast<std::size_t>(row - drawn.top)]);
    WriteRow(drawing.target.Row(row) + drawn.left, pixels, WidthOf(drawn), drawing.blending);
  }
}

}  // namespace

bool DrawnAsRectangle(const std::vector<Corner>& corners, const std::array<Point, 4>& at,
                      const Drawing& drawing) {
  if (!drawing.pixelShader->IsPlainSample()) return false;
  const SampleSite& site = drawing.pixelShader->samples().front();
  Rectangle rectangle{{}, {}, drawing.textures[site.texture]};
  bool sideways = false;
  if (!rectangle.texture.pixels || !asRectangle(corners, at, site, rectangle, sideways))
    return false;
  const Footprint footprint{texelsPerPixel(rectangle.x), 0, 0, texelsPerPixel(rectangle.y)};
  if (ProbesFor(footprint, drawing.samplers[site.sampler]) > 1) return false;
  setUpright(rectangle, sideways);
  draw(rectangle, drawing);
  return true;
}

}  // namespace vwin::d3d11
