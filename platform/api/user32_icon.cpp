// user32: icons.
#include <windows.h>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Gdi.h"
#include "platform/model/Icons.h"
#include "platform/model/Rects.h"

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

HCURSOR WINAPI LoadCursorW(HINSTANCE instance, LPCWSTR name) {
  VWIN_CALL(LoadCursorW);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (instance || name != IDC_ARROW) return SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND), nullptr;
  Lock lock;
  return desktop::SharedArrow(lock);
}

BOOL WINAPI DestroyCursor(HCURSOR cursor) {
  VWIN_CALL_INFALLIBLE(DestroyCursor);
  Lock lock;
  if (!icons::Destroy(lock, cursor)) return SetLastError(ERROR_INVALID_CURSOR_HANDLE), FALSE;
  return TRUE;
}

HANDLE WINAPI CopyImage(HANDLE image, UINT type, int width, int height, UINT flags) {
  VWIN_CALL(CopyImage);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (type != IMAGE_CURSOR || width != 0 || height != 0 || (flags & ~UINT{LR_MONOCHROME}) != 0)
    return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  Lock lock;
  const auto icon = icons::Find(lock, static_cast<HICON>(image));
  if (!icon) return SetLastError(ERROR_INVALID_CURSOR_HANDLE), nullptr;
  const bool monochrome = (flags & LR_MONOCHROME) != 0;
  return icons::AddCopy(lock, monochrome ? icons::BlackAndWhite(*icon) : *icon, "CopyImage");
}

BOOL WINAPI DrawIconEx(HDC handle, int x, int y, HICON iconHandle, int width, int height, UINT step,
                       HBRUSH background, UINT flags) {
  VWIN_CALL(DrawIconEx);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (step != 0 || background || (flags & DI_NORMAL) != DI_NORMAL)
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  Lock lock;
  const auto icon = icons::Find(lock, iconHandle);
  if (!icon) return SetLastError(ERROR_INVALID_CURSOR_HANDLE), FALSE;
  const auto dc = gdi::FindDC(lock, handle);
  const RECT where =
      SizedRect(x, y, width > 0 ? width : icon->width, height > 0 ? height : icon->height);
  if (!dc || !icons::Draw(lock, *dc, where, *icon))
    return SetLastError(ERROR_INVALID_HANDLE), FALSE;
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
