// user32: making, moving, showing and changing windows.
#include <windows.h>

#include <string>

#include "platform/api/user32.h"
#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/OwnWindows.h"
#include "platform/model/Rects.h"

using namespace vwin;

namespace {

// The part of SetWindowPos that MoveWindow does as well.
void change(Lock& lock, Window& window, int x, int y, int width, int height, UINT flags) {
  RECT rect = window.isMinimised() ? window.normalRect : window.rect;
  if (!(flags & SWP_NOSIZE)) rect = SizedRect(rect.left, rect.top, width, height);
  if (!(flags & SWP_NOMOVE)) {
    const RECT origin = window.isChild() ? window.parent->clientRect() : RECT{};
    rect = SizedRect(std::int64_t{origin.left} + x, std::int64_t{origin.top} + y, WidthOf(rect),
                     HeightOf(rect));
  }
  if (!(flags & SWP_NOSIZE) || !(flags & SWP_NOMOVE)) desktop::SetRect(lock, window, rect);
}

}  // namespace

ATOM WINAPI RegisterClassExW(const WNDCLASSEXW* description) {
  VWIN_CALL(RegisterClassExW);
  if (fault) return SetLastError(fault->win32), ATOM{0};
  const bool complete = description && description->cbSize == sizeof(WNDCLASSEXW) &&
                        description->lpszClassName && description->lpfnWndProc;
  if (!complete) return SetLastError(ERROR_INVALID_PARAMETER), ATOM{0};
  Lock lock;
  const ATOM atom = own_windows::RegisterClass(lock, *description);
  if (!atom) SetLastError(ERROR_CLASS_ALREADY_EXISTS);
  return atom;
}

HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter) {
  VWIN_CALL(CreateWindowExW);
  if (fault) return SetLastError(fault->win32), nullptr;
  own_windows::Request request;
  {
    Lock lock;
    request.windowClass = className ? desktop::FindClass(lock, className) : nullptr;
    if (!request.windowClass) return SetLastError(ERROR_CANNOT_FIND_WND_CLASS), nullptr;
    const auto above = parent ? FindOrSetError(lock, parent) : nullptr;
    if (parent && !above) return nullptr;
    const bool child = (style & WS_CHILD) != 0;
    if (child && !above) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    // A child's place counts from its parent's client area.
    const RECT origin = child ? above->clientRect() : RECT{};
    request.rect = SizedRect(std::int64_t{origin.left} + x, std::int64_t{origin.top} + y,
                             width > 0 ? width : 0, height > 0 ? height : 0);
  }
  request.title = title ? title : L"";
  request.style = style;
  request.exStyle = exStyle;
  request.parent = parent;
  request.parameters = {
      parameter, instance,  menu,   parent, height, width, y, x, static_cast<LONG>(style),
      title,     className, exStyle};
  return own_windows::Create(request);
}

BOOL WINAPI DestroyWindow(HWND handle) {
  VWIN_CALL_INFALLIBLE(DestroyWindow);
  {
    Lock lock;
    if (!FindOrSetError(lock, handle)) return FALSE;
  }
  if (!own_windows::Destroy(handle)) return SetLastError(ERROR_ACCESS_DENIED), FALSE;
  return TRUE;
}

BOOL WINAPI ShowWindow(HWND handle, int command) {
  VWIN_CALL_INFALLIBLE(ShowWindow);
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  const bool wasVisible = (window->style & WS_VISIBLE) != 0;
  bool activates = false;
  switch (command) {
    case SW_HIDE:
      desktop::SetVisible(lock, *window, false);
      return wasVisible;
    case SW_MINIMIZE:
    case SW_SHOWMINIMIZED:
    case SW_SHOWMINNOACTIVE:
      desktop::Minimise(lock, *window);
      break;
    case SW_MAXIMIZE:
      desktop::Maximise(lock, *window);
      activates = true;
      break;
    case SW_SHOWNORMAL:
    case SW_RESTORE:
      desktop::Restore(lock, *window);
      activates = true;
      break;
    case SW_SHOWNOACTIVATE:
      desktop::Restore(lock, *window);
      break;
    case SW_SHOW:
      activates = true;
      break;
    case SW_SHOWNA:
      break;
    default:
      return SetLastError(ERROR_INVALID_PARAMETER), wasVisible;
  }
  desktop::SetVisible(lock, *window, true);
  if (activates) desktop::Place(lock, *window, HWND_TOP);
  return wasVisible;
}

BOOL WINAPI SetWindowPos(HWND handle, HWND after, int x, int y, int width, int height, UINT flags) {
  VWIN_CALL(SetWindowPos);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  if (!(flags & SWP_NOZORDER) && !desktop::Place(lock, *window, after))
    return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
  change(lock, *window, x, y, width, height, flags);
  if (flags & SWP_SHOWWINDOW) desktop::SetVisible(lock, *window, true);
  if (flags & SWP_HIDEWINDOW) desktop::SetVisible(lock, *window, false);
  return TRUE;
}

BOOL WINAPI MoveWindow(HWND handle, int x, int y, int width, int height, BOOL) {
  VWIN_CALL(MoveWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  change(lock, *window, x, y, width, height, 0);
  return TRUE;
}

BOOL WINAPI CloseWindow(HWND handle) {
  VWIN_CALL(CloseWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  desktop::Minimise(lock, *window);
  desktop::SetVisible(lock, *window, true);
  return TRUE;
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
  VWIN_CALL(SetWindowLongPtrW);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return 0;
  LONG_PTR previous = 0;
  switch (index) {
    case GWL_STYLE:
      previous = window->style;
      window->style = static_cast<DWORD>(value);
      scheduler::Changed();
      return previous;
    case GWL_EXSTYLE:
      previous = window->exStyle;
      desktop::SetExStyle(lock, *window, static_cast<DWORD>(value));
      return previous;
    case GWLP_HWNDPARENT: {
      const auto owner = reinterpret_cast<HWND>(value);
      const auto found = owner ? FindOrSetError(lock, owner) : nullptr;
      if (owner && !found) return 0;
      previous = reinterpret_cast<LONG_PTR>(desktop::ParentOrOwner(*window));
      if (!desktop::SetOwner(lock, *window, own_windows::TopLevelOf(found.get())))
        return SetLastError(ERROR_INVALID_PARAMETER), 0;
      return previous;
    }
    case GWLP_USERDATA:
      // Another process's window keeps its user data to itself.
      if (!window->windowClass) return SetLastError(ERROR_ACCESS_DENIED), 0;
      previous = window->userData;
      window->userData = value;
      return previous;
    default:
      return SetLastError(ERROR_INVALID_INDEX), 0;
  }
}

BOOL WINAPI SetLayeredWindowAttributes(HWND handle, COLORREF key, BYTE alpha, DWORD flags) {
  VWIN_CALL(SetLayeredWindowAttributes);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return FALSE;
  if (!window->isLayered() || (flags & ~DWORD{LWA_COLORKEY | LWA_ALPHA}))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  LayeredAttributes attributes;
  if (flags & LWA_COLORKEY) attributes.key = ToPixel(key);
  if (flags & LWA_ALPHA) attributes.alpha = alpha;
  desktop::SetLayered(lock, *window, attributes);
  return TRUE;
}
