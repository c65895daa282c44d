#include "thumbnails.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "data_url.h"
#include "files.h"

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>
#include <stb_image_write.h>

namespace {

constexpr int kColumns = 4;
constexpr int kGap = 12;
constexpr int kDot = 4;  // the side of a digit's dots
constexpr int kLabelHeight = 7 * kDot;
constexpr std::uint8_t kGround = 40;

void TakeThumbnails(const int* ids, const char** thumbnails, const int& count, void* user) {
  for (int i = 0; i < count; ++i) {
    (*static_cast<Thumbnails*>(user))[ids[i]] = DecodePngDataUrl(thumbnails[i]);
  }
}

void Save(const Thumbnails& thumbnails, const std::string& directory, const char* kind) {
  for (const auto& [id, png] : thumbnails) {
    const std::string name = std::string(kind) + "-" + std::to_string(id) + ".png";
    if (png.empty()) {
      std::fprintf(stderr, "qx-share: no thumbnail for %s\n", name.c_str());
    } else {
      WriteFile(directory + "/" + name, png);
    }
  }
}

// R, G, B bytes.
class Sheet {
 public:
  Sheet(int cells, ThumbnailSize cell)
      : m_cell(cell),
        m_width(std::min(cells, kColumns) * (cell.width + kGap) + kGap),
        m_height((cells + kColumns - 1) / kColumns * (cell.height + kLabelHeight + kGap) + kGap),
        m_rgb(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height) * 3, kGround) {
  }

  // The next one, from left to right. A picture that failed is an empty frame.
  void Add(const std::vector<std::uint8_t>& png) {
    const int left = kGap + m_count % kColumns * (m_cell.width + kGap);
    const int top = kGap + m_count / kColumns * (m_cell.height + kLabelHeight + kGap);
    ++m_count;
    drawNumber(left, top, m_count);
    paste(left, top + kLabelHeight, png);
  }

  void Write(const std::string& path) const {
    std::vector<std::uint8_t> png;
    const auto append = [](void* to, void* bytes, int size) {
      auto& out = *static_cast<std::vector<std::uint8_t>*>(to);
      const auto* const first = static_cast<const std::uint8_t*>(bytes);
      out.insert(out.end(), first, first + size);
    };
    if (stbi_write_png_to_func(append, &png, m_width, m_height, 3, m_rgb.data(), m_width * 3) ==
        0) {
      throw std::runtime_error("can't make " + path);
    }
    WriteFile(path, png);
  }

 private:
  std::uint8_t* at(int x, int y) {
    return m_rgb.data() + (static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) +
                           static_cast<std::size_t>(x)) *
                              3;
  }

  void drawNumber(int left, int top, int number) {
    // Five rows of three dots a digit, the leftmost in the highest bit.
    constexpr std::uint16_t kDigits[] = {
        0b111'101'101'101'111, 0b010'110'010'010'111, 0b111'001'111'100'111, 0b111'001'111'001'111,
        0b101'101'111'001'001, 0b111'100'111'001'111, 0b111'100'111'101'111, 0b111'001'010'010'010,
        0b111'101'111'101'111, 0b111'101'111'001'111};
    for (const char digit : std::to_string(number)) {
      for (int dot = 0; dot < 15; ++dot) {
        if ((kDigits[digit - '0'] >> (14 - dot) & 1) != 0) {
          for (int y = 0; y < kDot; ++y) {
            std::fill_n(at(left + dot % 3 * kDot, top + dot / 3 * kDot + y), kDot * 3, 255);
          }
        }
      }
      left += 4 * kDot;
    }
  }

  void paste(int left, int top, const std::vector<std::uint8_t>& png) {
    int width = 0;
    int height = 0;
    int channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(png.data(), static_cast<int>(png.size()), &width, &height, &channels,
                              4),
        &stbi_image_free);
    const bool failed = pixels == nullptr;
    for (int y = 0; y < (failed ? m_cell.height : std::min(height, m_cell.height)); ++y) {
      for (int x = 0; x < (failed ? m_cell.width : std::min(width, m_cell.width)); ++x) {
        for (int channel = 0; channel < 3; ++channel) {
          std::uint8_t& under = at(left + x, top + y)[channel];
          if (failed) {
            const bool edge = x == 0 || y == 0 || x == m_cell.width - 1 || y == m_cell.height - 1;
            under = edge ? 120 : under;
          } else {
            const stbi_uc* const pixel = pixels.get() + (y * width + x) * 4;
            under = static_cast<std::uint8_t>(
                (pixel[channel] * pixel[3] + under * (255 - pixel[3])) / 255);
          }
        }
      }
    }
  }

  const ThumbnailSize m_cell;
  const int m_width;
  const int m_height;
  std::vector<std::uint8_t> m_rgb;
  int m_count = 0;
};

}  // namespace

Thumbnails DesktopThumbnails(IScreenCapture& capture, ThumbnailSize size) {
  Thumbnails thumbnails;
  capture.GetDesktopThumbnailAll(size.width, size.height, TakeThumbnails, &thumbnails);
  return thumbnails;
}

Thumbnails WindowThumbnails(IScreenCapture& capture, ThumbnailSize size) {
  Thumbnails thumbnails;
  capture.GetWindowThumbnailAll(size.width, size.height, TakeThumbnails, &thumbnails);
  return thumbnails;
}

void SaveThumbnails(IScreenCapture& capture, ThumbnailSize size, const std::string& directory) {
  CreateDirectories(directory);
  Save(DesktopThumbnails(capture, size), directory, "monitor");
  Save(WindowThumbnails(capture, size), directory, "window");
}

void WriteSheet(IScreenCapture& capture, const std::vector<IScreenCapture::DesktopInfo>& desktops,
                const std::vector<WindowSource>& windows, ThumbnailSize size,
                const std::string& path) {
  Thumbnails ofDesktops = DesktopThumbnails(capture, size);
  Thumbnails ofWindows = WindowThumbnails(capture, size);
  if (desktops.empty() && windows.empty()) {
    throw std::runtime_error("there is nothing to show on " + path);
  }
  Sheet sheet(static_cast<int>(desktops.size() + windows.size()), size);
  for (const IScreenCapture::DesktopInfo& desktop : desktops) {
    sheet.Add(ofDesktops[desktop.id]);
  }
  for (const WindowSource& window : windows) {
    sheet.Add(ofWindows[window.id]);
  }
  sheet.Write(path);
}
