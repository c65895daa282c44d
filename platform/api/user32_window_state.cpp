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

bool isActivating(int command) {
  return command == SW_SHOWNORMAL || command == SW_SHOWMINIMIZED || command == SW_MAXIMIZE ||
         command == SW_SHOW || command == SW_RESTORE;
}

void show(Lock& lock, Window& window, int command) {
  if (command == SW_HIDE) return desktop::SetVisible(lock, window, false);
  if (command == SW_MINIMIZE || command == SW_SHOWMINIMIZED || command == SW_SHOWMINNOACTIVE)
    desktop::Minimise(lock, window);
  if (command == SW_MAXIMIZE) desktop::Maximise(lock, window);
  if (command == SW_SHOWNORMAL || command == SW_RESTORE || command == SW_SHOWNOACTIVATE)
    desktop::Restore(lock, window);
  desktop::SetVisible(lock, window, true);
  if (isActivating(command) && command != SW_SHOWMINIMIZED) desktop::Place(lock, window, HWND_TOP);
}

// What SetWindowPos does to a window. False for a window `after` that is no sibling.
bool change(Lock& lock, Window& window, HWND after, const RECT& to, UINT flags) {
  if (!(flags & SWP_NOZORDER) && !desktop::Place(lock, window, after)) return false;
  change(lock, window, to.left, to.top, to.right, to.bottom, flags);
  if (flags & SWP_SHOWWINDOW) desktop::SetVisible(lock, window, true);
  if (flags & SWP_HIDEWINDOW) desktop::SetVisible(lock, window, false);
  return true;
}

messages::Activation activationOf(const Window& window, bool activates) {
  return activates && !window.isChild() ? messages::Activation::kTakesForeground
                                        : messages::Activation::kNone;
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
    const bool unseen = parent == HWND_MESSAGE;
    const auto above = parent && !unseen ? FindOrSetError(lock, parent) : nullptr;
    if (parent && !unseen && !above) return nullptr;
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
  VWIN_CALL_WAITING(DestroyWindow);
  {
    Lock lock;
    if (!FindOrSetError(lock, handle)) return FALSE;
  }
  if (!own_windows::Destroy(handle)) return SetLastError(ERROR_ACCESS_DENIED), FALSE;
  return TRUE;
}

BOOL WINAPI ShowWindow(HWND handle, int command) {
  VWIN_CALL_WAITING(ShowWindow);
  messages::Activation activation;
  bool wasVisible = false;
  {
    Lock lock;
    const auto window = FindOrSetError(lock, handle);
    if (!window) return FALSE;
    wasVisible = (window->style & WS_VISIBLE) != 0;
    activation = activationOf(*window, isActivating(command));
  }
  if (command < SW_HIDE || command > SW_RESTORE)
    return SetLastError(ERROR_INVALID_PARAMETER), wasVisible;
  const auto showNow = [&](Lock& lock, Window& window) {
    wasVisible = (window.style & WS_VISIBLE) != 0;
    show(lock, window, command);
  };
  return AsOwnerOrSetError(handle, showNow, activation) && wasVisible;
}

BOOL WINAPI SetWindowPos(HWND handle, HWND after, int x, int y, int width, int height, UINT flags) {
  VWIN_CALL(SetWindowPos);
  if (fault) return SetLastError(fault->win32), FALSE;
  messages::Activation activation;
  {
    Lock lock;
    const auto window = FindOrSetError(lock, handle);
    if (!window) return FALSE;
    activation = activationOf(*window, !(flags & (SWP_NOACTIVATE | SWP_HIDEWINDOW)));
  }
  const RECT to = {x, y, width, height};
  bool placed = false;
  const auto changeNow = [&](Lock& lock, Window& window) {
    placed = change(lock, window, after, to, flags);
  };
  if (!AsOwnerOrSetError(handle, changeNow, activation)) return FALSE;
  if (!placed) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return placed;
}

BOOL WINAPI MoveWindow(HWND handle, int x, int y, int width, int height, BOOL) {
  VWIN_CALL(MoveWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  return AsOwnerOrSetError(
      handle, [&](Lock& lock, Window& window) { change(lock, window, x, y, width, height, 0); });
}

BOOL WINAPI CloseWindow(HWND handle) {
  VWIN_CALL(CloseWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  return AsOwnerOrSetError(handle,
                           [](Lock& lock, Window& window) { show(lock, window, SW_MINIMIZE); });
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
  VWIN_CALL(SetWindowLongPtrW);
  if (fault) return SetLastError(fault->win32), 0;
  LONG_PTR previous = 0;
  if (index == GWL_STYLE || index == GWL_EXSTYLE) {
    // The owner is told before and after.
    AsOwnerOrSetError(handle, [&](Lock& lock, Window& window) {
      previous = index == GWL_STYLE ? window.style : window.exStyle;
      if (index == GWL_EXSTYLE) return desktop::SetExStyle(lock, window, static_cast<DWORD>(value));
      window.style = static_cast<DWORD>(value);
      scheduler::Changed();
    });
    return previous;
  }
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window) return 0;
  switch (index) {
    case GWLP_HWNDPARENT: {
      const auto owner = reinterpret_cast<HWND>(value);
      const auto found = owner ? FindOrSetError(lock, owner) : nullptr;
      if (owner && !found) return 0;
      previous = reinterpret_cast<LONG_PTR>(desktop::ParentOrOwner(*window));
      if (!desktop::SetOwner(lock, *window, found.get()))
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

BOOL WINAPI GetLayeredWindowAttributes(HWND handle, COLORREF* key, BYTE* alpha, DWORD* flags) {
  VWIN_CALL(GetLayeredWindowAttributes);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = FindOrSetError(lock, handle);
  if (!window || !window->isLayered() || !window->layered) return FALSE;
  const LayeredAttributes& set = *window->layered;
  if (key) *key = set.key ? ToColor(*set.key) : 0;
  if (alpha) *alpha = set.alpha.value_or(0);
  if (flags) *flags = (set.key ? LWA_COLORKEY : 0u) | (set.alpha ? LWA_ALPHA : 0u);
  return TRUE;
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
