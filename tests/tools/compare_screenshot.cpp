// compare-screenshot FRAME.png SCREEN.xwd: whether a saved frame shows what a
// screenshot of the X server shows. Exit code 0 when all pixels are equal, 1 with
// the first that differs, 2 when a file can't be read.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb_image.h>

namespace {

struct Image {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint32_t> rgb;  // 0x00RRGGBB
};

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

// The dump that xwd writes: a header of big-endian 32-bit words, a colour table,
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
