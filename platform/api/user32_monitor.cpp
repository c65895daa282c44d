// user32: monitors, metrics and the cursor.
#include <windows.h>

#include <algorithm>
#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Gdi.h"
#include "platform/model/Icons.h"
#include "platform/model/Machine.h"
#include "platform/model/Rects.h"

using namespace vwin;

BOOL WINAPI EnumDisplayMonitors(HDC dc, LPCRECT clip, MONITORENUMPROC callback, LPARAM data) {
  VWIN_CALL(EnumDisplayMonitors);
  if (fault) return SetLastError(fault->win32), FALSE;
  struct Seen {
    HMONITOR handle;
    RECT rect;
  };
  std::vector<Seen> seen;
  {
    Lock lock;
    for (const auto& monitor : desktop::Get(lock).monitors) {
      const RECT part = clip ? Overlap(*clip, monitor->rect) : monitor->rect;
      if (!clip || !IsEmpty(part)) seen.push_back({monitor->handle, part});
    }
  }
  for (Seen& monitor : seen) {
    if (!callback(monitor.handle, dc, &monitor.rect, data)) return FALSE;
  }
  return TRUE;
}

BOOL WINAPI GetMonitorInfoW(HMONITOR handle, LPMONITORINFO info) {
  VWIN_CALL(GetMonitorInfoW);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto monitor = desktop::FindMonitor(lock, handle);
  if (!monitor) return SetLastError(ERROR_INVALID_MONITOR_HANDLE), FALSE;
  const bool extended = info && info->cbSize == sizeof(MONITORINFOEXW);
  if (!info || (!extended && info->cbSize != sizeof(MONITORINFO)))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  info->rcMonitor = monitor->rect;
  info->rcWork = monitor->work;
  info->dwFlags = monitor->primary ? MONITORINFOF_PRIMARY : 0;
  if (extended) {
    WCHAR* const name = static_cast<MONITORINFOEXW*>(info)->szDevice;
    const std::size_t length = std::min<std::size_t>(monitor->device.size(), CCHDEVICENAME - 1);
    std::fill(std::copy_n(monitor->device.begin(), length, name), name + CCHDEVICENAME, L'\0');
  }
  return TRUE;
}

HMONITOR WINAPI MonitorFromWindow(HWND handle, DWORD flags) {
  VWIN_CALL_INFALLIBLE(MonitorFromWindow);
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  const Monitor* monitor = nullptr;
  if (window) {
    const RECT rect = window->isMinimised() ? window->normalRect : window->rect;
    monitor = desktop::MonitorOf(lock, rect, flags == MONITOR_DEFAULTTONEAREST);
  }
  if (!monitor && flags != MONITOR_DEFAULTTONULL) monitor = desktop::Primary(lock);
  return monitor ? monitor->handle : nullptr;
}

int WINAPI GetSystemMetrics(int index) {
  VWIN_CALL_INFALLIBLE(GetSystemMetrics);
  Lock lock;
  const Monitor* primary = desktop::Primary(lock);
  switch (index) {
    case SM_CXSCREEN:
      return primary ? WidthOf(primary->rect) : 0;
    case SM_CYSCREEN:
      return primary ? HeightOf(primary->rect) : 0;
    case SM_CXICON:
    case SM_CYICON:
    case SM_CXCURSOR:
    case SM_CYCURSOR:
      return 32;
    case SM_XVIRTUALSCREEN:
      return desktop::VirtualScreen(lock).left;
    case SM_YVIRTUALSCREEN:
      return desktop::VirtualScreen(lock).top;
    case SM_CXVIRTUALSCREEN:
      return WidthOf(desktop::VirtualScreen(lock));
    case SM_CYVIRTUALSCREEN:
      return HeightOf(desktop::VirtualScreen(lock));
    case SM_CMONITORS:
      return static_cast<int>(desktop::Get(lock).monitors.size());
    case SM_REMOTESESSION:
      return TheMachine(lock).remoteSession ? 1 : 0;
    default:
      return 0;
  }
}

BOOL WINAPI GetCursorInfo(PCURSORINFO info) {
  VWIN_CALL(GetCursorInfo);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (!info || info->cbSize != sizeof(CURSORINFO))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  Lock lock;
  if (TheMachine(lock).secureDesktop) return SetLastError(ERROR_ACCESS_DENIED), FALSE;
  const Cursor& cursor = desktop::Get(lock).cursor;
  info->flags = cursor.showing ? CURSOR_SHOWING : 0;
  info->hCursor = cursor.showing ? cursor.shape : nullptr;
  info->ptScreenPos = cursor.position;
  return TRUE;
}

BOOL WINAPI DrawIcon(HDC handle, int x, int y, HICON handleOfIcon) {
  VWIN_CALL(DrawIcon);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto shape = handles::Get<CursorShape>(lock, HandleKind::kCursor, handleOfIcon);
  const auto icon = shape ? std::nullopt : icons::Find(lock, handleOfIcon);
  if (!shape && !icon) return SetLastError(ERROR_INVALID_CURSOR_HANDLE), FALSE;
  const auto dc = gdi::FindDC(lock, handle);
  const auto draw = [&] {
    return shape ? gdi::DrawCursor(lock, *dc, x, y, *shape)
                 : icons::Draw(lock, *dc, SizedRect(x, y, icon->width, icon->height), *icon);
  };
  if (!dc || !draw()) return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  return TRUE;
}

BOOL WINAPI PtInRect(const RECT* rect, POINT point) {
  VWIN_CALL_INFALLIBLE(PtInRect);
  return rect && Holds(*rect, point);
}

BOOL WINAPI IntersectRect(LPRECT result, const RECT* a, const RECT* b) {
  VWIN_CALL_INFALLIBLE(IntersectRect);
  *result = Overlap(*a, *b);
  return !IsEmpty(*result);
}

BOOL WINAPI OffsetRect(LPRECT rect, int dx, int dy) {
  VWIN_CALL_INFALLIBLE(OffsetRect);
  *rect = Moved(*rect, dx, dy);
  return TRUE;
}

BOOL WINAPI EqualRect(const RECT* a, const RECT* b) {
  VWIN_CALL_INFALLIBLE(EqualRect);
  return AreSame(*a, *b);
}

BOOL WINAPI IsRectEmpty(const RECT* rect) {
  VWIN_CALL_INFALLIBLE(IsRectEmpty);
  return !rect || IsEmpty(*rect);
}
