#include "tests/tools/Xwd.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qx::test {

// A header of big-endian 32-bit words, a colour table,
// then the rows. True colour with 24 or 32 bits a pixel is understood; newer
// versions of xwd pack to 24.
Image ReadXwd(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
  const auto byteAt = [&](std::size_t at) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(at)));
  };
  const auto word = [&](std::size_t index) {
    const std::size_t at = index * 4;
    return byteAt(at) << 24 | byteAt(at + 1) << 16 | byteAt(at + 2) << 8 | byteAt(at + 3);
  };
  const std::uint32_t headerSize = word(0);
  const bool leastFirst = word(7) == 0;
  const std::uint32_t bitsPerPixel = word(11);
  const std::uint32_t bytesPerLine = word(12);
  if (word(1) != 7 || (bitsPerPixel != 24 && bitsPerPixel != 32) || !leastFirst ||
      word(14) != 0xFF0000) {
    throw std::runtime_error(path + " is not a screenshot in true colour");
  }
  Image image{word(4), word(5), {}};
  const std::size_t colors = word(19);
  const std::size_t start = headerSize + colors * 12;
  for (std::uint32_t y = 0; y < image.height; ++y) {
    for (std::uint32_t x = 0; x < image.width; ++x) {
      const std::size_t at =
          start + std::size_t{y} * bytesPerLine + std::size_t{x} * (bitsPerPixel / 8);
      image.rgb.push_back(byteAt(at) | byteAt(at + 1) << 8 | byteAt(at + 2) << 16);
    }
  }
  return image;
}

}  // namespace qx::test
