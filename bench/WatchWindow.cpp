#include "WatchWindow.h"

#include <dwmapi.h>

namespace {

bool IsWindows8() {
  OSVERSIONINFOEXW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  version.dwMajorVersion = 6;
  version.dwMinorVersion = 2;
  ULONGLONG conditions = 0;
  conditions = VerSetConditionMask(conditions, VER_MAJORVERSION, VER_GREATER_EQUAL);
  conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
  conditions = VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
  return VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                            conditions) != FALSE;
}

void AskRectangle(HWND window, LONG_PTR style) {
  RECT rect = {};
  if (IsWindows8() && (style & (WS_MINIMIZE | WS_MAXIMIZE)) == 0) {
    DwmGetWindowAttribute(window, DWMWA_EXTENDED_FRAME_BOUNDS, &rect, sizeof(rect));
  }
}

void AskMonitors(const RECT& window) {
  EnumDisplayMonitors(
      nullptr, nullptr,
      [](HMONITOR monitor, HDC, LPRECT, LPARAM rect) -> BOOL {
        MONITORINFO info = {};
        info.cbSize = sizeof(info);
        GetMonitorInfoW(monitor, &info);
        RECT overlap = {};
        IntersectRect(&overlap, &info.rcMonitor, reinterpret_cast<const RECT*>(rect));
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&window));
}

}  // namespace

void ReadWallClock() {
  // When the tick begins, the capture and the delivery, and how long each took.
  for (int i = 0; i < 6; ++i) {
    FILETIME time = {};
    GetSystemTimeAsFileTime(&time);
  }
}

void LookAtWindow(HWND window) {
  RECT rect = {};
  DWORD cloaked = 0;
  ReadWallClock();
  IsWindow(window);
  DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked));
  AskRectangle(window, GetWindowLongPtrW(window, GWL_STYLE));
  IsWindowVisible(window);
  DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked));
  // Which monitor it is on.
  GetWindowRect(window, &rect);
  AskMonitors(rect);
}

void LookAtWindowAgain(HWND window) {
  DWORD cloaked = 0;
  AskRectangle(window, GetWindowLongPtrW(window, GWL_STYLE));
  IsWindowVisible(window);
  DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked));
}

void WatchWindow(HWND window) {
  BOOL composition = FALSE;
  LookAtWindow(window);
  DwmIsCompositionEnabled(&composition);
  LookAtWindowAgain(window);
}

void WatchMonitor(HMONITOR monitor) {
  ReadWallClock();
  MONITORINFOEXW info = {};
  info.cbSize = sizeof(info);
  GetMonitorInfoW(monitor, &info);
  EqualRect(&info.rcMonitor, &info.rcWork);
}

void WaitByHand(DWORD milliseconds) {
  LARGE_INTEGER now = {};
  QueryPerformanceCounter(&now);
  SRWLOCK lock = SRWLOCK_INIT;
  CONDITION_VARIABLE never = CONDITION_VARIABLE_INIT;
  AcquireSRWLockExclusive(&lock);
  SleepConditionVariableSRW(&never, &lock, milliseconds, 0);
  ReleaseSRWLockExclusive(&lock);
}
