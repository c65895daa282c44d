#include "platform/control/Desktop.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "platform/model/Compositor.h"
#include "platform/model/Desktop.h"
#include "platform/model/GraphicsCaptureItem.h"
#include "platform/model/Machine.h"
#include "platform/model/OwnWindows.h"
#include "platform/model/Rects.h"

namespace vwin::control {
namespace {

Window& windowOf(Lock& lock, HWND handle) {
  // The table keeps it alive for as long as the lock is held.
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) throw std::invalid_argument("no such window");
  return *window;
}

Monitor& monitorOf(Lock& lock, HMONITOR handle) {
  const auto monitor = desktop::FindMonitor(lock, handle);
  if (!monitor) throw std::invalid_argument("no such monitor");
  return *monitor;
}

void setAnswer(Lock& lock, Window& window, std::optional<Micros> answersAfter) {
  window.answersAfter = answersAfter;
  window.answersSince = scheduler::Now(lock);
  scheduler::Changed();
}

void setAnswerOfOne(HWND handle, std::optional<Micros> answersAfter) {
  Lock lock;
  Window& window = windowOf(lock, handle);
  if (window.windowClass) throw std::invalid_argument("not another program's window");
  setAnswer(lock, window, answersAfter);
}

void collectPrograms(const Window& parent, std::vector<Window*>& found) {
  for (const auto& window : parent.children) {
    if (!window->windowClass) found.push_back(window.get());
    collectPrograms(*window, found);
  }
}

void setAnswerOfAll(std::optional<Micros> answersAfter) {
  Lock lock;
  std::vector<Window*> windows;  // first: what they were asked may change the order
  collectPrograms(*desktop::Get(lock).root, windows);
  for (Window* const window : windows) setAnswer(lock, *window, answersAfter);
}

// Runs a paint callback without the lock, on a picture of its own.
void paintAnew(HWND handle, const std::function<void(Surface&)>& paint) {
  Surface surface;
  {
    Lock lock;
    surface = windowOf(lock, handle).surface;
  }
  paint(surface);
  surface.ClearTopBytes();
  Lock lock;
  Window& window = windowOf(lock, handle);
  if (surface.width() == window.surface.width() && surface.height() == window.surface.height())
    std::swap(window.surface, surface);
  scheduler::Changed();
}

std::function<void(Surface&)> onSurface(PaintCallback paint) {
  return [paint = std::move(paint)](Surface& surface) {
    if (surface.width() == 0 || surface.height() == 0) return;
    Canvas canvas(surface.MutableRow(0), surface.width(), surface.height());
    paint(canvas);
  };
}

// Changes the size by `change`, and lets the window paint when its size is another.
template <typename Change>
void resized(HWND handle, Change change) {
  std::function<void(Surface&)> paint;
  {
    Lock lock;
    Window& window = windowOf(lock, handle);
    const int width = window.surface.width();
    const int height = window.surface.height();
    change(lock, window);
    if (window.surface.width() != width || window.surface.height() != height) paint = window.paint;
  }
  if (paint) paintAnew(handle, paint);
}

std::wstring freeDeviceName(Lock& lock) {
  const auto& monitors = desktop::Get(lock).monitors;
  for (int number = 1;; ++number) {
    const std::wstring name = L"\\\\.\\DISPLAY" + std::to_wstring(number);
    const bool taken = std::any_of(monitors.begin(), monitors.end(),
                                   [&](const auto& monitor) { return monitor->device == name; });
    if (!taken) return name;
  }
}

// The desktop window covers the primary monitor.
void fitDesktopWindow(Lock& lock) {
  const Monitor* primary = desktop::Primary(lock);
  desktop::Get(lock).root->rect = primary ? primary->rect : RECT{};
  scheduler::Changed();
}

void place(HWND handle, HWND where) {
  Lock lock;
  desktop::Place(lock, windowOf(lock, handle), where);
}

bool holdsLibraryWindow(const Window& window) {
  const auto& children = window.children;
  return std::any_of(children.begin(), children.end(), [](const auto& child) {
    return child->windowClass || holdsLibraryWindow(*child);
  });
}

}  // namespace

// --------------------------------------------------------------------- pictures

COLORREF Picture::At(int x, int y) const {
  return ToColor(pixels.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                           static_cast<std::size_t>(x)));
}

void Canvas::Fill(const RECT& rect, COLORREF color) {
  const RECT area = Overlap(rect, {0, 0, m_width, m_height});
  for (int y = area.top; y < area.bottom; ++y)
    std::fill_n(Row(y) + area.left, WidthOf(area), ToPixel(color));
}

Picture Screenshot(const RECT& rect) {
  Picture picture;
  picture.width = WidthOf(rect);
  picture.height = HeightOf(rect);
  picture.pixels.resize(static_cast<std::size_t>(picture.width) *
                        static_cast<std::size_t>(picture.height));
  Lock lock;
  compositor::Compose(lock, rect, picture.pixels.data(), picture.width);
  return picture;
}

// --------------------------------------------------------------------- monitors

HMONITOR AddMonitor(const RECT& rect, const MonitorSpec& wanted) {
  Lock lock;
  const auto monitor =
      desktop::AddMonitor(lock, rect, wanted.workArea.value_or(rect), wanted.primary,
                          wanted.device.empty() ? freeDeviceName(lock) : wanted.device);
  fitDesktopWindow(lock);
  return monitor->handle;
}

void RemoveMonitor(HMONITOR handle) {
  Lock lock;
  const Monitor& monitor = monitorOf(lock, handle);
  auto& monitors = desktop::Get(lock).monitors;
  handles::Remove(lock, HandleKind::kMonitor, handle);
  capture::CloseItemsOfNothing(lock);
  const bool primary = monitor.primary;
  std::erase_if(monitors, [&](const auto& other) { return other.get() == &monitor; });
  if (primary && !monitors.empty()) monitors.front()->primary = true;
  fitDesktopWindow(lock);
}

void SetMonitorRect(HMONITOR handle, const RECT& rect) {
  Lock lock;
  Monitor& monitor = monitorOf(lock, handle);
  // The task bar and its like keep their size.
  monitor.work = {rect.left + (monitor.work.left - monitor.rect.left),
                  rect.top + (monitor.work.top - monitor.rect.top),
                  rect.right + (monitor.work.right - monitor.rect.right),
                  rect.bottom + (monitor.work.bottom - monitor.rect.bottom)};
  if (!AreSame(monitor.rect, rect)) ++monitor.modeChanges;
  monitor.rect = rect;
  fitDesktopWindow(lock);
}

HMONITOR RenewMonitorHandle(HMONITOR handle) {
  Lock lock;
  Monitor& monitor = monitorOf(lock, handle);
  desktop::RenewHandle(lock, monitor);
  scheduler::Changed();
  return monitor.handle;
}

std::vector<HMONITOR> Monitors() {
  Lock lock;
  std::vector<HMONITOR> found;
  for (const auto& monitor : desktop::Get(lock).monitors) found.push_back(monitor->handle);
  return found;
}

HMONITOR PrimaryMonitor() {
  Lock lock;
  const Monitor* primary = desktop::Primary(lock);
  return primary ? primary->handle : nullptr;
}

void SetDesktopColor(COLORREF color) {
  Lock lock;
  desktop::Get(lock).color = ToPixel(color);
  scheduler::Changed();
}

// ---------------------------------------------------------------------- windows

HWND OpenWindow(const WindowSpec& wanted) {
  auto window = std::make_shared<Window>();
  window->title = wanted.title;
  window->className = wanted.className;
  window->style =
      wanted.style | (wanted.visible ? WS_VISIBLE : 0u) | (wanted.parent ? WS_CHILD : 0u);
  window->exStyle = wanted.exStyle;
  window->processId = wanted.processId;
  window->threadId = wanted.threadId;
  window->rect = wanted.rect;
  window->cloaked = wanted.cloaked;
  window->invisibleFrame = wanted.invisibleFrame;
  window->background = ToPixel(wanted.color);
  window->surface = Surface(WidthOf(wanted.rect), HeightOf(wanted.rect), window->background);
  if (wanted.paint) {
    window->paint = onSurface(wanted.paint);
    window->paint(window->surface);
    window->surface.ClearTopBytes();
  }
  Lock lock;
  window->parent = wanted.parent ? &windowOf(lock, wanted.parent) : desktop::Get(lock).root.get();
  if (wanted.owner) window->owner = desktop::TopLevelOf(&windowOf(lock, wanted.owner));
  desktop::Enter(lock, window, nullptr);
  return window->handle;
}

void Close(HWND handle) {
  std::vector<std::shared_ptr<Window>> gone;  // freed after the lock is
  Lock lock;
  Window& window = windowOf(lock, handle);
  if (window.windowClass) throw std::invalid_argument("the library closes its own windows");
  if (holdsLibraryWindow(window)) throw std::invalid_argument("the library has a window within it");
  own_windows::Remove(lock, window, gone);
}

void MoveTo(HWND handle, int x, int y) {
  Lock lock;
  Window& window = windowOf(lock, handle);
  const RECT& rect = window.isMinimised() ? window.normalRect : window.rect;
  desktop::SetRect(lock, window, SizedRect(x, y, WidthOf(rect), HeightOf(rect)));
}

void Resize(HWND handle, int width, int height) {
  resized(handle, [&](Lock& lock, Window& window) {
    const RECT& rect = window.isMinimised() ? window.normalRect : window.rect;
    desktop::SetRect(lock, window, SizedRect(rect.left, rect.top, width, height));
  });
}

void SetRect(HWND handle, const RECT& rect) {
  resized(handle, [&](Lock& lock, Window& window) { desktop::SetRect(lock, window, rect); });
}

void Minimise(HWND handle) {
  Lock lock;
  desktop::Minimise(lock, windowOf(lock, handle));
}

void Maximise(HWND handle) { resized(handle, desktop::Maximise); }

void Restore(HWND handle) { resized(handle, desktop::Restore); }

void Show(HWND handle) {
  Lock lock;
  desktop::SetVisible(lock, windowOf(lock, handle), true);
}

void Hide(HWND handle) {
  Lock lock;
  desktop::SetVisible(lock, windowOf(lock, handle), false);
}

void ToTop(HWND handle) { place(handle, HWND_TOP); }

void ToBottom(HWND handle) {
  Lock lock;
  Window& window = windowOf(lock, handle);
  const bool topmost = window.isTopmost();
  const auto& siblings = window.parent->children;
  // The last of its kind that is not the window itself.
  const auto last = std::find_if(siblings.rbegin(), siblings.rend(), [&](const auto& other) {
    return other.get() != &window && other->isTopmost() == topmost;
  });
  if (last != siblings.rend()) desktop::Place(lock, window, (*last)->handle);
}

void SetTopmost(HWND handle, bool topmost) {
  place(handle, topmost ? HWND_TOPMOST : HWND_NOTOPMOST);
}

void SetOwner(HWND handle, HWND owner) {
  Lock lock;
  Window& window = windowOf(lock, handle);
  if (!desktop::SetOwner(lock, window, owner ? &windowOf(lock, owner) : nullptr))
    throw std::invalid_argument("it can't have this owner");
}

void SetForeground(HWND handle) {
  Lock lock;
  if (handle) desktop::Place(lock, windowOf(lock, handle), HWND_TOP);
  desktop::Get(lock).foreground = handle;
  scheduler::Changed();
}

void SetTitle(HWND handle, const std::wstring& title) {
  Lock lock;
  windowOf(lock, handle).title = title;
}

void SetStyle(HWND handle, DWORD style) {
  constexpr DWORD kState = WS_VISIBLE | WS_MINIMIZE | WS_MAXIMIZE | WS_CHILD;
  Lock lock;
  Window& window = windowOf(lock, handle);
  window.style = (style & ~kState) | (window.style & kState);
  scheduler::Changed();
}

void SetExStyle(HWND handle, DWORD exStyle) {
  Lock lock;
  desktop::SetExStyle(lock, windowOf(lock, handle), exStyle);
}

void SetCloaked(HWND handle, bool cloaked) {
  Lock lock;
  windowOf(lock, handle).cloaked = cloaked && TheMachine(lock).version >= kWindows8;
  scheduler::Changed();
}

void SetLayered(HWND handle, std::optional<COLORREF> key, std::optional<std::uint8_t> alpha) {
  Lock lock;
  Window& window = windowOf(lock, handle);
  desktop::SetExStyle(lock, window, window.exStyle | WS_EX_LAYERED);
  LayeredAttributes attributes;
  if (key) attributes.key = ToPixel(*key);
  attributes.alpha = alpha;
  desktop::SetLayered(lock, window, attributes);
}

void AnswerAfter(HWND handle, std::chrono::milliseconds delay) {
  setAnswerOfOne(handle, Micros{delay.count()} * 1000);
}

void Hang(HWND handle) { setAnswerOfOne(handle, std::nullopt); }
void HangAll() { setAnswerOfAll(std::nullopt); }
void AnswerAll() { setAnswerOfAll(0); }

void Fill(HWND handle, const RECT& rect, COLORREF color) {
  Lock lock;
  windowOf(lock, handle).surface.Fill(rect, ToPixel(color));
  scheduler::Changed();
}

void Paint(HWND handle, const PaintCallback& paint) { paintAnew(handle, onSurface(paint)); }

// ----------------------------------------------------------------------- cursor

void SetCursorPosition(int x, int y) {
  Lock lock;
  desktop::Get(lock).cursor.position = {x, y};
  scheduler::Changed();
}

namespace {

void useCursor(CursorShape shape) {
  Lock lock;
  desktop::Get(lock).cursor.shape = desktop::AddCursor(lock, std::move(shape));
  scheduler::Changed();
}

void setShowing(bool showing) {
  Lock lock;
  desktop::Get(lock).cursor.showing = showing;
  scheduler::Changed();
}

}  // namespace

void SetCursorShape(CursorKind kind) {
  useCursor(desktop::StandardCursor(kind == CursorKind::kArrow  ? desktop::CursorKind::kArrow
                                    : kind == CursorKind::kBeam ? desktop::CursorKind::kBeam
                                                                : desktop::CursorKind::kCross));
}

void SetCursorShape(const CursorPicture& picture) {
  const auto size =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  if (picture.pixels.size() != size) throw std::invalid_argument("a cursor picture without gaps");
  CursorShape shape;
  shape.width = picture.width;
  shape.height = picture.height;
  shape.hotspotX = picture.hotspotX;
  shape.hotspotY = picture.hotspotY;
  shape.pixels = picture.pixels;
  useCursor(std::move(shape));
}

void HideCursor() { setShowing(false); }
void ShowCursor() { setShowing(true); }

// ---------------------------------------------------------------------- queries

std::vector<WindowState> LibraryWindows(const std::wstring& className) {
  Lock lock;
  std::vector<WindowState> found;
  int position = -1;
  for (const auto& window : desktop::Get(lock).root->children) {
    ++position;
    if (!window->windowClass || (!className.empty() && window->className != className)) continue;
    const LayeredAttributes layered = window->layered.value_or(LayeredAttributes{});
    found.push_back({window->handle, window->className, window->title, window->rect,
                     window->isVisible(), window->style, window->exStyle, position,
                     layered.key ? std::optional(ToColor(*layered.key)) : std::nullopt,
                     layered.alpha, window->paintCount, desktop::ParentOrOwner(*window)});
  }
  return found;
}

std::uint64_t RedrawCount(HWND handle) {
  Lock lock;
  return windowOf(lock, handle).redrawCount;
}

std::vector<HWND> WindowsInOrder() {
  Lock lock;
  std::vector<HWND> found;
  for (const auto& window : desktop::Get(lock).root->children) found.push_back(window->handle);
  return found;
}

}  // namespace vwin::control
