#include "tests/support/PngReader.h"

#include <algorithm>
#include <iterator>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>

namespace qx::test {
namespace {

// The last chunk, which stb_image does not insist on.
constexpr std::uint8_t kEnd[] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};

}  // namespace

PngPicture ReadPng(const std::vector<std::uint8_t>& file) {
  PngPicture picture;
  if (std::search(file.begin(), file.end(), std::begin(kEnd), std::end(kEnd)) == file.end()) {
    return picture;
  }
  int channels = 0;
  stbi_uc* const bytes = stbi_load_from_memory(file.data(), static_cast<int>(file.size()),
                                               &picture.width, &picture.height, &channels, 4);
  if (bytes == nullptr) {
    return {};
  }
  for (int i = 0; i < picture.width * picture.height; ++i) {
    const stbi_uc* const rgba = bytes + static_cast<std::ptrdiff_t>(i) * 4;
    picture.pixels.push_back(static_cast<std::uint32_t>(rgba[3]) << 24 |
                             static_cast<std::uint32_t>(rgba[0]) << 16 |
                             static_cast<std::uint32_t>(rgba[1]) << 8 | rgba[2]);
  }
  stbi_image_free(bytes);
  return picture;
}

}  // namespace qx::test
