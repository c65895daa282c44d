// user32: what windows there are, and what they are like.
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/api/user32.h"
#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Rects.h"
#include "platform/model/Text.h"

using namespace vwin;

namespace {

bool hasStyle(HWND handle, DWORD bit) {
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  return window && (window->style & bit) != 0;
}

// Cuts a text to what fits with its end, and returns the length without the end.
template <typename Char>
int giveText(const std::wstring& wide, Char* to, int size) {
  if (!to || size <= 0) return 0;
  const auto& text = FromWide<Char>(wide);
  const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  *std::copy_n(text.begin(), length, to) = Char{};
  return static_cast<int>(length);
}

template <typename Char>
int giveKnownText(const std::optional<Fault>& fault, HWND handle, std::wstring Window::*member,
                  Char* to, int size) {
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  return window ? giveText((*window).*member, to, size) : 0;
}

// A window of the own process is asked for its title, another one's is known.
int giveTitle(const std::optional<Fault>& fault, HWND handle, LPWSTR to, int size) {
  if (fault) return SetLastError(fault->win32), 0;
  std::wstring title;
  const auto read = [&](Lock&, Window& window) { title = window.title; };
  {
    Lock lock;
    const auto window = FindOrSetError(lock, handle);
    if (!window) return 0;
    if (!window->windowClass) return giveText(window->title, to, size);
  }
  return AsOwnerOrSetError(handle, read) ? giveText(title, to, size) : 0;
}

BOOL enumerate(const std::vector<HWND>& windows, WNDENUMPROC callback, LPARAM data) {
  for (const HWND window : windows) {
    {
      Lock lock;
      // Gone since the list was made.
      if (!desktop::FindWindow(lock, window)) continue;
    }
    if (!callback(window, data)) return FALSE;
  }
  return TRUE;
}

void collectBelow(const Window& parent, std::vector<HWND>& found) {
  for (const auto& child : parent.children) {
    found.push_back(child->handle);
    collectBelow(*child, found);
  }
}

// Both forms of the search among the children of a window. Null names fit all.
template <typename Char>
HWND findSibling(const std::optional<Fault>& fault, HWND parentHandle, HWND after,
                 const Char* className, const Char* title) {
  if (fault) return SetLastError(fault->win32), nullptr;
  const auto wide = [](const Char* text) {
    return text ? std::optional(ToWide(text)) : std::nullopt;
  };
  const auto wantedClass = wide(className);
  const auto wantedTitle = wide(title);
  Lock lock;
  const auto parent = parentHandle ? FindOrSetError(lock, parentHandle) : desktop::Get(lock).root;
  if (!parent) return nullptr;
  auto next = parent->children.begin();
  if (after) {
    const auto previous = FindOrSetError(lock, after);
    if (!previous) return nullptr;
    next = std::find(parent->children.begin(), parent->children.end(), previous);
    if (next == parent->children.end()) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    ++next;
  }
  const auto found = std::find_if(next, parent->children.end(), [&](const auto& window) {
    return (!wantedClass || desktop::SameName(window->className, *wantedClass)) &&
           (!wantedTitle || desktop::SameName(window->title, *wantedTitle));
  });
  return found == parent->children.end() ? nullptr : (*found)->handle;
}

}  // namespace

BOOL WINAPI IsWindow(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsWindow);
  Lock lock;
  return FindOrSetError(lock, handle) != nullptr;
}

BOOL WINAPI IsWindowVisible(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsWindowVisible);
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  return window && window->isVisible();
}

BOOL WINAPI IsIconic(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsIconic);
  return hasStyle(handle, WS_MINIMIZE);
}

BOOL WINAPI IsZoomed(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsZoomed);
  return hasStyle(handle, WS_MAXIMIZE);
}

BOOL WINAPI GetWindowRect(HWND handle, LPRECT rect) {
  VWIN_CALL(GetWindowRect);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  *rect = window->rect;
  return TRUE;
}

BOOL WINAPI GetClientRect(HWND handle, LPRECT rect) {
  VWIN_CALL(GetClientRect);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  *rect = window->isMinimised() ? RECT{} : window->wholeClient();
  return TRUE;
}

BOOL WINAPI GetWindowPlacement(HWND handle, WINDOWPLACEMENT* placement) {
  VWIN_CALL(GetWindowPlacement);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (!placement || placement->length != sizeof(WINDOWPLACEMENT))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  placement->flags = 0;
  placement->showCmd = window->isMinimised()   ? SW_SHOWMINIMIZED
                       : window->isMaximised() ? SW_SHOWMAXIMIZED
                                               : SW_SHOWNORMAL;
  placement->ptMinPosition = {-1, -1};
  placement->ptMaxPosition = {-1, -1};
  // Of top-level windows in the coordinates of their monitor's work area.
  const bool absolute = !desktop::IsTopLevel(lock, *window) || window->exStyle & WS_EX_TOOLWINDOW;
  const Monitor* const monitor =
      absolute ? nullptr : desktop::MonitorOf(lock, window->normalRect, true);
  const RECT& normal = window->normalRect;
  placement->rcNormalPosition = monitor ? Moved(normal, monitor->rect.left - monitor->work.left,
                                                monitor->rect.top - monitor->work.top)
                                        : normal;
  return TRUE;
}

int WINAPI GetClassNameW(HWND handle, LPWSTR text, int size) {
  VWIN_CALL(GetClassNameW);
  return giveKnownText(fault, handle, &Window::className, text, size);
}

int WINAPI GetClassNameA(HWND handle, LPSTR text, int size) {
  VWIN_CALL(GetClassNameA);
  return giveKnownText(fault, handle, &Window::className, text, size);
}

int WINAPI GetWindowTextW(HWND handle, LPWSTR text, int size) {
  VWIN_CALL(GetWindowTextW);
  return giveTitle(fault, handle, text, size);
}

int WINAPI InternalGetWindowText(HWND handle, LPWSTR text, int size) {
  VWIN_CALL(InternalGetWindowText);
  return giveKnownText(fault, handle, &Window::title, text, size);
}

HWND WINAPI GetWindow(HWND handle, UINT command) {
  VWIN_CALL(GetWindow);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return nullptr;
  if (command != GW_OWNER) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  return window->owner ? window->owner->handle : nullptr;
}

HWND WINAPI GetParent(HWND handle) {
  VWIN_CALL(GetParent);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return nullptr;
  if (window->isChild()) return window->parent->handle;
  return (window->style & WS_POPUP) && window->owner ? window->owner->handle : nullptr;
}

HWND WINAPI GetAncestor(HWND handle, UINT which) {
  VWIN_CALL(GetAncestor);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (which != GA_ROOT) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  Lock lock;
  const auto found = FindOrSetError(lock, handle);
  const Window* window = found.get();
  while (window && window->isChild()) window = window->parent;
  return window ? window->handle : nullptr;
}

DWORD WINAPI GetWindowThreadProcessId(HWND handle, LPDWORD processId) {
  VWIN_CALL(GetWindowThreadProcessId);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return 0;
  if (processId) *processId = window->processId;
  return window->threadId;
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index) {
  VWIN_CALL(GetWindowLongPtrW);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return 0;
  switch (index) {
    case GWL_STYLE:
      return window->style;
    case GWL_EXSTYLE:
      return window->exStyle;
    case GWLP_HWNDPARENT:
      return reinterpret_cast<LONG_PTR>(desktop::ParentOrOwner(*window));
    case GWLP_USERDATA:
      return window->userData;
    default:
      return SetLastError(ERROR_INVALID_INDEX), 0;
  }
}

HWND WINAPI GetDesktopWindow() {
  VWIN_CALL_INFALLIBLE(GetDesktopWindow);
  Lock lock;
  return desktop::Get(lock).root->handle;
}

BOOL WINAPI EnumWindows(WNDENUMPROC callback, LPARAM data) {
  VWIN_CALL(EnumWindows);
  if (fault) return SetLastError(fault->win32), FALSE;
  std::vector<HWND> windows;
  {
    Lock lock;
    for (const auto& window : desktop::Get(lock).root->children) windows.push_back(window->handle);
  }
  return enumerate(windows, callback, data);
}

// Without windows that only take messages.
BOOL WINAPI EnumThreadWindows(DWORD thread, WNDENUMPROC callback, LPARAM data) {
  VWIN_CALL(EnumThreadWindows);
  if (fault) return SetLastError(fault->win32), FALSE;
  std::vector<HWND> windows;
  {
    Lock lock;
    for (const auto& window : desktop::Get(lock).root->children)
      if (window->threadId == thread) windows.push_back(window->handle);
  }
  return enumerate(windows, callback, data);
}

BOOL WINAPI EnumChildWindows(HWND parent, WNDENUMPROC callback, LPARAM data) {
  VWIN_CALL(EnumChildWindows);
  if (fault) return SetLastError(fault->win32), FALSE;
  std::vector<HWND> windows;
  {
    Lock lock;
    const auto window = parent ? FindOrSetError(lock, parent) : desktop::Get(lock).root;
    if (!window) return FALSE;
    collectBelow(*window, windows);
  }
  return enumerate(windows, callback, data);
}

HWND WINAPI FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR title) {
  VWIN_CALL(FindWindowExW);
  return findSibling(fault, parent, after, className, title);
}

HWND WINAPI FindWindowExA(HWND parent, HWND after, LPCSTR className, LPCSTR title) {
  VWIN_CALL(FindWindowExA);
  return findSibling(fault, parent, after, className, title);
}

HWND WINAPI WindowFromPoint(POINT point) {
  VWIN_CALL_INFALLIBLE(WindowFromPoint);
  Lock lock;
  const Window* window = desktop::WindowAt(lock, point);
  return window ? window->handle : nullptr;
}
