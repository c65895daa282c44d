// Magnification.dll: records only. Its functions are reached through GetProcAddress, and
// not every Windows header declares them:
//
//   BOOL WINAPI MagInitialize();
//   BOOL WINAPI MagUninitialize();
//   BOOL WINAPI MagSetWindowSource(HWND window, RECT source);
//   BOOL WINAPI MagSetWindowFilterList(HWND window, DWORD mode, int count, HWND* windows);
//   BOOL WINAPI MagSetColorEffect(HWND window, MAGCOLOREFFECT* effect);  // null: none
#pragma once

#include "windows.h"

#define MW_FILTERMODE_EXCLUDE 0
#define MW_FILTERMODE_INCLUDE 1

// A row vector of red, green, blue, alpha and 1 is multiplied by it; values are 0 to 1.
typedef struct tagMAGCOLOREFFECT {
  float transform[5][5];
} MAGCOLOREFFECT, *PMAGCOLOREFFECT;
