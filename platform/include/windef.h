// Basic types, handles and macros. Included by windows.h.
//
// DWORD, LONG, BOOL and HRESULT are 32 bits, as on Windows, but `int` kinds here;
// WCHAR is wchar_t, which holds a whole code point here. Handles are distinct
// pointer types, as under STRICT.
#pragma once

#include <cstddef>
#include <cstdint>

#include "guiddef.h"

#define WINAPI
#define CALLBACK
#define __stdcall
#define __cdecl
#define STDMETHODCALLTYPE

typedef unsigned char BYTE;
typedef unsigned short WORD;
typedef unsigned int DWORD;
typedef int BOOL;
typedef char CHAR;
typedef short SHORT;
typedef int INT;
typedef unsigned int UINT;
typedef float FLOAT;
typedef int LONG;
typedef unsigned int ULONG;
typedef uint8_t UINT8;
typedef uint32_t UINT32;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef ULONGLONG DWORDLONG;
typedef long long INT_PTR;
typedef unsigned long long UINT_PTR;
typedef long long LONG_PTR;
typedef unsigned long long ULONG_PTR;
typedef ULONG_PTR DWORD_PTR;
typedef DWORD_PTR* PDWORD_PTR;
typedef ULONG_PTR SIZE_T;
typedef wchar_t WCHAR;
typedef WORD ATOM;
typedef DWORD COLORREF;
typedef int HRESULT;
typedef LONG LSTATUS;

typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BYTE* LPBYTE;
typedef DWORD* LPDWORD;
typedef BOOL* LPBOOL;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef wchar_t* LPWSTR;
typedef const wchar_t* LPCWSTR;
typedef const wchar_t* PCWSTR;

typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;

#define FALSE 0
#define TRUE 1

#define MAX_PATH 260

typedef void* HANDLE;
typedef HANDLE HGLOBAL;
#define DECLARE_HANDLE(name) \
  struct name##__ {          \
    int unused;              \
  };                         \
  typedef struct name##__* name

typedef void* HGDIOBJ;
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HBITMAP);
DECLARE_HANDLE(HPALETTE);
DECLARE_HANDLE(HRGN);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HMONITOR);
DECLARE_HANDLE(HDESK);
DECLARE_HANDLE(HKEY);
typedef HINSTANCE HMODULE;
typedef HICON HCURSOR;
typedef HKEY* PHKEY;

typedef INT_PTR(WINAPI* FARPROC)();

typedef struct tagRECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
} RECT, *PRECT, *LPRECT;
typedef const RECT* LPCRECT;

typedef struct tagPOINT {
  LONG x;
  LONG y;
} POINT, *PPOINT, *LPPOINT;

typedef struct tagSIZE {
  LONG cx;
  LONG cy;
} SIZE, *LPSIZE;

typedef union _LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
} LARGE_INTEGER;

typedef union _ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
} ULARGE_INTEGER;

typedef struct _FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME, *LPFILETIME;

typedef struct _LUID {
  DWORD LowPart;
  LONG HighPart;
} LUID;
