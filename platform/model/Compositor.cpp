#include "platform/model/Compositor.h"

#include <algorithm>
#include <cstring>

#include "platform/model/Machine.h"
#include "platform/model/Rects.h"
#include "platform/model/Thumbnails.h"

// The loops over pixels are worth vector instructions in every build.
#pragma GCC optimize("O3")

namespace vwin::compositor {
namespace {

// Where a picture goes: `area` of the virtual screen, and its pixels.
struct Output {
  RECT area;
  std::uint32_t* pixels;
  std::ptrdiff_t stride;

  std::uint32_t* At(int x, int y) const {
    return pixels + (static_cast<std::ptrdiff_t>(y) - area.top) * stride +
           (static_cast<std::ptrdiff_t>(x) - area.left);
  }
};

// Red and blue, and green, of a pixel in 16 bits each are mixed at once;
// (v + 128 + (v + 128 >> 8)) >> 8 divides by 255 with rounding.
inline std::uint32_t blended(std::uint32_t over, std::uint32_t under, std::uint32_t alpha) {
  const auto mix = [alpha](std::uint32_t a, std::uint32_t b) {
    const std::uint32_t v = a * alpha + b * (255 - alpha) + 0x00800080;
    return ((v + (v >> 8 & 0x00FF00FF)) >> 8) & 0x00FF00FF;
  };
  const std::uint32_t redBlue = mix(over & 0x00FF00FF, under & 0x00FF00FF);
  const std::uint32_t green = mix(over >> 8 & 0xFF, under >> 8 & 0xFF) & 0xFF;
  return redBlue | green << 8;
}

void blendRow(std::uint32_t* __restrict to, const std::uint32_t* __restrict from, int count,
              std::uint32_t alpha) {
  for (int i = 0; i < count; ++i) to[i] = blended(from[i], to[i], alpha);
}

// How many of the first pixels have the colour `key`.
int runOf(const std::uint32_t* row, int count, std::uint32_t key) {
  const std::uint64_t pair = std::uint64_t{key} << 32 | key;
  int i = 0;
  for (; i + 8 <= count; i += 8) {
    std::uint64_t four[4];
    std::memcpy(four, row + i, sizeof(four));
    if (((four[0] ^ pair) | (four[1] ^ pair) | (four[2] ^ pair) | (four[3] ^ pair)) != 0) break;
  }
  while (i < count && row[i] == key) ++i;
  return i;
}

// How many of the first pixels have another colour.
int runWithout(const std::uint32_t* row, int count, std::uint32_t key) {
  return static_cast<int>(std::find(row, row + count, key) - row);
}

void drawLayeredRow(std::uint32_t* to, const std::uint32_t* from, int count,
                    const LayeredAttributes& attributes) {
  const std::uint32_t alpha = attributes.alpha.value_or(255);
  if (!attributes.key) return blendRow(to, from, count, alpha);
  for (int i = 0; i < count;) {
    i += runOf(from + i, count - i, *attributes.key);
    const int shown = runWithout(from + i, count - i, *attributes.key);
    blendRow(to + i, from + i, shown, alpha);
    i += shown;
  }
}

void drawUniformLayeredRow(std::uint32_t* to, std::uint32_t color, int count,
                           const LayeredAttributes& attributes) {
  if (attributes.key == color) return;
  const std::uint32_t alpha = attributes.alpha.value_or(255);
  for (int i = 0; i < count; ++i) to[i] = blended(color, to[i], alpha);
}

// The part of a window's own surface that lies in `visible`, a part of its rectangle.
void drawSurface(const Output& output, const Window& window, const RECT& visible,
                 const LayeredAttributes* attributes) {
  const Surface& surface = window.surface;
  const RECT drawn = Overlap(visible, Moved(surface.bounds(), window.rect.left, window.rect.top));
  const int count = WidthOf(drawn);
  for (int y = drawn.top; y < drawn.bottom; ++y) {
    std::uint32_t* to = output.At(drawn.left, y);
    if (surface.IsUniform()) {
      if (attributes)
        drawUniformLayeredRow(to, surface.color(), count, *attributes);
      else
        std::fill_n(to, count, surface.color());
      continue;
    }
    const std::uint32_t* from = surface.Row(y - window.rect.top) + (drawn.left - window.rect.left);
    if (attributes)
      drawLayeredRow(to, from, count, *attributes);
    else
      std::memcpy(to, from, static_cast<std::size_t>(count) * sizeof(std::uint32_t));
  }
}

// A layered window passes its attributes on to its children.
void drawTree(const Output& output, const Window& window, const RECT& clip,
              const LayeredAttributes* attributes) {
  // A minimised window is where a thumbnail sees it: its picture is as it was.
  const RECT visible =
      Overlap(clip, Moved(window.surface.bounds(), window.rect.left, window.rect.top));
  if (IsEmpty(visible)) return;
  drawSurface(output, window, visible, attributes);
  for (auto child = window.children.rbegin(); child != window.children.rend(); ++child) {
    if ((*child)->style & WS_VISIBLE && !(*child)->isMinimised())
      drawTree(output, **child, visible, attributes);
  }
}

void drawThumbnail(Lock& lock, const Output& output, const Window& host, const RECT& clip,
                   const Thumbnail& thumbnail, std::uint32_t alpha) {
  const auto source = desktop::FindWindow(lock, thumbnail.source);
  if (!thumbnail.visible || !source || !(source->style & WS_VISIBLE)) return;
  const RECT client = host.clientRect();
  const RECT to = Moved(thumbnail.to, client.left, client.top);
  const RECT drawn = Overlap(clip, Overlap(to, client));
  const RECT from = thumbnails::SourcePart(thumbnail, *source);
  const RECT known = Overlap(from, source->surface.bounds());
  if (IsEmpty(drawn) || IsEmpty(known)) return;

  const int width = WidthOf(known);
  std::vector<std::uint32_t> picture(static_cast<std::size_t>(width) *
                                     static_cast<std::size_t>(HeightOf(known)));
  const RECT part = Moved(known, source->rect.left, source->rect.top);
  drawTree(Output{part, picture.data(), width}, *source, part, nullptr);
  for (int y = drawn.top; y < drawn.bottom; ++y) {
    const std::int64_t row =
        from.top + (std::int64_t{y} - to.top) * HeightOf(from) / HeightOf(to) - known.top;
    if (row < 0 || row >= HeightOf(known)) continue;
    std::uint32_t* const pixels = output.At(drawn.left, y);
    for (int x = drawn.left; x < drawn.right; ++x) {
      const std::int64_t column =
          from.left + (std::int64_t{x} - to.left) * WidthOf(from) / WidthOf(to) - known.left;
      if (column < 0 || column >= width) continue;
      std::uint32_t& pixel = pixels[x - drawn.left];
      pixel = blended(picture[static_cast<std::size_t>(row * width + column)], pixel, alpha);
    }
  }
}

void drawThumbnails(Lock& lock, const Output& output, const Window& host, const RECT& clip,
                    std::uint32_t alpha) {
  if (host.thumbnails.empty() || !TheMachine(lock).composition) return;
  for (const auto& thumbnail : host.thumbnails)
    drawThumbnail(lock, output, host, clip, *thumbnail, alpha);
}

bool shows(const Window& window, const Options& options) {
  if (!(window.style & WS_VISIBLE) || window.isMinimised() || window.cloaked) return false;
  const bool hasPicture = window.layered || !window.thumbnails.empty();
  if (window.isLayered() && !(options.layered && hasPicture)) return false;
  return !options.leaveOut || std::find(options.leaveOut->begin(), options.leaveOut->end(),
                                        window.handle) == options.leaveOut->end();
}

// What is to be seen in `clip`, over a background.
void composePart(Lock& lock, const Desktop& desktop, const Output& output, const RECT& clip,
                 std::uint32_t background, const Options& options) {
  // Kept between calls, so that a steady picture costs no allocation.
  thread_local std::vector<const Window*> layers;
  layers.clear();
  bool covered = false;
  for (const auto& window : desktop.root->children) {
    if (!shows(*window, options) || IsEmpty(Overlap(window->rect, clip))) continue;
    layers.push_back(window.get());
    // Nothing below can be seen.
    covered = !window->isLayered() && Covers(window->rect, clip);
    if (covered) break;
  }
  if (!covered) {
    for (int y = clip.top; y < clip.bottom; ++y)
      std::fill_n(output.At(clip.left, y), WidthOf(clip), background);
  }
  for (auto position = layers.rbegin(); position != layers.rend(); ++position) {
    const Window& window = **position;
    const LayeredAttributes* const attributes = window.layered ? &*window.layered : nullptr;
    if (attributes || !window.isLayered()) drawTree(output, window, clip, attributes);
    drawThumbnails(lock, output, window, clip, attributes ? attributes->alpha.value_or(255) : 255);
  }
}

}  // namespace

void Compose(Lock& lock, const RECT& area, std::uint32_t* pixels, std::ptrdiff_t stride,
             const Options& options) {
  if (IsEmpty(area)) return;
  const Desktop& desktop = desktop::Get(lock);
  const Output output{area, pixels, stride};
  const bool withinOne =
      std::any_of(desktop.monitors.begin(), desktop.monitors.end(),
                  [&](const auto& monitor) { return Covers(monitor->rect, area); });
  if (!withinOne && options.beyondMonitors) {
    composePart(lock, desktop, output, area, 0, options);
  } else if (!withinOne) {
    for (int y = area.top; y < area.bottom; ++y)
      std::fill_n(output.At(area.left, y), WidthOf(area), 0u);
  }
  for (const auto& monitor : desktop.monitors) {
    const RECT clip = Overlap(monitor->rect, area);
    if (!IsEmpty(clip)) composePart(lock, desktop, output, clip, desktop.color, options);
  }
}

std::uint32_t Blended(std::uint32_t over, std::uint32_t under, std::uint32_t alpha) {
  return blended(over, under, alpha);
}

void DrawWindow(Lock& lock, const Window& window, const RECT& part, std::uint32_t* pixels,
                std::ptrdiff_t stride, bool withThumbnails) {
  const Output output{Moved(part, window.rect.left, window.rect.top), pixels, stride};
  drawTree(output, window, output.area, nullptr);
  if (withThumbnails) drawThumbnails(lock, output, window, output.area, 255);
}

void Overlay(Surface& surface, const RECT& clip, int x, int y, const CursorShape& picture) {
  const RECT drawn =
      Overlap(Overlap(clip, surface.bounds()), SizedRect(x, y, picture.width, picture.height));
  for (int row = drawn.top; row < drawn.bottom; ++row) {
    std::uint32_t* to = surface.MutableRow(row);
    const std::uint32_t* from =
        picture.pixels.data() + static_cast<std::ptrdiff_t>(row - y) * picture.width;
    for (int column = drawn.left; column < drawn.right; ++column) {
      const std::uint32_t pixel = from[column - x];
      to[column] = blended(pixel & 0x00FFFFFF, to[column], pixel >> 24);
    }
  }
}

}  // namespace vwin::compositor
