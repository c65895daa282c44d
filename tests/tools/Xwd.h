#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qx::test {

struct Image {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint32_t> rgb;  // 0x00RRGGBB
};

// Reads the dump that xwd writes. Throws std::runtime_error for anything but true
// colour.
Image ReadXwd(const std::string& path);

}  // namespace qx::test
