#include "platform/model/GraphicsCapturePicture.h"

#include <algorithm>

#include "platform/model/Compositor.h"
#include "platform/model/Desktop.h"
#include "platform/model/Machine.h"
#include "platform/model/Rects.h"

// The loops over pixels are worth vector instructions in every build.
#pragma GCC optimize("O3")

namespace vwin::capture {
namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;

// On the virtual screen.
struct Place {
  RECT visible;
  SIZE content;
};

Place placeOf(Lock& lock, const Window& window) {
  const RECT& frame = window.invisibleFrame;
  // A minimised one is as large as before.
  const RECT rect =
      SizedRect(window.rect.left, window.rect.top, window.surface.width(), window.surface.height());
  const RECT visible = {rect.left + frame.left, rect.top + frame.top, rect.right - frame.right,
                        rect.bottom - frame.bottom};
  const bool reachesOver = TheMachine(lock).version >= kWindows11 && !window.isMaximised();
  const RECT& content = reachesOver ? rect : visible;
  return {visible, {WidthOf(content), HeightOf(content)}};
}

std::optional<Place> placeOf(Lock& lock, const Source& source) {
  if (const auto window = desktop::FindWindow(lock, source.window)) return placeOf(lock, *window);
  if (const auto monitor = desktop::FindMonitor(lock, source.monitor))
    return Place{monitor->rect, {WidthOf(monitor->rect), HeightOf(monitor->rect)}};
  return std::nullopt;
}

void drawCursor(Lock& lock, const Source& source, const RECT& area, Surface& surface) {
  const Cursor& cursor = desktop::Get(lock).cursor;
  const auto picture = handles::Get<CursorShape>(lock, HandleKind::kCursor, cursor.shape);
  if (!cursor.showing || !picture || !Holds(area, cursor.position)) return;
  if (source.window) {
    const Window* const top = desktop::TopLevelOf(desktop::WindowAt(lock, cursor.position));
    if (!top || top->handle != source.window) return;  // it is over another one
  }
  compositor::Overlay(surface, surface.bounds(), cursor.position.x - picture->hotspotX - area.left,
                      cursor.position.y - picture->hotspotY - area.top, *picture);
}

}  // namespace

std::optional<SIZE> ContentSize(Lock& lock, const Source& source) {
  const auto place = placeOf(lock, source);
  return place ? std::optional(place->content) : std::nullopt;
}

bool Picture::IsSameAs(const Picture& other) const {
  const int width = visible.width(), height = visible.height();
  if (content.cx != other.content.cx || content.cy != other.content.cy ||
      width != other.visible.width() || height != other.visible.height()) {
    return false;
  }
  for (int y = 0; y < height; ++y) {
    if (!std::equal(visible.Row(y), visible.Row(y) + width, other.visible.Row(y))) return false;
  }
  return true;
}

void Picture::CopyTo(const d3d11::Image& image) const {
  const int width = std::min<int>(content.cx, image.width);
  const int height = std::min<int>(content.cy, image.height);
  for (int y = 0; y < height; ++y) {
    std::uint32_t* const to = image.Row(y);
    const int drawn = y < visible.height() ? std::min(visible.width(), width) : 0;
    const std::uint32_t* const from = visible.Row(std::min(y, visible.height() - 1));
    for (int x = 0; x < drawn; ++x) to[x] = from[x] | kOpaque;
    std::fill(to + drawn, to + width, 0u);
  }
}

bool Draw(Lock& lock, const Source& source, bool cursor, SIZE limit, Picture& picture) {
  const auto place = placeOf(lock, source);
  const auto window = desktop::FindWindow(lock, source.window);
  const Machine& machine = TheMachine(lock);
  if (!place || machine.locked || machine.secureDesktop) return false;
  if (window && (!window->isVisible() || window->isMinimised())) return false;
  RECT area = place->visible;
  area.right = std::min<LONG>(area.right, area.left + limit.cx);
  area.bottom = std::min<LONG>(area.bottom, area.top + limit.cy);
  if (IsEmpty(area)) return false;
  picture.content = place->content;
  Surface& surface = picture.visible;
  if (surface.width() != WidthOf(area) || surface.height() != HeightOf(area))
    surface = Surface(WidthOf(area), HeightOf(area), 0);
  std::uint32_t* const pixels = surface.MutableRow(0);
  if (window) {
    compositor::DrawWindow(lock, *window, Moved(area, -window->rect.left, -window->rect.top),
                           pixels, surface.width());
  } else {
    compositor::Compose(lock, area, pixels, surface.width());
  }
  if (cursor) drawCursor(lock, source, area, surface);
  return true;
}

}  // namespace vwin::capture
