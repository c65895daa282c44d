// The registry. Included by windows.h.
#pragma once

#include "windef.h"

#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))

typedef DWORD REGSAM;
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006

#define REG_DWORD 4

extern "C" {

LSTATUS WINAPI RegOpenKeyExA(HKEY root, LPCSTR subKey, DWORD options, REGSAM access, PHKEY key);
LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size);
LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size);
LSTATUS WINAPI RegCloseKey(HKEY key);

}  // extern "C"
