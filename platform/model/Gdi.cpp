#include "platform/model/Gdi.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/model/Compositor.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/PictureMemory.h"
#include "platform/model/Rects.h"

namespace vwin::gdi {
namespace {

// The bitmap of a new memory DC: one pixel, black and white.
const std::shared_ptr<Bitmap>& stockBitmap(Lock& lock) {
  static const std::shared_ptr<Bitmap> bitmap = [&] {
    auto made = std::make_shared<Bitmap>();
    made->surface = Surface(1, 1, 0);
    made->monochrome = true;
    made->stock = true;
    made->handle = static_cast<HBITMAP>(handles::Add(lock, HandleKind::kBitmap, made, nullptr));
    return made;
  }();
  return bitmap;
}

std::optional<std::uint32_t> systemColor(std::uintptr_t index) {
  switch (index) {
    case COLOR_BACKGROUND:
      return 0x00000000;
    case COLOR_WINDOW:
      return 0x00FFFFFF;
    case COLOR_BTNFACE:
      return 0x00F0F0F0;
    default:
      return std::nullopt;
  }
}

void deselect(Lock& lock, const std::shared_ptr<Bitmap>& bitmap) {
  bitmap->selectedInto = nullptr;
  if (bitmap->deletePending) handles::Remove(lock, HandleKind::kBitmap, bitmap->handle);
}

// The destination rectangle on the target's surface, clipped; empty: nothing to do.
RECT placed(const Target& target, const RECT& area) {
  return Overlap(Moved(area, target.origin.x, target.origin.y), target.clip);
}

void finish(const Target& target, const RECT& drawn) {
  if (target.monochrome) target.surface->Threshold(drawn);
}

}  // namespace

std::shared_ptr<DeviceContext> FindDC(Lock& lock, HDC handle) {
  return handles::Get<DeviceContext>(lock, HandleKind::kDC, handle);
}

std::shared_ptr<Bitmap> FindBitmap(Lock& lock, HGDIOBJ handle) {
  return handles::Get<Bitmap>(lock, HandleKind::kBitmap, handle);
}

std::optional<std::uint32_t> BrushPixel(Lock& lock, HBRUSH brush) {
  const auto value = reinterpret_cast<std::uintptr_t>(brush);
  if (value >= 1 && value <= 32) return systemColor(value - 1);
  const auto found = handles::Get<Brush>(lock, HandleKind::kBrush, brush);
  return found ? std::optional(found->pixel) : std::nullopt;
}

HDC OpenDC(Lock& lock, Window* window, HWND gotFor, const char* call, std::optional<RECT> clip) {
  auto dc = std::make_shared<DeviceContext>();
  const bool screen = !window || window == desktop::Get(lock).root.get();
  dc->kind = screen ? DeviceContext::Kind::kScreen : DeviceContext::Kind::kWindow;
  dc->window = gotFor;
  dc->threadId = scheduler::CurrentThreadId();
  dc->painting = clip.has_value();
  dc->clip = clip;
  dc->handle = static_cast<HDC>(handles::Add(lock, HandleKind::kDC, dc, call));
  return dc->handle;
}

HDC OpenMemoryDC(Lock& lock) { return OpenBitmapDC(lock, stockBitmap(lock), "CreateCompatibleDC"); }

HDC OpenBitmapDC(Lock& lock, std::shared_ptr<Bitmap> bitmap, const char* call) {
  auto dc = std::make_shared<DeviceContext>();
  dc->kind = DeviceContext::Kind::kMemory;
  dc->threadId = scheduler::CurrentThreadId();
  dc->bitmap = std::move(bitmap);
  dc->handle = static_cast<HDC>(handles::Add(lock, HandleKind::kDC, dc, call));
  return dc->handle;
}

HBITMAP CreateBitmap(Lock& lock, int width, int height, bool monochrome) {
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->surface = Surface(width, height, 0);
  bitmap->monochrome = monochrome;
  bitmap->handle = static_cast<HBITMAP>(
      handles::Add(lock, HandleKind::kBitmap, bitmap, "CreateCompatibleBitmap"));
  return bitmap->handle;
}

HBITMAP CreateSection(Lock& lock, int width, int height, std::uint32_t*& bits) {
  const std::size_t bytes = std::size_t{4} * static_cast<UINT>(width) * static_cast<UINT>(height);
  auto bitmap = pictures::Count(std::make_shared<Bitmap>(), bytes);
  bitmap->surface = Surface(width, height, 0);
  bits = bitmap->surface.Share();
  bitmap->handle =
      static_cast<HBITMAP>(handles::Add(lock, HandleKind::kBitmap, bitmap, "CreateDIBSection"));
  return bitmap->handle;
}

HBITMAP AddIconBitmap(Lock& lock, int width, int height, const std::vector<std::uint32_t>& pixels,
                      bool monochrome) {
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->surface = Surface(width, height, 0);
  std::copy(pixels.begin(), pixels.end(), bitmap->surface.MutableRow(0));
  bitmap->surface.ClearTopBytes();
  if (!monochrome) {
    for (const std::uint32_t pixel : pixels)
      bitmap->topBytes.push_back(static_cast<std::uint8_t>(pixel >> 24));
  }
  bitmap->monochrome = monochrome;
  bitmap->handle =
      static_cast<HBITMAP>(handles::Add(lock, HandleKind::kBitmap, bitmap, "GetIconInfo"));
  return bitmap->handle;
}

HBRUSH CreateBrush(Lock& lock, std::uint32_t pixel) {
  auto brush = std::make_shared<Brush>();
  brush->pixel = pixel;
  return static_cast<HBRUSH>(handles::Add(lock, HandleKind::kBrush, brush, "CreateSolidBrush"));
}

HGDIOBJ SelectBitmap(Lock& lock, DeviceContext& dc, const std::shared_ptr<Bitmap>& bitmap) {
  const bool elsewhere = bitmap->selectedInto && bitmap->selectedInto != dc.handle;
  if (dc.kind != DeviceContext::Kind::kMemory || elsewhere) return nullptr;
  const HGDIOBJ previous = dc.bitmap->handle;
  if (dc.bitmap != bitmap) {
    deselect(lock, dc.bitmap);
    dc.bitmap = bitmap;
    if (!bitmap->stock) bitmap->selectedInto = dc.handle;
  }
  return previous;
}

void CloseDC(Lock& lock, DeviceContext& dc) {
  if (dc.bitmap) deselect(lock, dc.bitmap);
  handles::Remove(lock, HandleKind::kDC, dc.handle);
}

void DeleteBitmap(Lock& lock, Bitmap& bitmap) {
  if (bitmap.stock) return;
  if (bitmap.selectedInto) {
    ledger::Misuse(lock, "DeleteObject: the bitmap is selected into a DC");
    bitmap.deletePending = true;
    return;
  }
  handles::Remove(lock, HandleKind::kBitmap, bitmap.handle);
}

Target TargetOf(Lock& lock, const DeviceContext& dc) {
  switch (dc.kind) {
    case DeviceContext::Kind::kScreen:
      return {};
    case DeviceContext::Kind::kMemory:
      return {&dc.bitmap->surface, {0, 0}, dc.bitmap->surface.bounds(), dc.bitmap->monochrome};
    case DeviceContext::Kind::kWindow:
      break;
  }
  const auto window = desktop::FindWindow(lock, dc.window);
  if (!window) return {};
  const RECT client = window->clientPart();
  RECT clip = Overlap(client, window->surface.bounds());
  if (dc.clip) clip = Overlap(clip, Moved(*dc.clip, client.left, client.top));
  return {&window->surface, {client.left, client.top}, clip, false};
}

bool Copy(Lock& lock, const DeviceContext& to, const RECT& area, const DeviceContext& from,
          POINT source, bool withLayered) {
  const Target target = TargetOf(lock, to);
  if (!target.surface) return false;
  RECT drawn = placed(target, area);
  // From surface coordinates of the destination to coordinates of the source DC.
  const std::int64_t dx = std::int64_t{source.x} - area.left - target.origin.x;
  const std::int64_t dy = std::int64_t{source.y} - area.top - target.origin.y;
  if (from.kind == DeviceContext::Kind::kScreen) {
    if (IsEmpty(drawn)) return true;
    std::uint32_t* pixels = target.surface->MutableRow(drawn.top) + drawn.left;
    compositor::Compose(lock, Moved(drawn, dx, dy), pixels, target.surface->width(),
                        {.beyondMonitors = false, .layered = withLayered, .leaveOut = nullptr});
  } else {
    const Target origin = TargetOf(lock, from);
    if (!origin.surface) return false;
    const std::int64_t sx = dx + origin.origin.x;
    const std::int64_t sy = dy + origin.origin.y;
    drawn = Overlap(drawn, Moved(origin.clip, -sx, -sy));
    if (IsEmpty(drawn)) return true;
    target.surface->Copy(drawn.left, drawn.top, *origin.surface, Moved(drawn, sx, sy));
  }
  finish(target, drawn);
  return true;
}

bool Fill(Lock& lock, const DeviceContext& dc, const RECT& rect, std::uint32_t pixel) {
  const Target target = TargetOf(lock, dc);
  if (!target.surface) return false;
  const RECT drawn = placed(target, rect);
  target.surface->Fill(drawn, pixel);
  finish(target, drawn);
  return true;
}

bool DrawCursor(Lock& lock, const DeviceContext& dc, int x, int y, const CursorShape& shape) {
  const Target target = TargetOf(lock, dc);
  if (!target.surface) return false;
  compositor::Overlay(*target.surface, target.clip, Saturated(std::int64_t{x} + target.origin.x),
                      Saturated(std::int64_t{y} + target.origin.y), shape);
  finish(target, target.clip);
  return true;
}

bool DrawWholeWindow(Lock& lock, const DeviceContext& dc, const Window& window) {
  const Target target = TargetOf(lock, dc);
  if (!target.surface) return false;
  const RECT whole = {0, 0, WidthOf(window.rect), HeightOf(window.rect)};
  const RECT drawn = placed(target, whole);
  if (IsEmpty(drawn)) return true;
  std::uint32_t* pixels = target.surface->MutableRow(drawn.top) + drawn.left;
  compositor::DrawWindow(lock, window, Moved(drawn, -target.origin.x, -target.origin.y), pixels,
                         target.surface->width(), TheMachine(lock).version >= kWindows81);
  finish(target, drawn);
  return true;
}

int ReadLines(const Bitmap& bitmap, UINT first, UINT count, int width, int height, bool topDown,
              std::uint32_t* bits) {
  const Surface& surface = bitmap.surface;
  const int lines = static_cast<int>(std::min<std::int64_t>(
      {count, std::int64_t{surface.height()} - first, std::int64_t{height} - first}));
  if (lines <= 0) return 0;
  const int columns = std::min(width, surface.width());
  for (int i = 0; i < lines; ++i) {
    // Lines count from the bottom of the bitmap, and lie in memory as the
    // destination wants them.
    const int row = topDown ? surface.height() - static_cast<int>(first) - lines + i
                            : surface.height() - 1 - static_cast<int>(first) - i;
    std::uint32_t* to = bits + static_cast<std::ptrdiff_t>(i) * width;
    if (surface.IsUniform())
      std::fill_n(to, columns, surface.color());
    else
      std::memcpy(to, surface.Row(row), static_cast<std::size_t>(columns) * sizeof(*to));
    if (bitmap.topBytes.empty()) continue;
    const std::uint8_t* top =
        bitmap.topBytes.data() + static_cast<std::ptrdiff_t>(row) * surface.width();
    for (int x = 0; x < columns; ++x) to[x] |= std::uint32_t{top[x]} << 24;
  }
  return lines;
}

}  // namespace vwin::gdi
