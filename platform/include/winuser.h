// Windows, messages, monitors, cursor, icons. Included by windows.h.
//
// Only the W and A names proper are declared; there are no macros that choose
// between them.
#pragma once

// ------------------------------------------------------------------ window styles

#define WS_OVERLAPPED 0x00000000
#define WS_POPUP 0x80000000
#define WS_CHILD 0x40000000
#define WS_MINIMIZE 0x20000000
#define WS_VISIBLE 0x10000000
#define WS_DISABLED 0x08000000
#define WS_CLIPSIBLINGS 0x04000000
#define WS_CLIPCHILDREN 0x02000000
#define WS_MAXIMIZE 0x01000000
#define WS_CAPTION 0x00C00000
#define WS_BORDER 0x00800000
#define WS_DLGFRAME 0x00400000
#define WS_SYSMENU 0x00080000
#define WS_THICKFRAME 0x00040000
#define WS_MINIMIZEBOX 0x00020000
#define WS_MAXIMIZEBOX 0x00010000
#define WS_OVERLAPPEDWINDOW \
  (WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX)

#define WS_EX_TOPMOST 0x00000008
#define WS_EX_TRANSPARENT 0x00000020
#define WS_EX_TOOLWINDOW 0x00000080
#define WS_EX_WINDOWEDGE 0x00000100
#define WS_EX_APPWINDOW 0x00040000
#define WS_EX_LAYERED 0x00080000
#define WS_EX_NOREDIRECTIONBITMAP 0x00200000
#define WS_EX_NOACTIVATE 0x08000000

#define CS_VREDRAW 0x0001
#define CS_HREDRAW 0x0002

#define GCLP_HICON (-14)

#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)
#define GWLP_HWNDPARENT (-8)
#define GWLP_USERDATA (-21)

#define GW_OWNER 4
#define GA_ROOT 2

#define LWA_COLORKEY 0x00000001
#define LWA_ALPHA 0x00000002

// -------------------------------------------------------------- showing and moving

#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOWMINIMIZED 2
#define SW_SHOWMAXIMIZED 3
#define SW_MAXIMIZE 3
#define SW_SHOWNOACTIVATE 4
#define SW_SHOW 5
#define SW_MINIMIZE 6
#define SW_SHOWMINNOACTIVE 7
#define SW_SHOWNA 8
#define SW_RESTORE 9

#define SWP_NOSIZE 0x0001
#define SWP_NOMOVE 0x0002
#define SWP_NOZORDER 0x0004
#define SWP_NOREDRAW 0x0008
#define SWP_NOACTIVATE 0x0010
#define SWP_FRAMECHANGED 0x0020
#define SWP_SHOWWINDOW 0x0040
#define SWP_HIDEWINDOW 0x0080
#define SWP_NOOWNERZORDER 0x0200

#define HWND_TOP ((HWND)0)
#define HWND_BOTTOM ((HWND)1)
#define HWND_TOPMOST ((HWND)(LONG_PTR)-1)
#define HWND_NOTOPMOST ((HWND)(LONG_PTR)-2)
// The parent of windows that take messages and nothing else.
#define HWND_MESSAGE ((HWND)(LONG_PTR)-3)

#define RDW_INVALIDATE 0x0001
#define RDW_ERASE 0x0004
#define RDW_ALLCHILDREN 0x0080
#define RDW_UPDATENOW 0x0100
#define RDW_FRAME 0x0400

#define PW_RENDERFULLCONTENT 0x00000002

// The system colours that a brush can be made of by (HBRUSH)(COLOR_x + 1).
#define COLOR_BACKGROUND 1
#define COLOR_WINDOW 5
#define COLOR_BTNFACE 15

// ------------------------------------------------------------------------ messages

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_ACTIVATE 0x0006
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_ERASEBKGND 0x0014
#define WM_GETICON 0x007F
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_TIMER 0x0113
#define WM_USER 0x0400
#define WM_APP 0x8000

#define ICON_SMALL 0
#define ICON_BIG 1
#define ICON_SMALL2 2

#define WA_INACTIVE 0

// Kinds of messages to wait or look for.
#define QS_KEY 0x0001
#define QS_MOUSEMOVE 0x0002
#define QS_MOUSEBUTTON 0x0004
#define QS_POSTMESSAGE 0x0008
#define QS_TIMER 0x0010
#define QS_PAINT 0x0020
#define QS_SENDMESSAGE 0x0040
#define QS_HOTKEY 0x0080
#define QS_RAWINPUT 0x0400
#define QS_INPUT (QS_MOUSEMOVE | QS_MOUSEBUTTON | QS_KEY | QS_RAWINPUT)
#define QS_ALLEVENTS (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY)
#define QS_ALLINPUT (QS_ALLEVENTS | QS_SENDMESSAGE)

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define PM_NOYIELD 0x0002
#define PM_QS_INPUT (QS_INPUT << 16)
#define PM_QS_POSTMESSAGE ((QS_POSTMESSAGE | QS_HOTKEY | QS_TIMER) << 16)
#define PM_QS_PAINT (QS_PAINT << 16)
#define PM_QS_SENDMESSAGE (QS_SENDMESSAGE << 16)

#define MWMO_INPUTAVAILABLE 0x0004

#define SMTO_NORMAL 0x0000
#define SMTO_BLOCK 0x0001
#define SMTO_ABORTIFHUNG 0x0002

#define USER_TIMER_MINIMUM 0x0000000A
#define USER_TIMER_MAXIMUM 0x7FFFFFFF

// ------------------------------------------------------------- monitors, metrics, cursor

#define CCHDEVICENAME 32
#define MONITORINFOF_PRIMARY 0x00000001
#define MONITOR_DEFAULTTONULL 0x00000000
#define MONITOR_DEFAULTTOPRIMARY 0x00000001
#define MONITOR_DEFAULTTONEAREST 0x00000002

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1
#define SM_CXICON 11
#define SM_CYICON 12
#define SM_CXCURSOR 13
#define SM_CYCURSOR 14
#define SM_XVIRTUALSCREEN 76
#define SM_YVIRTUALSCREEN 77
#define SM_CXVIRTUALSCREEN 78
#define SM_CYVIRTUALSCREEN 79
#define SM_CMONITORS 80
#define SM_REMOTESESSION 0x1000

#define MAKEINTRESOURCEW(i) ((LPWSTR)((ULONG_PTR)((WORD)(i))))
#define IDI_APPLICATION MAKEINTRESOURCEW(32512)

#define IDC_ARROW MAKEINTRESOURCEW(32512)

#define CURSOR_SHOWING 0x00000001

#define IMAGE_CURSOR 2
#define LR_MONOCHROME 0x00000001

#define DI_MASK 0x0001
#define DI_IMAGE 0x0002
#define DI_NORMAL 0x0003
#define DI_COMPAT 0x0004

// ------------------------------------------------------------------------- records

typedef LRESULT(CALLBACK* WNDPROC)(HWND, UINT, WPARAM, LPARAM);
typedef void(CALLBACK* TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND, LPARAM);
typedef BOOL(CALLBACK* MONITORENUMPROC)(HMONITOR, HDC, LPRECT, LPARAM);

typedef struct tagWNDCLASSEXW {
  UINT cbSize;
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCWSTR lpszMenuName;
  LPCWSTR lpszClassName;
  HICON hIconSm;
} WNDCLASSEXW;

typedef struct tagCREATESTRUCTW {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCWSTR lpszName;
  LPCWSTR lpszClass;
  DWORD dwExStyle;
} CREATESTRUCTW, *LPCREATESTRUCTW;

typedef struct tagMSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
} MSG, *PMSG, *LPMSG;

typedef struct tagPAINTSTRUCT {
  HDC hdc;
  BOOL fErase;
  RECT rcPaint;
  BOOL fRestore;
  BOOL fIncUpdate;
  BYTE rgbReserved[32];
} PAINTSTRUCT, *LPPAINTSTRUCT;

typedef struct tagWINDOWPLACEMENT {
  UINT length;
  UINT flags;
  UINT showCmd;
  POINT ptMinPosition;
  POINT ptMaxPosition;
  RECT rcNormalPosition;
} WINDOWPLACEMENT;

typedef struct tagMONITORINFO {
  DWORD cbSize;
  RECT rcMonitor;
  RECT rcWork;
  DWORD dwFlags;
} MONITORINFO, *LPMONITORINFO;

typedef struct tagMONITORINFOEXW : public tagMONITORINFO {
  WCHAR szDevice[CCHDEVICENAME];
} MONITORINFOEXW, *LPMONITORINFOEXW;

typedef struct tagCURSORINFO {
  DWORD cbSize;
  DWORD flags;
  HCURSOR hCursor;
  POINT ptScreenPos;
} CURSORINFO, *PCURSORINFO;

typedef struct _ICONINFO {
  BOOL fIcon;
  DWORD xHotspot;
  DWORD yHotspot;
  HBITMAP hbmMask;
  HBITMAP hbmColor;
} ICONINFO, *PICONINFO;

static_assert(sizeof(WNDCLASSEXW) == 80 && sizeof(WINDOWPLACEMENT) == 44 &&
                  sizeof(MONITORINFO) == 40 && sizeof(CURSORINFO) == 24 &&
                  sizeof(PAINTSTRUCT) == 72 && sizeof(MSG) == 48 && sizeof(ICONINFO) == 32,
              "the platform's layout");

// ----------------------------------------------------------------------- functions

extern "C" {

BOOL WINAPI EnumDisplayMonitors(HDC dc, LPCRECT clip, MONITORENUMPROC callback, LPARAM data);
BOOL WINAPI GetMonitorInfoW(HMONITOR monitor, LPMONITORINFO info);
HMONITOR WINAPI MonitorFromWindow(HWND window, DWORD flags);
int WINAPI GetSystemMetrics(int index);

BOOL WINAPI IsWindow(HWND window);
BOOL WINAPI IsWindowVisible(HWND window);
BOOL WINAPI IsIconic(HWND window);
BOOL WINAPI IsZoomed(HWND window);
BOOL WINAPI GetWindowRect(HWND window, LPRECT rect);
BOOL WINAPI GetClientRect(HWND window, LPRECT rect);
int WINAPI GetClassNameW(HWND window, LPWSTR text, int size);
int WINAPI GetClassNameA(HWND window, LPSTR text, int size);
int WINAPI GetWindowTextW(HWND window, LPWSTR text, int size);
int WINAPI InternalGetWindowText(HWND window, LPWSTR text, int size);
HWND WINAPI GetWindow(HWND window, UINT command);
HWND WINAPI GetParent(HWND window);
HWND WINAPI GetAncestor(HWND window, UINT which);
LONG_PTR WINAPI GetWindowLongPtrW(HWND window, int index);
LONG_PTR WINAPI SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
BOOL WINAPI EnumWindows(WNDENUMPROC callback, LPARAM data);
BOOL WINAPI EnumThreadWindows(DWORD thread, WNDENUMPROC callback, LPARAM data);
BOOL WINAPI EnumChildWindows(HWND parent, WNDENUMPROC callback, LPARAM data);
HWND WINAPI FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR title);
HWND WINAPI FindWindowExA(HWND parent, HWND after, LPCSTR className, LPCSTR title);
HWND WINAPI WindowFromPoint(POINT point);
BOOL WINAPI GetWindowPlacement(HWND window, WINDOWPLACEMENT* placement);
HWND WINAPI GetDesktopWindow();
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD processId);

ATOM WINAPI RegisterClassExW(const WNDCLASSEXW* windowClass);
HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter);
BOOL WINAPI DestroyWindow(HWND window);
BOOL WINAPI ShowWindow(HWND window, int command);
BOOL WINAPI SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL WINAPI MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint);
// Minimises.
BOOL WINAPI CloseWindow(HWND window);
BOOL WINAPI SetLayeredWindowAttributes(HWND window, COLORREF key, BYTE alpha, DWORD flags);
// The three results may be null.
BOOL WINAPI GetLayeredWindowAttributes(HWND window, COLORREF* key, BYTE* alpha, DWORD* flags);
HWND WINAPI SetFocus(HWND window);
HWND WINAPI GetForegroundWindow();
BOOL WINAPI BringWindowToTop(HWND window);
BOOL WINAPI AttachThreadInput(DWORD thread, DWORD to, BOOL attach);

BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT first, UINT last);
BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT flags);
// WAIT_OBJECT_0 + `count` for messages.
DWORD WINAPI MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds,
                                         DWORD wakeMask, DWORD flags);
BOOL WINAPI IsHungAppWindow(HWND window);
BOOL WINAPI TranslateMessage(const MSG* message);
LRESULT WINAPI DispatchMessageW(const MSG* message);
LRESULT WINAPI SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// 0 without an answer within the time. `result` may be null.
LRESULT WINAPI SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                   UINT flags, UINT milliseconds, PDWORD_PTR result);
BOOL WINAPI PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL WINAPI PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam);
void WINAPI PostQuitMessage(int exitCode);
LRESULT WINAPI DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback);
BOOL WINAPI KillTimer(HWND window, UINT_PTR id);

HDC WINAPI GetDC(HWND window);
int WINAPI ReleaseDC(HWND window, HDC dc);
HDC WINAPI BeginPaint(HWND window, LPPAINTSTRUCT paint);
BOOL WINAPI EndPaint(HWND window, const PAINTSTRUCT* paint);
BOOL WINAPI InvalidateRect(HWND window, const RECT* rect, BOOL erase);
BOOL WINAPI RedrawWindow(HWND window, const RECT* rect, HRGN region, UINT flags);
BOOL WINAPI UpdateWindow(HWND window);
BOOL WINAPI PrintWindow(HWND window, HDC dc, UINT flags);
int WINAPI FillRect(HDC dc, const RECT* rect, HBRUSH brush);
BOOL WINAPI GetCursorInfo(PCURSORINFO info);
BOOL WINAPI DrawIcon(HDC dc, int x, int y, HICON icon);
// A size of 0 is the icon's own, without DI_DEFAULTSIZE.
BOOL WINAPI DrawIconEx(HDC dc, int x, int y, HICON icon, int width, int height, UINT step,
                       HBRUSH background, UINT flags);

HICON WINAPI LoadIconW(HINSTANCE instance, LPCWSTR name);
BOOL WINAPI DestroyIcon(HICON icon);
HCURSOR WINAPI LoadCursorW(HINSTANCE instance, LPCWSTR name);
BOOL WINAPI DestroyCursor(HCURSOR cursor);
// Of cursors only, in their own size.
HANDLE WINAPI CopyImage(HANDLE image, UINT type, int width, int height, UINT flags);
// Both bitmaps are copies, the caller's. Without colours the mask is twice as high as
// the icon: what it lets through, and below that what it turns over.
BOOL WINAPI GetIconInfo(HICON icon, PICONINFO info);
ULONG_PTR WINAPI GetClassLongPtrW(HWND window, int index);

BOOL WINAPI PtInRect(const RECT* rect, POINT point);
BOOL WINAPI IntersectRect(LPRECT result, const RECT* a, const RECT* b);
BOOL WINAPI OffsetRect(LPRECT rect, int dx, int dy);
BOOL WINAPI EqualRect(const RECT* a, const RECT* b);
BOOL WINAPI IsRectEmpty(const RECT* rect);

}  // extern "C"
