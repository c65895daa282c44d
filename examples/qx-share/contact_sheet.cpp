// contact-sheet OUT.png FRAME.png...: small copies of up to twelve frames, evenly
// chosen, on one picture. The first one gives the size of all cells.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb_image.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace {

constexpr int kColumns = 3;
constexpr int kMaxFrames = 12;
constexpr int kCellWidth = 420;
constexpr int kGap = 8;

struct Image {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> rgb;

  unsigned char* At(int x, int y) {
    return rgb.data() + (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                         static_cast<std::size_t>(x)) *
                            3;
  }
};

Image MakeImage(int width, int height, unsigned char grey) {
  const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
  return {width, height, std::vector<unsigned char>(bytes, grey)};
}

bool Load(const char* path, Image& image) {
  int channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
      stbi_load(path, &image.width, &image.height, &channels, 3), &stbi_image_free);
  if (pixels == nullptr) {
    return false;
  }
  image.rgb.assign(pixels.get(), pixels.get() + static_cast<std::size_t>(image.width) *
                                                    static_cast<std::size_t>(image.height) * 3);
  return true;
}

// Shrinks to width x height by the mean of the pixels that fall on each.
Image Shrink(Image& from, int width, int height) {
  Image to = MakeImage(width, height, 0);
  for (int y = 0; y < height; ++y) {
    const int top = y * from.height / height;
    const int bottom = std::max(top + 1, (y + 1) * from.height / height);
    for (int x = 0; x < width; ++x) {
      const int left = x * from.width / width;
      const int right = std::max(left + 1, (x + 1) * from.width / width);
      for (int channel = 0; channel < 3; ++channel) {
        int sum = 0;
        for (int sy = top; sy < bottom; ++sy) {
          for (int sx = left; sx < right; ++sx) {
            sum += from.At(sx, sy)[channel];
          }
        }
        to.At(x, y)[channel] = static_cast<unsigned char>(sum / ((bottom - top) * (right - left)));
      }
    }
  }
  return to;
}

// As large as fits, with its proportions.
Image ShrinkInto(Image& from, int width, int height) {
  const int fittingWidth = std::max(1, from.width * height / from.height);
  const int fittingHeight = std::max(1, from.height * width / from.width);
  return Shrink(from, std::min(width, fittingWidth), std::min(height, fittingHeight));
}

void Paste(Image& sheet, Image& cell, int left, int top) {
  for (int y = 0; y < std::min(cell.height, sheet.height - top); ++y) {
    std::copy_n(cell.At(0, y), cell.width * 3, sheet.At(left, top + y));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: contact-sheet OUT.png FRAME.png...\n", stderr);
    return 2;
  }
  const int given = argc - 2;
  const int count = std::min(given, kMaxFrames);
  Image sheet;
  int cellHeight = 0;
  for (int i = 0; i < count; ++i) {
    const char* path = argv[2 + i * given / count];
    Image frame;
    if (!Load(path, frame)) {
      std::fprintf(stderr, "contact-sheet: can't read %s\n", path);
      return 1;
    }
    if (i == 0) {
      cellHeight = std::max(1, frame.height * kCellWidth / frame.width);
      const int rows = (count + kColumns - 1) / kColumns;
      sheet =
          MakeImage(kColumns * (kCellWidth + kGap) + kGap, rows * (cellHeight + kGap) + kGap, 32);
    }
    Image cell = ShrinkInto(frame, kCellWidth, cellHeight);
    Paste(sheet, cell, kGap + i % kColumns * (kCellWidth + kGap),
          kGap + i / kColumns * (cellHeight + kGap));
  }
  if (stbi_write_png(argv[1], sheet.width, sheet.height, 3, sheet.rgb.data(), sheet.width * 3) ==
      0) {
    std::fprintf(stderr, "contact-sheet: can't write %s\n", argv[1]);
    return 1;
  }
  return 0;
}
