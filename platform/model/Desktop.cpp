#include "platform/model/Desktop.h"

#include <algorithm>
#include <cstdlib>
#include <cwctype>
#include <limits>
#include <utility>

#include "platform/model/Gdi.h"
#include "platform/model/GraphicsCaptureItem.h"
#include "platform/model/Rects.h"

namespace vwin {

bool Window::isVisible() const {
  for (const Window* window = this; window; window = window->parent) {
    if (!(window->style & WS_VISIBLE)) return false;
  }
  return true;
}

RECT Window::clientPart() const {
  RECT part = {0, 0, WidthOf(rect), HeightOf(rect)};
  if ((style & WS_CAPTION) == WS_CAPTION) {
    // A sizing frame of 8 pixels and a caption of 23, as at 96 dots per inch.
    part = {8, 31, part.right - 8, part.bottom - 8};
  } else if (style & WS_THICKFRAME) {
    part = {8, 8, part.right - 8, part.bottom - 8};
  } else if (style & WS_BORDER) {
    part = {1, 1, part.right - 1, part.bottom - 1};
  }
  part.right = std::max(part.right, part.left);
  part.bottom = std::max(part.bottom, part.top);
  return part;
}

RECT Window::clientRect() const { return Moved(clientPart(), rect.left, rect.top); }

RECT Window::wholeClient() const {
  const RECT part = clientPart();
  return {0, 0, WidthOf(part), HeightOf(part)};
}

namespace desktop {
namespace {

constexpr RECT kFirstMonitor = {0, 0, 1920, 1080};
constexpr std::uint32_t kDesktopPixel = 0x00204060;

// Handles come from the one table, where every second one is negative; those of the
// wrong sign are given back.
HMONITOR enterHandle(Lock& lock, const std::shared_ptr<Monitor>& monitor, bool negative) {
  std::vector<void*> spare;
  void* handle = handles::Add(lock, HandleKind::kMonitor, monitor, nullptr);
  while ((reinterpret_cast<std::intptr_t>(handle) < 0) != negative) {
    spare.push_back(handle);
    handle = handles::Add(lock, HandleKind::kMonitor, monitor, nullptr);
  }
  for (void* wrong : spare) handles::Remove(lock, HandleKind::kMonitor, wrong);
  return static_cast<HMONITOR>(handle);
}

std::int64_t distanceTo(const RECT& a, const RECT& b) {
  const std::int64_t dx =
      std::max<std::int64_t>({0, std::int64_t{a.left} - b.right, std::int64_t{b.left} - a.right});
  const std::int64_t dy =
      std::max<std::int64_t>({0, std::int64_t{a.top} - b.bottom, std::int64_t{b.top} - a.bottom});
  return dx + dy;
}

std::shared_ptr<Monitor> enterMonitor(Lock& lock, Desktop& desktop, const RECT& rect,
                                      const RECT& work, bool primary, std::wstring device) {
  auto monitor = std::make_shared<Monitor>();
  monitor->device = std::move(device);
  monitor->rect = rect;
  monitor->work = work;
  monitor->primary = primary;
  monitor->handle = enterHandle(lock, monitor, desktop.monitors.size() % 2 != 0);
  if (primary) {
    for (const auto& other : desktop.monitors) other->primary = false;
  }
  desktop.monitors.push_back(monitor);
  return monitor;
}

Desktop* makeDesktop(Lock& lock) {
  // Lives as long as the process: threads of the library may outlast main().
  auto* desktop = new Desktop;
  desktop->color = kDesktopPixel;
  desktop->root = std::make_shared<Window>();
  desktop->root->className = L"#32769";
  desktop->root->style = WS_POPUP | WS_VISIBLE;
  desktop->root->handle =
      static_cast<HWND>(handles::Add(lock, HandleKind::kWindow, desktop->root, nullptr));
  desktop->messageRoot = std::make_shared<Window>();
  desktop->messageRoot->className = L"Message";
  enterMonitor(lock, *desktop, kFirstMonitor, kFirstMonitor, true, L"\\\\.\\DISPLAY1");
  desktop->root->rect = kFirstMonitor;
  desktop->cursor.position = {WidthOf(kFirstMonitor) / 2, HeightOf(kFirstMonitor) / 2};
  desktop->cursor.shape = SharedArrow(lock);
  return desktop;
}

}  // namespace

Desktop& Get(Lock& lock) {
  static Desktop* const desktop = makeDesktop(lock);
  return *desktop;
}

// --------------------------------------------------------------------- monitors

std::shared_ptr<Monitor> AddMonitor(Lock& lock, const RECT& rect, const RECT& work, bool primary,
                                    std::wstring device) {
  return enterMonitor(lock, Get(lock), rect, work, primary, std::move(device));
}

void RenewHandle(Lock& lock, Monitor& monitor) {
  const auto kept = FindMonitor(lock, monitor.handle);
  const bool negative = reinterpret_cast<std::intptr_t>(monitor.handle) < 0;
  // The new handle before the old one goes, so that it can't be the same again.
  const HMONITOR renewed = enterHandle(lock, kept, negative);
  handles::Remove(lock, HandleKind::kMonitor, monitor.handle);
  monitor.handle = renewed;
  capture::CloseItemsOfNothing(lock);
}

std::shared_ptr<Monitor> FindMonitor(Lock& lock, HMONITOR handle) {
  Get(lock);
  return handles::Get<Monitor>(lock, HandleKind::kMonitor, handle);
}

const Monitor* Primary(Lock& lock) {
  const auto& monitors = Get(lock).monitors;
  const auto found = std::find_if(monitors.begin(), monitors.end(),
                                  [](const auto& monitor) { return monitor->primary; });
  if (found != monitors.end()) return found->get();
  return monitors.empty() ? nullptr : monitors.front().get();
}

const Monitor* MonitorOf(Lock& lock, const RECT& rect, bool nearest) {
  const Monitor* best = nullptr;
  std::int64_t largest = 0;
  std::int64_t closest = std::numeric_limits<std::int64_t>::max();
  for (const auto& monitor : Get(lock).monitors) {
    const RECT part = Overlap(monitor->rect, rect);
    const std::int64_t area = std::int64_t{WidthOf(part)} * HeightOf(part);
    if (area > largest) {
      largest = area;
      best = monitor.get();
    } else if (largest == 0 && nearest && distanceTo(monitor->rect, rect) < closest) {
      closest = distanceTo(monitor->rect, rect);
      best = monitor.get();
    }
  }
  return best;
}

RECT VirtualScreen(Lock& lock) {
  RECT all{};
  for (const auto& monitor : Get(lock).monitors) all = Around(all, monitor->rect);
  return all;
}

// ---------------------------------------------------------------------- lookups

std::shared_ptr<Window> FindWindow(Lock& lock, HWND handle) {
  Get(lock);
  return handles::Get<Window>(lock, HandleKind::kWindow, handle);
}

bool SameName(const std::wstring& a, const std::wstring& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](auto x, auto y) {
           return x == y || std::towlower(static_cast<std::wint_t>(x)) ==
                                std::towlower(static_cast<std::wint_t>(y));
         });
}

std::shared_ptr<const WindowClass> FindClass(Lock& lock, const std::wstring& name) {
  const Desktop& desktop = Get(lock);
  for (const auto* classes : {&desktop.classes, &desktop.systemClasses}) {
    for (const auto& known : *classes)
      if (SameName(known->name, name)) return known;
  }
  return nullptr;
}

std::uint32_t BackgroundOf(Lock& lock, const Window& window) {
  if (!window.windowClass) return window.background;
  return gdi::BrushPixel(lock, window.windowClass->background).value_or(0xFFFFFF);
}

namespace {

bool reachedBy(const Window& window, POINT point) {
  if (!(window.style & WS_VISIBLE) || window.isMinimised() || window.cloaked) return false;
  if ((window.style & WS_DISABLED) || !Holds(window.rect, point)) return false;
  if (!window.isLayered()) return true;
  if ((window.exStyle & WS_EX_TRANSPARENT) || !window.layered) return false;
  if (!window.layered->key) return true;
  const POINT within = {point.x - window.rect.left, point.y - window.rect.top};
  return !Holds(window.surface.bounds(), within) ||
         window.surface.At(within.x, within.y) != *window.layered->key;
}

Window* reachedBelow(const Window& parent, POINT point) {
  for (const auto& child : parent.children) {
    if (!reachedBy(*child, point)) continue;
    Window* deeper = reachedBelow(*child, point);
    return deeper ? deeper : child.get();
  }
  return nullptr;
}

}  // namespace

Window* WindowAt(Lock& lock, POINT point) {
  Desktop& desktop = Get(lock);
  Window* window = reachedBelow(*desktop.root, point);
  if (window) return window;
  const bool onScreen = std::any_of(desktop.monitors.begin(), desktop.monitors.end(),
                                    [&](const auto& m) { return Holds(m->rect, point); });
  return onScreen ? desktop.root.get() : nullptr;
}

// ------------------------------------------------------------------- foreground

namespace {

bool canBeSeen(const Window& window) {
  return window.isVisible() && !window.isMinimised() && !window.cloaked;
}

bool isWorkedWith(const Window& window) {
  constexpr DWORD kAside = WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW | WS_EX_TRANSPARENT;
  return canBeSeen(window) && !(window.exStyle & kAside) && !(window.style & WS_DISABLED);
}

}  // namespace

HWND Foreground(Lock& lock) {
  const Desktop& desktop = Get(lock);
  if (desktop.foreground) {
    const auto chosen = FindWindow(lock, *desktop.foreground);
    if (!*desktop.foreground || (chosen && canBeSeen(*chosen))) return *desktop.foreground;
  }
  const auto& windows = desktop.root->children;
  const auto found = std::find_if(windows.begin(), windows.end(),
                                  [](const auto& window) { return isWorkedWith(*window); });
  return found == windows.end() ? nullptr : (*found)->handle;
}

bool MayChooseForeground(Lock& lock) {
  const auto present = FindWindow(lock, Foreground(lock));
  if (!present || present->windowClass) return true;
  const auto& attached = Get(lock).attachedInputs;
  const std::uint32_t self = scheduler::CurrentThreadId();
  return std::any_of(attached.begin(), attached.end(), [&](const auto& pair) {
    return pair == std::pair(self, present->threadId) || pair == std::pair(present->threadId, self);
  });
}

namespace {

void collectInputs(const Window& parent, std::vector<std::pair<std::uint32_t, std::uint32_t>>& to) {
  for (const auto& window : parent.children) {
    const Window* const other = window->isChild() ? window->parent : window->owner;
    if (other && other->parent && other->threadId != window->threadId)
      to.emplace_back(window->threadId, other->threadId);
    collectInputs(*window, to);
  }
}

}  // namespace

bool ShareInput(Lock& lock, std::uint32_t a, std::uint32_t b) {
  auto pairs = Get(lock).attachedInputs;
  collectInputs(*Get(lock).root, pairs);
  std::vector<std::uint32_t> reached{a};
  const auto isReached = [&](std::uint32_t thread) {
    return std::find(reached.begin(), reached.end(), thread) != reached.end();
  };
  for (std::size_t i = 0; i < reached.size(); ++i) {
    for (const auto& [one, other] : pairs) {
      if (one == reached[i] && !isReached(other)) reached.push_back(other);
      if (other == reached[i] && !isReached(one)) reached.push_back(one);
    }
  }
  return isReached(b);
}

}  // namespace desktop
}  // namespace vwin
