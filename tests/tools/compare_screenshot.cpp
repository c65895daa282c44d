// compare-screenshot FRAME.png SCREEN.xwd: whether a saved frame shows what a
// screenshot of the X server shows. Exit code 0 when all pixels are equal, 1 with
// the first that differs, 2 when a file can't be read.
//
// A frame of another size has to show the screen fitted into it, however it was scaled:
// each pixel lies between those of the screen that it covers and their neighbours, and
// the bars are transparent.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "tests/support/PngReader.h"
#include "tests/tools/Xwd.h"

namespace {

using qx::test::Image;
using qx::test::ReadXwd;

constexpr std::uint32_t kTransparent = 0xFF000000;

Image ReadFrame(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const qx::test::PngPicture picture =
      qx::test::ReadPng({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
  if (picture.width == 0) {
    throw std::runtime_error("can't read " + path);
  }
  Image image{
      static_cast<std::uint32_t>(picture.width), static_cast<std::uint32_t>(picture.height), {}};
  for (const std::uint32_t pixel : picture.pixels) {
    // What is transparent is none of the screen's colours.
    image.rgb.push_back(pixel >> 24 == 0 ? kTransparent : pixel & 0xFFFFFF);
  }
  return image;
}

// Whether `rgb` lies between the pixels of a part of the screen, channel by channel.
bool LiesBetween(std::uint32_t rgb, const Image& screen, int left, int top, int right, int bottom) {
  for (int shift = 0; shift < 24; shift += 8) {
    std::uint32_t least = 255;
    std::uint32_t most = 0;
    for (int y = std::max(top, 0); y < std::min<int>(bottom, screen.height); ++y) {
      for (int x = std::max(left, 0); x < std::min<int>(right, screen.width); ++x) {
        const std::uint32_t value =
            screen.rgb[static_cast<std::size_t>(y) * screen.width + static_cast<std::size_t>(x)] >>
                shift &
            255;
        least = std::min(least, value);
        most = std::max(most, value);
      }
    }
    const std::uint32_t value = rgb >> shift & 255;
    if (value < least || value > most) {
      return false;
    }
  }
  return true;
}

int CompareFitted(const Image& frame, const Image& screen) {
  const auto width = static_cast<int>(frame.width);
  const auto height = static_cast<int>(frame.height);
  const auto wide = static_cast<int>(screen.width);
  const auto high = static_cast<int>(screen.height);
  const int shownWidth = std::min(width, height * wide / high);
  const int shownHeight = std::min(height, width * high / wide);
  const int left = (width - shownWidth) / 2;
  const int top = (height - shownHeight) / 2;
  int bars = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint32_t rgb =
          frame.rgb[static_cast<std::size_t>(y) * frame.width + static_cast<std::size_t>(x)];
      const int inX = x - left;
      const int inY = y - top;
      const bool isBar = inX < 0 || inY < 0 || inX >= shownWidth || inY >= shownHeight;
      bars += isBar ? 1 : 0;
      const bool fits =
          isBar
              ? rgb == kTransparent
              : LiesBetween(rgb, screen, inX * wide / shownWidth - 1, inY * high / shownHeight - 1,
                            (inX + 1) * wide / shownWidth + 1, (inY + 1) * high / shownHeight + 1);
      if (!fits) {
        std::printf("pixel %d,%d of the fitted picture is %08x\n", x, y, rgb);
        return 1;
      }
    }
  }
  std::printf("%dx%d pixels fit the screen's, %d of them in transparent bars\n", width, height,
              bars);
  return bars > 0 ? 0 : 1;
}

int Compare(const Image& frame, const Image& screen) {
  if (frame.width != screen.width || frame.height != screen.height) {
    return CompareFitted(frame, screen);
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
    return Compare(ReadFrame(argv[1]), ReadXwd(argv[2]));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "compare-screenshot: %s\n", failure.what());
    return 2;
  }
}
