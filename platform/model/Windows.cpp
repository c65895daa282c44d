// Windows: their order, place, state and what they have to paint.
#include <algorithm>
#include <utility>

#include "platform/model/Desktop.h"
#include "platform/model/GraphicsCaptureItem.h"
#include "platform/model/Rects.h"

namespace vwin::desktop {
namespace {

using Siblings = std::vector<std::shared_ptr<Window>>;

constexpr RECT kMinimisedRect = {-32000, -32000, -31840, -31972};

Siblings::iterator positionOf(Siblings& siblings, const Window& window) {
  return std::find_if(siblings.begin(), siblings.end(),
                      [&](const auto& other) { return other.get() == &window; });
}

Siblings::iterator firstOfKind(Siblings& siblings, bool topmost) {
  if (topmost) return siblings.begin();
  return std::find_if(siblings.begin(), siblings.end(),
                      [](const auto& other) { return !other->isTopmost(); });
}

void setTopmostBit(Window& window, bool topmost) {
  if (topmost)
    window.exStyle |= WS_EX_TOPMOST;
  else
    window.exStyle &= ~DWORD{WS_EX_TOPMOST};
}

// Puts a window, already taken out, under `above`. It becomes topmost between two
// topmost ones and is not topmost under one that isn't; at the border of both kinds
// it stays what it was.
void insertUnder(Siblings& siblings, std::shared_ptr<Window> moving, const Window& above) {
  const auto next = positionOf(siblings, above) + 1;
  if (!above.isTopmost())
    setTopmostBit(*moving, false);
  else if (next != siblings.end() && (*next)->isTopmost())
    setTopmostBit(*moving, true);
  siblings.insert(next, std::move(moving));
}

void moveTree(Window& window, const RECT& rect) {
  const std::int64_t dx = std::int64_t{rect.left} - window.rect.left;
  const std::int64_t dy = std::int64_t{rect.top} - window.rect.top;
  window.rect = rect;
  if (dx == 0 && dy == 0) return;
  for (const auto& child : window.children) moveTree(*child, Moved(child->rect, dx, dy));
}

std::vector<Window*> ownedBy(const Window& owner) {
  std::vector<Window*> owned;
  for (const auto& window : owner.parent->children) {
    if (window->owner == &owner) owned.push_back(window.get());
  }
  return owned;
}

void putOver(Window& window, const Window& below) {
  Siblings& siblings = window.parent->children;
  const auto position = positionOf(siblings, window);
  std::shared_ptr<Window> moving = std::move(*position);
  siblings.erase(position);
  siblings.insert(positionOf(siblings, below), std::move(moving));
}

// Puts the windows that `owner` owns over it, in the order in which they lay. A window
// that isn't topmost may own one that is, unless it has just ceased to be.
void gatherOwned(Window& owner, bool wasTopmost) {
  for (Window* const owned : ownedBy(owner)) {
    if (owner.isTopmost() || wasTopmost) setTopmostBit(*owned, owner.isTopmost());
    if (owned->isTopmost() == owner.isTopmost()) putOver(*owned, owner);
    gatherOwned(*owned, wasTopmost);
  }
}

// After a window was put where its owner covers it.
void stayOverOwner(Window& window) {
  const Window* const owner = window.owner;
  if (!owner) return;
  Siblings& siblings = window.parent->children;
  if (positionOf(siblings, window) < positionOf(siblings, *owner)) return;
  setTopmostBit(window, owner->isTopmost());
  putOver(window, *owner);
}

void showOwned(Lock& lock, const Window& owner, bool show) {
  for (Window* const owned : ownedBy(owner)) {
    const bool concerned = show ? owned->hiddenWithOwner : (owned->style & WS_VISIBLE) != 0;
    if (!concerned || !(owned->style & WS_POPUP)) continue;
    SetVisible(lock, *owned, show);
    owned->hiddenWithOwner = !show;
  }
}

}  // namespace

void Enter(Lock& lock, const std::shared_ptr<Window>& window, const char* call) {
  Get(lock);
  window->handle = static_cast<HWND>(handles::Add(lock, HandleKind::kWindow, window, call));
  window->normalRect = window->rect;
  if (window->surface.width() != WidthOf(window->rect) ||
      window->surface.height() != HeightOf(window->rect)) {
    window->surface = Surface(WidthOf(window->rect), HeightOf(window->rect), 0xFFFFFF);
  }
  if (window->owner && window->owner->isTopmost()) setTopmostBit(*window, true);
  Siblings& siblings = window->parent->children;
  siblings.insert(firstOfKind(siblings, window->isTopmost()), window);
  scheduler::Changed();
}

std::shared_ptr<Window> Leave(Lock& lock, Window& window) {
  for (Window* const owned : ownedBy(window)) owned->owner = nullptr;
  Siblings& siblings = window.parent->children;
  const auto position = positionOf(siblings, window);
  std::shared_ptr<Window> last = std::move(*position);
  siblings.erase(position);
  handles::Remove(lock, HandleKind::kWindow, window.handle);
  capture::CloseItemsOfNothing(lock);
  for (const auto& thumbnail : window.thumbnails)
    handles::Remove(lock, HandleKind::kThumbnail, thumbnail->handle);
  Desktop& desktop = Get(lock);
  if (desktop.focus == window.handle) desktop.focus = nullptr;
  if (desktop.foreground == window.handle) desktop.foreground.reset();
  scheduler::Changed();
  return last;
}

std::vector<HWND> DependentsOf(Lock& lock, const Window& window) {
  std::vector<HWND> found;
  for (const auto& top : Get(lock).root->children) {
    if (top->owner == &window) found.push_back(top->handle);
  }
  for (const auto& child : window.children) found.push_back(child->handle);
  return found;
}

Window* TopLevelOf(Window* window) {
  while (window && window->parent && window->parent->parent) window = window->parent;
  return window && window->parent ? window : nullptr;
}

bool SetOwner(Lock&, Window& window, Window* owner) {
  if (window.isChild()) return false;
  owner = TopLevelOf(owner);
  for (const Window* above = owner; above; above = above->owner) {
    if (above == &window) return false;
  }
  window.owner = owner;
  scheduler::Changed();
  return true;
}

bool IsTopLevel(Lock& lock, const Window& window) { return window.parent == Get(lock).root.get(); }

HWND ParentOrOwner(const Window& window) {
  const Window* const above = window.isChild() ? window.parent : window.owner;
  return above ? above->handle : nullptr;
}

bool Place(Lock& lock, Window& window, HWND after) {
  if (!window.parent || after == window.handle) return true;
  Siblings& siblings = window.parent->children;
  const bool special =
      after == HWND_TOP || after == HWND_BOTTOM || after == HWND_TOPMOST || after == HWND_NOTOPMOST;
  const auto above = special ? nullptr : FindWindow(lock, after);
  if (!special && (!above || above->parent != window.parent)) return false;
  if (after == HWND_NOTOPMOST && !window.isTopmost()) return true;

  const bool wasTopmost = window.isTopmost();
  const auto position = positionOf(siblings, window);
  std::shared_ptr<Window> moving = std::move(*position);
  siblings.erase(position);
  if (above) {
    insertUnder(siblings, std::move(moving), *above);
  } else if (after == HWND_BOTTOM) {
    setTopmostBit(window, false);
    siblings.push_back(std::move(moving));
  } else {
    if (after != HWND_TOP) setTopmostBit(window, after == HWND_TOPMOST);
    siblings.insert(firstOfKind(siblings, window.isTopmost()), std::move(moving));
  }
  stayOverOwner(window);
  gatherOwned(window, wasTopmost);
  scheduler::Changed();
  return true;
}

void SetRect(Lock& lock, Window& window, const RECT& rect) {
  const RECT normalised = {rect.left, rect.top, std::max(rect.left, rect.right),
                           std::max(rect.top, rect.bottom)};
  if (window.isMinimised()) {
    window.normalRect = normalised;
    return;
  }
  const int width = WidthOf(normalised);
  const int height = HeightOf(normalised);
  const bool grows = width > window.surface.width() || height > window.surface.height();
  const bool changes = width != window.surface.width() || height != window.surface.height();
  moveTree(window, normalised);
  if (!window.isMaximised()) window.normalRect = normalised;
  if (changes) {
    window.surface.Resize(width, height, BackgroundOf(lock, window));
    const bool redraws =
        window.windowClass && (window.windowClass->style & (CS_HREDRAW | CS_VREDRAW)) != 0;
    const RECT client = window.wholeClient();
    window.invalid = Overlap(window.invalid, client);
    if (window.windowClass && (grows || redraws)) {
      window.invalid = client;
      window.eraseInvalid = true;
    }
  }
  scheduler::Changed();
}

void SetVisible(Lock&, Window& window, bool visible) {
  const bool was = (window.style & WS_VISIBLE) != 0;
  if (was == visible) return;
  window.style ^= WS_VISIBLE;
  if (visible) window.hiddenWithOwner = false;
  if (visible && window.windowClass) {
    window.invalid = window.wholeClient();
    window.eraseInvalid = true;
  }
  scheduler::Changed();
}

void Minimise(Lock& lock, Window& window) {
  if (window.isMinimised()) return;
  window.restoresToMaximised = window.isMaximised();
  window.style = (window.style & ~DWORD{WS_MAXIMIZE}) | WS_MINIMIZE;
  // The surface keeps its size and content.
  moveTree(window, kMinimisedRect);
  showOwned(lock, window, false);
  scheduler::Changed();
}

void Maximise(Lock& lock, Window& window) {
  if (window.isMaximised()) return;
  const Monitor* monitor = MonitorOf(lock, window.normalRect, true);
  window.style = (window.style & ~DWORD{WS_MINIMIZE}) | WS_MAXIMIZE;
  RECT rect = monitor ? monitor->work : window.normalRect;
  if (window.style & WS_THICKFRAME) {
    rect = {rect.left - kSizingFrame, rect.top - kSizingFrame, rect.right + kSizingFrame,
            rect.bottom + kSizingFrame};
  }
  SetRect(lock, window, rect);
  showOwned(lock, window, true);
}

void Restore(Lock& lock, Window& window) {
  if (window.isMinimised() && window.restoresToMaximised) return Maximise(lock, window);
  if (!window.isMinimised() && !window.isMaximised()) return;
  window.style &= ~DWORD{WS_MINIMIZE | WS_MAXIMIZE};
  SetRect(lock, window, window.normalRect);
  showOwned(lock, window, true);
}

void SetExStyle(Lock&, Window& window, DWORD exStyle) {
  // Only SetWindowPos makes a window topmost.
  window.exStyle = (exStyle & ~DWORD{WS_EX_TOPMOST}) | (window.exStyle & WS_EX_TOPMOST);
  if (!window.isLayered()) window.layered.reset();
  scheduler::Changed();
}

void SetLayered(Lock&, Window& window, LayeredAttributes attributes) {
  window.layered = attributes;
  scheduler::Changed();
}

void Invalidate(Lock&, Window& window, const RECT* rect, bool erase) {
  ++window.redrawCount;
  if (!window.windowClass) return;
  const RECT client = window.wholeClient();
  window.invalid = Around(window.invalid, rect ? Overlap(*rect, client) : client);
  window.eraseInvalid = window.eraseInvalid || erase;
  scheduler::Changed();
}

}  // namespace vwin::desktop
