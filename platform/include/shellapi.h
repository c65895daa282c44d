// The shell: icons of files. Included after windows.h.
#pragma once

#include "windows.h"

#define SHGFI_ICON 0x000000100
#define SHGFI_SMALLICON 0x000000001

typedef struct _SHFILEINFOW {
  HICON hIcon;
  int iIcon;
  DWORD dwAttributes;
  WCHAR szDisplayName[MAX_PATH];
  WCHAR szTypeName[80];
} SHFILEINFOW;

// The icon is a copy, the caller's.
extern "C" DWORD_PTR WINAPI SHGetFileInfoW(LPCWSTR path, DWORD attributes, SHFILEINFOW* info,
                                           UINT size, UINT flags);
