// user32: what windows there are, and what they are like.
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Rects.h"
#include "platform/model/Text.h"

using namespace vwin;

namespace {

// Sets the error for a stale handle.
std::shared_ptr<Window> find(Lock& lock, HWND handle) {
  auto window = desktop::FindWindow(lock, handle);
  if (!window) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return window;
}

bool hasStyle(HWND handle, DWORD bit) {
  Lock lock;
  const auto window = find(lock, handle);
  return window && (window->style & bit) != 0;
}

// Cuts the text to what fits with its end. Returns the length without the end.
template <typename Char>
int copyText(const std::basic_string<Char>& text, Char* to, int size) {
  if (!to || size <= 0) return 0;
  const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  *std::copy_n(text.begin(), length, to) = Char{};
  return static_cast<int>(length);
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

HWND findSibling(Lock& lock, HWND parentHandle, HWND after, const std::wstring* className,
                 const std::wstring* title) {
  const auto parent = parentHandle ? find(lock, parentHandle) : desktop::Get(lock).root;
  if (!parent) return nullptr;
  auto next = parent->children.begin();
  if (after) {
    const auto previous = find(lock, after);
    if (!previous) return nullptr;
    next = std::find(parent->children.begin(), parent->children.end(), previous);
    if (next == parent->children.end()) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    ++next;
  }
  for (; next != parent->children.end(); ++next) {
    const Window& window = **next;
    if (className && !desktop::SameName(window.className, *className)) continue;
    if (title && !desktop::SameName(window.title, *title)) continue;
    return window.handle;
  }
  return nullptr;
}

}  // namespace

BOOL WINAPI IsWindow(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsWindow);
  Lock lock;
  return find(lock, handle) != nullptr;
}

BOOL WINAPI IsWindowVisible(HWND handle) {
  VWIN_CALL_INFALLIBLE(IsWindowVisible);
  Lock lock;
  const auto window = find(lock, handle);
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
  const auto window = find(lock, handle);
  if (!window) return FALSE;
  *rect = window->rect;
  return TRUE;
}

BOOL WINAPI GetClientRect(HWND handle, LPRECT rect) {
  VWIN_CALL(GetClientRect);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = find(lock, handle);
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
  const auto window = find(lock, handle);
  if (!window) return FALSE;
  placement->flags = 0;
  placement->showCmd = window->isMinimised()   ? SW_SHOWMINIMIZED
                       : window->isMaximised() ? SW_SHOWMAXIMIZED
                                               : SW_SHOWNORMAL;
  placement->ptMinPosition = {-1, -1};
  placement->ptMaxPosition = {-1, -1};
  placement->rcNormalPosition = window->normalRect;
  return TRUE;
}

int WINAPI GetClassNameW(HWND handle, LPWSTR text, int size) {
  VWIN_CALL(GetClassNameW);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = find(lock, handle);
  return window ? copyText(window->className, text, size) : 0;
}

int WINAPI GetClassNameA(HWND handle, LPSTR text, int size) {
  VWIN_CALL(GetClassNameA);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = find(lock, handle);
  return window ? copyText(ToNarrow(window->className), text, size) : 0;
}

int WINAPI GetWindowTextW(HWND handle, LPWSTR text, int size) {
  VWIN_CALL(GetWindowTextW);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = find(lock, handle);
  return window ? copyText(window->title, text, size) : 0;
}

int WINAPI GetWindowTextA(HWND handle, LPSTR text, int size) {
  VWIN_CALL(GetWindowTextA);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = find(lock, handle);
  return window ? copyText(ToNarrow(window->title), text, size) : 0;
}

HWND WINAPI GetWindow(HWND handle, UINT command) {
  VWIN_CALL(GetWindow);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto window = find(lock, handle);
  if (!window) return nullptr;
  if (command != GW_OWNER) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  return window->owner ? window->owner->handle : nullptr;
}

HWND WINAPI GetParent(HWND handle) {
  VWIN_CALL(GetParent);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto window = find(lock, handle);
  if (!window) return nullptr;
  if (window->isChild()) return window->parent->handle;
  return (window->style & WS_POPUP) && window->owner ? window->owner->handle : nullptr;
}

DWORD WINAPI GetWindowThreadProcessId(HWND handle, LPDWORD processId) {
  VWIN_CALL(GetWindowThreadProcessId);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = find(lock, handle);
  if (!window) return 0;
  if (processId) *processId = window->processId;
  return window->threadId;
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index) {
  VWIN_CALL(GetWindowLongPtrW);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = find(lock, handle);
  if (!window) return 0;
  switch (index) {
    case GWL_STYLE:
      return window->style;
    case GWL_EXSTYLE:
      return window->exStyle;
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

BOOL WINAPI EnumChildWindows(HWND parent, WNDENUMPROC callback, LPARAM data) {
  VWIN_CALL(EnumChildWindows);
  if (fault) return SetLastError(fault->win32), FALSE;
  std::vector<HWND> windows;
  {
    Lock lock;
    const auto window = parent ? find(lock, parent) : desktop::Get(lock).root;
    if (!window) return FALSE;
    collectBelow(*window, windows);
  }
  return enumerate(windows, callback, data);
}

HWND WINAPI FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR title) {
  VWIN_CALL(FindWindowExW);
  if (fault) return SetLastError(fault->win32), nullptr;
  const std::wstring wantedClass = className ? className : L"";
  const std::wstring wantedTitle = title ? title : L"";
  Lock lock;
  return findSibling(lock, parent, after, className ? &wantedClass : nullptr,
                     title ? &wantedTitle : nullptr);
}

HWND WINAPI FindWindowExA(HWND parent, HWND after, LPCSTR className, LPCSTR title) {
  VWIN_CALL(FindWindowExA);
  if (fault) return SetLastError(fault->win32), nullptr;
  const std::wstring wantedClass = className ? FromNarrow(className) : L"";
  const std::wstring wantedTitle = title ? FromNarrow(title) : L"";
  Lock lock;
  return findSibling(lock, parent, after, className ? &wantedClass : nullptr,
                     title ? &wantedTitle : nullptr);
}

HWND WINAPI WindowFromPoint(POINT point) {
  VWIN_CALL_INFALLIBLE(WindowFromPoint);
  Lock lock;
  const Window* window = desktop::WindowAt(lock, point);
  return window ? window->handle : nullptr;
}
