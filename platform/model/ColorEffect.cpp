#include "platform/model/ColorEffect.h"

#include <algorithm>
#include <array>
#include <cstddef>

// The loops over pixels are worth optimising in every build.
#pragma GCC optimize("O3")

namespace vwin {
namespace {

constexpr std::size_t kChannels = 4;                                // red, green, blue, alpha
constexpr std::array<unsigned, kChannels> kShift = {16, 8, 0, 24};  // in a pixel

// A value of 0 to 255 in its place.
std::uint32_t placed(float value, std::size_t channel) {
  return static_cast<std::uint32_t>(std::clamp(value, 0.0f, 255.0f)) << kShift[channel];
}

// Every channel depends on itself only.
bool isSeparable(const MAGCOLOREFFECT& effect) {
  for (std::size_t from = 0; from < kChannels; ++from) {
    for (std::size_t to = 0; to < kChannels; ++to)
      if (from != to && effect.transform[from][to] != 0) return false;
  }
  return true;
}

std::uint32_t multiplied(const MAGCOLOREFFECT& effect, std::uint32_t pixel) {
  std::uint32_t result = 0;
  for (std::size_t to = 0; to < kChannels; ++to) {
    float value = 255 * effect.transform[kChannels][to];
    for (std::size_t from = 0; from < kChannels; ++from)
      value += static_cast<float>(pixel >> kShift[from] & 0xFF) * effect.transform[from][to];
    result |= placed(value, to);
  }
  return result;
}

}  // namespace

void Apply(const MAGCOLOREFFECT& effect, std::vector<std::uint32_t>& pixels) {
  if (!isSeparable(effect)) {
    for (std::uint32_t& pixel : pixels) pixel = multiplied(effect, pixel);
    return;
  }
  std::array<std::array<std::uint32_t, 256>, kChannels> tables;
  for (std::size_t channel = 0; channel < kChannels; ++channel) {
    for (std::uint32_t value = 0; value < 256; ++value) {
      tables[channel][value] =
          multiplied(effect, value << kShift[channel]) & std::uint32_t{0xFF} << kShift[channel];
    }
  }
  for (std::uint32_t& pixel : pixels) {
    pixel = tables[0][pixel >> 16 & 0xFF] | tables[1][pixel >> 8 & 0xFF] | tables[2][pixel & 0xFF] |
            tables[3][pixel >> 24];
  }
}

}  // namespace vwin
