#include "testing.h"

#include <stddef.h>

enum { kTimeoutMillis = 30000, kLookMillis = 20 };

static atomic_int g_failures;
static HANDLE g_wake;

/* What the compiler calls without being asked. */
int _fltused;

void* memset(void* to, int value, size_t count) {
  volatile unsigned char* bytes = to;
  while (count-- > 0) {
    *bytes++ = (unsigned char)value;
  }
  return to;
}

void* memcpy(void* to, const void* from, size_t count) {
  volatile unsigned char* target = to;
  const unsigned char* source = from;
  while (count-- > 0) {
    *target++ = *source++;
  }
  return to;
}

static size_t length(const char* text) {
  size_t count = 0;
  while (text[count] != '\0') {
    ++count;
  }
  return count;
}

void Say(const char* text) {
  uint32_t written = 0;
  WriteFile(GetStdHandle(kStandardOutput), text, (uint32_t)length(text), &written, NULL);
}

static void sayNumber(int number) {
  char digits[12];
  char* first = digits + sizeof(digits) - 1;
  *first = '\0';
  do {
    *--first = (char)('0' + number % 10);
    number /= 10;
  } while (number > 0);
  Say(first);
}

bool Check(bool condition, const char* text, const char* file, int line) {
  if (!condition) {
    atomic_fetch_add(&g_failures, 1);
    Say(file);
    Say(":");
    sayNumber(line);
    Say(": does not hold: ");
    Say(text);
    Say("\n");
  }
  return condition;
}

int Failures(void) { return atomic_load(&g_failures); }

bool Equal(const char* left, const char* right) {
  return length(left) == length(right) && BeginsWith(left, right);
}

bool BeginsWith(const char* text, const char* start) {
  while (*start != '\0' && *text == *start) {
    ++text;
    ++start;
  }
  return *start == '\0';
}

static HANDLE wakeEvent(void) {
  if (g_wake == NULL) {
    g_wake = CreateEventW(NULL, 0, 0, NULL);
  }
  return g_wake;
}

void Wake(void) { SetEvent(g_wake); }

typedef struct {
  const atomic_int* counter;
  int count;
} Goal;

static bool reached(void* user) {
  const Goal* goal = user;
  return atomic_load(goal->counter) >= goal->count;
}

bool WaitFor(const atomic_int* counter, int count) {
  Goal goal = {counter, count};
  return WaitUntil(reached, &goal);
}

bool WaitUntil(bool (*holds)(void* user), void* user) {
  const uint64_t end = GetTickCount64() + kTimeoutMillis;
  const HANDLE wake = wakeEvent();
  while (!holds(user)) {
    if (GetTickCount64() >= end) {
      return false;
    }
    MsgWaitForMultipleObjects(1, &wake, 0, kLookMillis, kAllInput);
    MSG message;
    while (PeekMessageW(&message, NULL, 0, 0, kRemove)) {
      DispatchMessageW(&message);
    }
  }
  return true;
}

HWND OpenWindow(const wchar_t* className, const wchar_t* title, const RECT* rect) {
  WNDCLASSW windowClass = {0};
  windowClass.procedure = DefWindowProcW;
  windowClass.instance = GetModuleHandleW(NULL);
  windowClass.className = className;
  /* A COLORREF is 0xBBGGRR. */
  windowClass.background =
      CreateSolidBrush((kWindowColor & 0xFF) << 16 | (kWindowColor & 0xFF00) | kWindowColor >> 16);
  RegisterClassW(&windowClass);
  const HWND window = CreateWindowExW(
      kTopmost, className, title, (uint32_t)kPopup | kVisible, rect->left, rect->top,
      rect->right - rect->left, rect->bottom - rect->top, NULL, NULL, windowClass.instance, NULL);
  UpdateWindow(window);
  return window;
}

int32_t IdOf(HWND window) { return (int32_t)(intptr_t)window; }

bool SystemTellsRectangle(HWND window) {
  RECT rect;
  /* The major number stands in the lowest byte, the minor one above it. */
  const uint32_t version = GetVersion();
  const bool windows7 = (version & 0xFF) == 6 && (version >> 8 & 0xFF) == 1;
  return windows7 || DwmGetWindowAttribute(window, kExtendedFrameBounds, &rect, sizeof(rect)) == 0;
}

static void QX_CALL rememberPrimary(const qx_desktop_info* desktops, int32_t count, void* user) {
  for (int32_t i = 0; i < count; ++i) {
    if (desktops[i].is_primary) {
      *(qx_desktop_info*)user = desktops[i];
    }
  }
}

qx_desktop_info PrimaryMonitor(qx_screen_capture* capture) {
  qx_desktop_info monitor = {0};
  CHECK(qx_get_desktop_list(capture, rememberPrimary, &monitor) == QX_OK && monitor.width > 0);
  return monitor;
}
