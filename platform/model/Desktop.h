// The facts of the desktop: monitors, windows in z-order, window classes, cursor.
//
// Everything here is guarded by the machine's lock. Pointers to windows are good
// for as long as the lock is held: a window lives until it is destroyed, its children
// never outlive it, and what it owned has no owner afterwards.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/model/HandleTable.h"
#include "platform/model/Scheduler.h"
#include "platform/model/Surface.h"

namespace vwin {

struct Monitor : Object {
  HMONITOR handle = nullptr;
  std::wstring device;
  RECT rect{};
  RECT work{};
  bool primary = false;

  // Its output on the graphics card, and what a duplication of it has to say.
  struct Move {
    POINT from;
    RECT to;
  };
  std::size_t adapter = 0;
  int quarterTurns = 0;           // clockwise
  bool attached = true;           // false: the output shows nothing of the desktop
  std::uint32_t modeChanges = 0;  // whoever duplicates it loses it with each
  std::vector<Move> moves;        // so far, in pixels of the unturned picture
};

// A cursor's picture, with straight alpha in the top byte.
struct CursorShape : Object {
  int width = 0;
  int height = 0;
  int hotspotX = 0;
  int hotspotY = 0;
  std::vector<std::uint32_t> pixels;
};

struct Cursor {
  POINT position{};
  bool showing = true;
  HCURSOR shape = nullptr;
};

struct WindowClass {
  ATOM atom = 0;
  std::wstring name;
  UINT style = 0;
  WNDPROC procedure = nullptr;
  HBRUSH background = nullptr;
  HICON icon = nullptr;
};

// How far a maximised window with a sizing frame reaches over the work area.
inline constexpr int kSizingFrame = 8;

struct LayeredAttributes {
  std::optional<std::uint32_t> key;  // a pixel, not a COLORREF
  std::optional<std::uint8_t> alpha;
};

// A picture of one top-level window in another, which need not be near.
struct Thumbnail : Object {
  HANDLE handle = nullptr;
  HWND destination = nullptr;
  HWND source = nullptr;
  RECT to{};                 // in the destination's client area
  std::optional<RECT> from;  // of what the source shows; none: all of it
  bool visible = false;
};

// A window of this process (`windowClass` is set) or of another program.
struct Window : Object {
  HWND handle = nullptr;
  std::shared_ptr<const WindowClass> windowClass;
  std::wstring className;
  std::wstring title;
  DWORD style = 0;
  DWORD exStyle = 0;
  DWORD processId = 0;
  std::uint32_t threadId = 0;
  LONG_PTR userData = 0;

  Window* parent = nullptr;  // the desktop window for a top-level window
  Window* owner = nullptr;
  // Topmost first, those with WS_EX_TOPMOST before all others.
  std::vector<std::shared_ptr<Window>> children;

  RECT rect{};        // on the virtual screen, children too
  RECT normalRect{};  // where Restore leads
  bool restoresToMaximised = false;
  RECT invisibleFrame{};  // insets of the extended frame bounds

  std::optional<LayeredAttributes> layered;  // none: a layered window shows nothing yet
  bool cloaked = false;
  std::uint32_t background = 0xFFFFFF;  // of what another program's window grows by
  Surface surface;                      // as large as the window is when it is not minimised
  std::function<void(Surface&)> paint;  // draws another program's window anew

  std::vector<std::shared_ptr<Thumbnail>> thumbnails;  // that it shows, lowest first
  std::optional<SIZE> thumbnailSize;                   // what thumbnails of it call its size

  // Of another program's window: its icons by ICON_SMALL, ICON_BIG, ICON_SMALL2, its
  // class's, and how long it takes to answer; nothing when it hangs.
  std::array<HICON, 3> icons{};
  HICON classIcon = nullptr;
  std::optional<Micros> answersAfter = 0;
  Micros answersSince = 0;  // in this way

  RECT invalid{};  // bounds of what is to be painted, in client coordinates
  bool eraseInvalid = false;
  std::uint64_t redrawCount = 0;  // times that somebody asked for a redraw
  std::uint64_t paintCount = 0;   // BeginPaint calls
  bool beingDestroyed = false;
  bool hiddenWithOwner = false;  // shown again when the owner is restored

  bool isMinimised() const { return (style & WS_MINIMIZE) != 0; }
  bool isMaximised() const { return (style & WS_MAXIMIZE) != 0; }
  bool isTopmost() const { return (exStyle & WS_EX_TOPMOST) != 0; }
  bool isChild() const { return (style & WS_CHILD) != 0; }
  bool isLayered() const { return (exStyle & WS_EX_LAYERED) != 0; }
  // WS_VISIBLE, and all ancestors have it as well.
  bool isVisible() const;
  // The client area on the virtual screen, as a part of the surface, and in its own
  // coordinates.
  RECT clientRect() const;
  RECT clientPart() const;
  RECT wholeClient() const;
};

struct Desktop {
  std::vector<std::shared_ptr<Monitor>> monitors;  // in the order of enumeration
  std::shared_ptr<Window> root;                    // the desktop window; its children are top-level
  std::shared_ptr<Window> messageRoot;             // parent of windows that are never seen
  std::vector<std::shared_ptr<const WindowClass>> classes;
  std::vector<std::shared_ptr<const WindowClass>> systemClasses;  // of modules of the system
  Cursor cursor;
  HWND focus = nullptr;
  std::optional<HWND> foreground;  // what somebody chose, null being none
  // Threads that share their input; one pair for each time.
  std::vector<std::pair<std::uint32_t, std::uint32_t>> attachedInputs;
  std::uint32_t color = 0;  // of the empty desktop
};

namespace desktop {

// The desktop of the machine; made at the first call.
Desktop& Get(Lock& lock);

// ------------------------------------------------------------------- monitors

// Enters a monitor; its handle is negative as a 32-bit number for every second one.
std::shared_ptr<Monitor> AddMonitor(Lock& lock, const RECT& rect, const RECT& work, bool primary,
                                    std::wstring device);
// Gives the same monitor another handle.
void RenewHandle(Lock& lock, Monitor& monitor);
std::shared_ptr<Monitor> FindMonitor(Lock& lock, HMONITOR handle);
const Monitor* Primary(Lock& lock);
// The monitor with the largest part of `rect`, or the nearest, or with `nearest`
// false none. Null without monitors as well.
const Monitor* MonitorOf(Lock& lock, const RECT& rect, bool nearest);
RECT VirtualScreen(Lock& lock);

// -------------------------------------------------------------------- windows

std::shared_ptr<Window> FindWindow(Lock& lock, HWND handle);
std::shared_ptr<const WindowClass> FindClass(Lock& lock, const std::wstring& name);
// As class names are compared: without regard to case.
bool SameName(const std::wstring& a, const std::wstring& b);

// Gives the window a handle and puts it on top of its kind. `call` is noted in the
// ledger; null for another program's window. Parent and owner must be set.
void Enter(Lock& lock, const std::shared_ptr<Window>& window, const char* call);
// Takes the window away; its children must be gone, and what it owns has no owner from
// now on. Returns the last reference, whose destructor may free much.
std::shared_ptr<Window> Leave(Lock& lock, Window& window);
// Direct children and, for a top-level window, the windows that it owns.
std::vector<HWND> DependentsOf(Lock& lock, const Window& window);

// The window that owns, when somebody names `window`: its top-level window. Null for
// the desktop and for null.
Window* TopLevelOf(Window* window);

// Gives a top-level window another owner, null for none, and the top-level window of a
// child; its place in the order stays. False for a child and for a window that `owner`
// depends on.
bool SetOwner(Lock& lock, Window& window, Window* owner);
// False for children, for the desktop window and for windows that are never seen.
bool IsTopLevel(Lock& lock, const Window& window);
// Handle of a child's parent or of a top-level window's owner, null without one.
HWND ParentOrOwner(const Window& window);

// Where to put a window among its siblings: HWND_TOP, HWND_BOTTOM, HWND_TOPMOST,
// HWND_NOTOPMOST or a sibling to put it under. False when `after` is none of these.
// Windows that it owns come along, and an owned window stays above its owner.
bool Place(Lock& lock, Window& window, HWND after);
// Moves and resizes, its children along. The client area gets invalid when it grows
// and, for a class that redraws, whenever its size changes. A minimised window takes
// the rectangle when it is restored.
void SetRect(Lock& lock, Window& window, const RECT& rect);
void SetVisible(Lock& lock, Window& window, bool visible);
// Hides the windows that it owns, until it is restored or maximised.
void Minimise(Lock& lock, Window& window);
void Maximise(Lock& lock, Window& window);
void Restore(Lock& lock, Window& window);
void SetExStyle(Lock& lock, Window& window, DWORD exStyle);
void SetLayered(Lock& lock, Window& window, LayeredAttributes attributes);
// Marks a part of the client area (all of it without `rect`) to be painted.
void Invalidate(Lock& lock, Window& window, const RECT* rect, bool erase);
// The colour of a window's class brush (white without one), or its own background.
std::uint32_t BackgroundOf(Lock& lock, const Window& window);
// The window that a click at `point` would reach.
Window* WindowAt(Lock& lock, POINT point);

// ----------------------------------------------------------------- foreground

// The window that was chosen, for as long as it can be seen; otherwise the topmost that
// a user could work with. Null when there is none.
HWND Foreground(Lock& lock);
// Whether the system lets the calling thread choose: when its process has the
// foreground, nobody has, or its input is attached to the foreground's thread.
bool MayChooseForeground(Lock& lock);
// Whether two threads share their input: attached by a call, or by a window of one that
// is a child of the other's or owned by it, or by threads between them.
bool ShareInput(Lock& lock, std::uint32_t a, std::uint32_t b);

// --------------------------------------------------------------------- cursor

enum class CursorKind { kArrow, kBeam, kCross };
CursorShape StandardCursor(CursorKind kind);
HCURSOR AddCursor(Lock& lock, CursorShape shape);
HCURSOR SharedArrow(Lock& lock);

}  // namespace desktop
}  // namespace vwin
