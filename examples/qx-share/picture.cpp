#include "picture.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

// Calls visit(row, byteCount) for every row of every plane.
template <typename Visit>
void VisitRows(const IScreenCapture::ScreenFrameData& frame, Visit visit) {
  const auto plane = [&](const std::uint8_t* data, int stride, int bytes, int rows) {
    for (int row = 0; data != nullptr && row < rows; ++row) {
      visit(data + static_cast<std::ptrdiff_t>(row) * stride, static_cast<std::size_t>(bytes));
    }
  };
  if (frame.format == IScreenCapture::ScreenFrameFormatARGB) {
    plane(frame.data, frame.stride, frame.width * 4, frame.height);
  } else {
    plane(frame.dataY, frame.strideY, frame.width, frame.height);
    plane(frame.dataU, frame.strideU, frame.width / 2, frame.height / 2);
    plane(frame.dataV, frame.strideV, frame.width / 2, frame.height / 2);
  }
}

using CrcTables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr CrcTables MakeCrcTables() {
  CrcTables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) {
      value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320u : 0u);
    }
    tables[0][byte] = value;
  }
  for (std::size_t slice = 1; slice < 8; ++slice) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = tables[slice - 1][byte];
      tables[slice][byte] = (before >> 8) ^ tables[0][before & 0xFF];
    }
  }
  return tables;
}

constexpr CrcTables kCrcTables = MakeCrcTables();

// Eight bytes a step: a frame has millions, and this runs on the capture thread.
std::uint32_t ContinueCrc(std::uint32_t crc, const std::uint8_t* bytes, std::size_t count) {
  const auto& t = kCrcTables;
  for (; count >= 8; bytes += 8, count -= 8) {
    crc ^= static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
    crc = t[7][crc & 0xFF] ^ t[6][(crc >> 8) & 0xFF] ^ t[5][(crc >> 16) & 0xFF] ^ t[4][crc >> 24] ^
          t[3][bytes[4]] ^ t[2][bytes[5]] ^ t[1][bytes[6]] ^ t[0][bytes[7]];
  }
  for (; count > 0; ++bytes, --count) {
    crc = (crc >> 8) ^ t[0][(crc ^ *bytes) & 0xFF];
  }
  return crc;
}

std::uint8_t Clamp(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace

void CopyFrame(const IScreenCapture::ScreenFrameData& frame, Picture& picture) {
  picture.format = frame.format;
  picture.width = frame.width;
  picture.height = frame.height;
  picture.bytes.clear();
  VisitRows(frame, [&](const std::uint8_t* row, std::size_t count) {
    picture.bytes.insert(picture.bytes.end(), row, row + count);
  });
}

void PutBeside(const Picture& right, Picture& left) {
  constexpr int kGap = 16;
  constexpr std::uint8_t kGround = 24;
  Picture both;
  both.width = left.width + kGap + right.width;
  both.height = std::max(left.height, right.height);
  const auto rowBytes = [](const Picture& picture) {
    return static_cast<std::ptrdiff_t>(picture.width) * 4;
  };
  both.bytes.assign(static_cast<std::size_t>(rowBytes(both) * both.height), kGround);
  const auto copy = [&](const Picture& from, int column) {
    for (std::ptrdiff_t row = 0; row < from.height; ++row) {
      std::copy_n(from.bytes.begin() + row * rowBytes(from), rowBytes(from),
                  both.bytes.begin() + row * rowBytes(both) + std::ptrdiff_t{column} * 4);
    }
  };
  copy(left, 0);
  copy(right, left.width + kGap);
  left = std::move(both);
}

std::uint32_t FrameChecksum(const IScreenCapture::ScreenFrameData& frame) {
  std::uint32_t crc = 0xFFFFFFFF;
  VisitRows(frame, [&](const std::uint8_t* row, std::size_t count) {
    crc = ContinueCrc(crc, row, count);
  });
  return crc ^ 0xFFFFFFFF;
}

std::vector<std::uint8_t> ToRgb(const Picture& picture) {
  const auto width = static_cast<std::size_t>(picture.width);
  const auto height = static_cast<std::size_t>(picture.height);
  std::vector<std::uint8_t> rgb(width * height * 3);
  std::uint8_t* out = rgb.data();
  if (picture.format == IScreenCapture::ScreenFrameFormatARGB) {
    // Alpha is left aside: some engines deliver 0 there.
    const std::uint8_t* in = picture.bytes.data();
    for (std::size_t i = 0; i < width * height; ++i, in += 4, out += 3) {
      out[0] = in[2];
      out[1] = in[1];
      out[2] = in[0];
    }
    return rgb;
  }
  const std::uint8_t* y = picture.bytes.data();
  const std::uint8_t* u = y + width * height;
  const std::uint8_t* v = u + (width / 2) * (height / 2);
  for (std::size_t row = 0; row < height; ++row) {
    for (std::size_t column = 0; column < width; ++column, out += 3) {
      const std::size_t chroma = (row / 2) * (width / 2) + column / 2;
      // BT.601, limited range, in 16.16 fixed point.
      const int luma = (y[row * width + column] - 16) * 76309 + 32768;
      const int cb = u[chroma] - 128;
      const int cr = v[chroma] - 128;
      out[0] = Clamp((luma + 104597 * cr) >> 16);
      out[1] = Clamp((luma - 25675 * cb - 53279 * cr) >> 16);
      out[2] = Clamp((luma + 132201 * cb) >> 16);
    }
  }
  return rgb;
}
