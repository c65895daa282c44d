#include "platform/model/Icons.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/model/Compositor.h"
#include "platform/model/Desktop.h"
#include "platform/model/Gdi.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Rects.h"

namespace vwin::icons {
namespace {

constexpr int kLarge = 32;
constexpr int kSmall = 16;
constexpr std::uint32_t kShowsThrough = 0x00FFFFFF;

// A little window: frame, title bar, content, round corners.
std::uint32_t programPixel(int x, int y, int size) {
  const int last = size - 1;
  const bool left = x == 0 || x == last;
  const bool top = y == 0 || y == last;
  if (left && top) return 0;
  if (left || top) return 0xFF606060;
  return y < size / 4 ? 0xFF2060C0 : 0xFFF8F8F8;
}

Icon programIcon(int size) {
  Icon icon;
  icon.width = icon.height = size;
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      icon.colors.push_back(programPixel(x, y, size));
      icon.mask.push_back(icon.colors.back() == 0 ? kShowsThrough : 0);
    }
  }
  return icon;
}

Icon fromCursor(const CursorShape& shape) {
  Icon icon;
  icon.width = shape.width;
  icon.height = shape.height;
  icon.colors = shape.pixels;
  for (const std::uint32_t pixel : shape.pixels)
    icon.mask.push_back(pixel >> 24 == 0 ? kShowsThrough : 0);
  icon.hotspot = {shape.hotspotX, shape.hotspotY};
  icon.isCursor = true;
  return icon;
}

bool runs(Lock& lock, const std::wstring& path) {
  const auto& processes = TheMachine(lock).processes;
  return std::any_of(processes.begin(), processes.end(), [&](const auto& process) {
    return desktop::SameName(process.second.imagePath, path);
  });
}

}  // namespace

HICON Add(Lock& lock, Icon icon) {
  return static_cast<HICON>(
      handles::Add(lock, HandleKind::kIcon, std::make_shared<Icon>(std::move(icon)), nullptr));
}

HICON AddCopy(Lock& lock, const Icon& icon, const char* call) {
  const auto copy = std::make_shared<Icon>(icon);
  copy->shared = false;
  return static_cast<HICON>(handles::Add(lock, HandleKind::kIcon, copy, call));
}

std::optional<Icon> Find(Lock& lock, HICON handle) {
  if (const auto icon = handles::Get<Icon>(lock, HandleKind::kIcon, handle)) return *icon;
  if (const auto shape = handles::Get<CursorShape>(lock, HandleKind::kCursor, handle))
    return fromCursor(*shape);
  return std::nullopt;
}

bool Destroy(Lock& lock, HICON handle) {
  const std::optional<Icon> icon = Find(lock, handle);
  if (!icon) return false;
  if (icon->shared)
    ledger::Misuse(lock, "DestroyIcon: the icon is shared");
  else
    handles::Remove(lock, HandleKind::kIcon, handle);
  return true;
}

HICON Application(Lock& lock) {
  static const HICON icon = Add(lock, programIcon(kLarge));
  return icon;
}

HICON OfProgram(Lock& lock, const std::wstring& path) {
  for (const auto& [file, icon] : TheMachine(lock).programIcons) {
    if (desktop::SameName(file, path)) return icon;
  }
  static const HICON generic = Add(lock, programIcon(kSmall));
  return runs(lock, path) ? generic : nullptr;
}

void WaitForShell(Lock& lock) {
  const Micros asked = scheduler::Now(lock);
  for (;;) {
    const std::optional<Micros> takes = TheMachine(lock).shellTakes;
    if (takes && asked + *takes <= scheduler::Now(lock)) return;
    scheduler::WaitUntil(
        lock, "SHGetFileInfoW", [&] { return TheMachine(lock).shellTakes != takes; },
        takes ? std::optional<Micros>(asked + *takes) : std::nullopt);
  }
}

ICONINFO Describe(Lock& lock, const Icon& icon) {
  ICONINFO info{};
  info.fIcon = !icon.isCursor;
  info.xHotspot = static_cast<DWORD>(icon.isCursor ? icon.hotspot.x : icon.width / 2);
  info.yHotspot = static_cast<DWORD>(icon.isCursor ? icon.hotspot.y : icon.height / 2);
  const int maskHeight = icon.colors.empty() ? icon.height * 2 : icon.height;
  info.hbmMask = gdi::AddIconBitmap(lock, icon.width, maskHeight, icon.mask, true);
  if (!icon.colors.empty())
    info.hbmColor = gdi::AddIconBitmap(lock, icon.width, icon.height, icon.colors, false);
  return info;
}

Icon BlackAndWhite(const Icon& icon) {
  if (icon.colors.empty()) return icon;
  constexpr std::uint32_t kHalf = 128;
  Icon result = icon;
  result.colors.clear();
  for (std::size_t i = 0; i < icon.colors.size(); ++i) {
    const std::uint32_t color = icon.colors[i];
    const std::uint32_t light =
        ((color >> 16 & 0xFF) + (color >> 8 & 0xFF) * 2 + (color & 0xFF)) / 4;
    const bool white = icon.mask[i] == 0 && light >= kHalf;
    result.mask.push_back(white ? 0x00FFFFFF : 0);
  }
  return result;
}

bool Draw(Lock& lock, const DeviceContext& dc, const RECT& where, const Icon& icon) {
  const gdi::Target target = gdi::TargetOf(lock, dc);
  if (!target.surface) return false;
  const RECT placed = Moved(where, target.origin.x, target.origin.y);
  const RECT drawn = Overlap(placed, target.clip);
  const auto at = [&](const std::vector<std::uint32_t>& plane, int x, int y) {
    const std::int64_t column = std::int64_t{x - placed.left} * icon.width / WidthOf(placed);
    const std::int64_t row = std::int64_t{y - placed.top} * icon.height / HeightOf(placed);
    return plane[static_cast<std::size_t>(row * icon.width + column)];
  };
  const auto middle = icon.mask.begin() + static_cast<std::ptrdiff_t>(icon.width) * icon.height;
  const std::vector<std::uint32_t> colors =
      icon.colors.empty() ? std::vector(middle, icon.mask.end()) : icon.colors;
  const bool hasAlpha =
      std::any_of(colors.begin(), colors.end(), [](auto pixel) { return pixel >> 24 != 0; });
  for (int y = drawn.top; y < drawn.bottom; ++y) {
    std::uint32_t* const row = target.surface->MutableRow(y);
    for (int x = drawn.left; x < drawn.right; ++x) {
      const std::uint32_t color = at(colors, x, y);
      row[x] = hasAlpha ? compositor::Blended(color & 0x00FFFFFF, row[x], color >> 24)
                        : (row[x] & at(icon.mask, x, y)) ^ color;
    }
  }
  if (target.monochrome) target.surface->Threshold(drawn);
  return true;
}

}  // namespace vwin::icons
