// user32: icons.
#include <windows.h>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Icons.h"

using namespace vwin;

HICON WINAPI LoadIconW(HINSTANCE instance, LPCWSTR name) {
  VWIN_CALL(LoadIconW);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (instance || name != IDI_APPLICATION)
    return SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND), nullptr;
  Lock lock;
  return icons::Application(lock);
}

BOOL WINAPI DestroyIcon(HICON icon) {
  VWIN_CALL_INFALLIBLE(DestroyIcon);
  Lock lock;
  if (!icons::Destroy(lock, icon)) return SetLastError(ERROR_INVALID_ICON_HANDLE), FALSE;
  return TRUE;
}

BOOL WINAPI GetIconInfo(HICON handle, PICONINFO info) {
  VWIN_CALL(GetIconInfo);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto icon = icons::Find(lock, handle);
  if (!icon || !info) return SetLastError(ERROR_INVALID_ICON_HANDLE), FALSE;
  *info = icons::Describe(lock, *icon);
  return TRUE;
}

ULONG_PTR WINAPI GetClassLongPtrW(HWND handle, int index) {
  VWIN_CALL(GetClassLongPtrW);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), 0;
  if (index != GCLP_HICON) return SetLastError(ERROR_INVALID_INDEX), 0;
  const HICON icon = window->windowClass ? window->windowClass->icon : window->classIcon;
  return reinterpret_cast<ULONG_PTR>(icon);
}
