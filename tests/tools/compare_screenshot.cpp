// compare-screenshot FRAME.png SCREEN.xwd: whether a saved frame shows what a
// screenshot of the X server shows. Exit code 0 when all pixels are equal, 1 with
// the first that differs, 2 when a file can't be read.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb_image.h>

#include "tests/tools/Xwd.h"

namespace {

using qx::test::Image;
using qx::test::ReadXwd;

Image ReadPng(const std::string& path) {
  int width = 0;
  int height = 0;
  int channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
      stbi_load(path.c_str(), &width, &height, &channels, 3), &stbi_image_free);
  if (pixels == nullptr) {
    throw std::runtime_error("can't read " + path);
  }
  Image image{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), {}};
  const std::size_t count = std::size_t{image.width} * image.height;
  image.rgb.reserve(count);
  for (const stbi_uc* p = pixels.get(); image.rgb.size() < count; p += 3) {
    image.rgb.push_back(static_cast<std::uint32_t>(p[0] << 16 | p[1] << 8 | p[2]));
  }
  return image;
}

int Compare(const Image& frame, const Image& screen) {
  if (frame.width != screen.width || frame.height != screen.height) {
    std::printf("the frame has %ux%u pixels, the screen %ux%u\n", frame.width, frame.height,
                screen.width, screen.height);
    return 1;
  }
  bool picture = false;  // a screen in one colour would prove nothing
  for (std::size_t i = 0; i < frame.rgb.size(); ++i) {
    if (frame.rgb[i] != screen.rgb[i]) {
      std::printf("pixel %zu,%zu is %06x in the frame and %06x on the screen\n", i % frame.width,
                  i / frame.width, frame.rgb[i], screen.rgb[i]);
      return 1;
    }
    picture = picture || frame.rgb[i] != frame.rgb[0];
  }
  if (!picture) {
    std::puts("the screen shows one colour only");
    return 1;
  }
  std::printf("%ux%u pixels are equal\n", frame.width, frame.height);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: compare-screenshot FRAME.png SCREEN.xwd\n", stderr);
    return 2;
  }
  try {
    return Compare(ReadPng(argv[1]), ReadXwd(argv[2]));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "compare-screenshot: %s\n", failure.what());
    return 2;
  }
}
