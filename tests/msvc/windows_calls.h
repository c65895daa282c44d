/* The calls of Windows that this host makes, declared by ourselves: its compiler has no
 * headers of Windows. */
#pragma once

#include <stdint.h>

#define CALL __declspec(dllimport)

typedef void* HANDLE;
typedef struct Window* HWND;
typedef int BOOL;

typedef struct {
  int32_t left, top, right, bottom;
} RECT;

typedef struct {
  HWND window;
  uint32_t message;
  uintptr_t first;
  intptr_t second;
  uint32_t time;
  int32_t x, y;
} MSG;

typedef struct {
  uint32_t size;
  RECT monitor;
  RECT workArea;
  uint32_t flags;
} MONITORINFO;

typedef intptr_t (*WindowProcedure)(HWND, uint32_t, uintptr_t, intptr_t);

typedef struct {
  uint32_t style;
  WindowProcedure procedure;
  int32_t classExtra, windowExtra;
  HANDLE instance, icon, cursor, background;
  const wchar_t* menuName;
  const wchar_t* className;
} WNDCLASSW;

enum {
  kStandardOutput = -11,
  kAllInput = 0x04FF,
  kRemove = 1,
  kTopmost = 0x8,
  kPopup = (int)0x80000000,
  kVisible = 0x10000000,
  kMinimise = 6,
  kRestore = 9,
  kNoSizeNoZOrderNoActivate = 0x15,
  kExtendedFrameBounds = 9
};

/* kernel32 */
CALL HANDLE CreateEventW(void* security, BOOL manual, BOOL set, const wchar_t* name);
CALL BOOL SetEvent(HANDLE event);
CALL void ExitProcess(uint32_t code);
CALL uint32_t GetCurrentProcessId(void);
CALL HANDLE GetModuleHandleW(const wchar_t* name);
CALL HANDLE GetStdHandle(int32_t which);
CALL void GetSystemTimeAsFileTime(uint64_t* time);
CALL uint64_t GetTickCount64(void);
CALL uint32_t GetVersion(void);
CALL void RaiseException(uint32_t code, uint32_t flags, uint32_t count, const uintptr_t* what);
CALL BOOL WriteFile(HANDLE file, const void* bytes, uint32_t count, uint32_t* written, void* more);

/* user32 */
CALL HWND CreateWindowExW(uint32_t moreStyle, const wchar_t* className, const wchar_t* title,
                          uint32_t style, int32_t x, int32_t y, int32_t width, int32_t height,
                          HWND parent, HANDLE menu, HANDLE instance, void* parameter);
CALL intptr_t DefWindowProcW(HWND, uint32_t, uintptr_t, intptr_t);
CALL BOOL DestroyWindow(HWND window);
CALL intptr_t DispatchMessageW(const MSG* message);
CALL HANDLE GetDC(HWND window);
CALL BOOL GetMonitorInfoW(HANDLE monitor, MONITORINFO* info);
CALL uint32_t MsgWaitForMultipleObjects(uint32_t count, const HANDLE* handles, BOOL all,
                                        uint32_t timeout, uint32_t mask);
CALL BOOL PeekMessageW(MSG* message, HWND window, uint32_t first, uint32_t last, uint32_t remove);
CALL uint16_t RegisterClassW(const WNDCLASSW* windowClass);
CALL int32_t ReleaseDC(HWND window, HANDLE dc);
CALL BOOL SetWindowPos(HWND window, HWND after, int32_t x, int32_t y, int32_t width, int32_t height,
                       uint32_t flags);
CALL BOOL ShowWindow(HWND window, int32_t how);
CALL BOOL UpdateWindow(HWND window);

/* gdi32 */
CALL HANDLE CreateSolidBrush(uint32_t color);
CALL uint32_t GetPixel(HANDLE dc, int32_t x, int32_t y);

/* dwmapi */
CALL int32_t DwmGetWindowAttribute(HWND window, uint32_t which, void* value, uint32_t size);
