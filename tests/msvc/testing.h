/* What the cases share: checks, waiting, windows. */
#pragma once

#include <qx-screen-capture-c.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "windows_calls.h"

#define CHECK(condition) Check((condition), #condition, __FILE__, __LINE__)

/* Says what does not hold. Answers `condition`. May be called on any thread. */
bool Check(bool condition, const char* text, const char* file, int line);
void Say(const char* text);
int Failures(void);

bool Equal(const char* left, const char* right);
bool BeginsWith(const char* text, const char* start);
void* memset(void* to, int value, size_t count);

/* Who changes something that another thread waits for says so. */
void Wake(void);
/* Answers this thread's windows until `counter` is at least `count`; false after half a
 * minute. */
bool WaitFor(const atomic_int* counter, int count);
/* The same for what nobody tells of. */
bool WaitUntil(bool (*holds)(void* user), void* user);

enum { kWindowColor = 0xFF2878 };

/* A window without a frame, in one colour, above the others. */
HWND OpenWindow(const wchar_t* className, const wchar_t* title, const RECT* rect);
int32_t IdOf(HWND window);
/* From Windows 8 on the window manager says where a window is; Wine 8's does not. */
bool SystemTellsRectangle(HWND window);

qx_desktop_info PrimaryMonitor(qx_screen_capture* capture);
