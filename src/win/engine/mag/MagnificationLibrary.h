#pragma once

#include <windows.h>

// The five functions of Magnification.dll, which is loaded from the system's folder when
// the first of them is asked for, and stays. Some systems lack it, or some of them.
//
// A function that is missing, or that raises a structured exception, has failed (the
// latter is logged once for each). Any thread.
namespace qx::Magnification {

// The platform's MAGCOLOREFFECT, which not every compiler's headers have: a row of red,
// green, blue, alpha and 1 is multiplied by it.
struct ColorEffect {
  float transform[5][5];
};

constexpr DWORD kExclude = 0;  // MW_FILTERMODE_EXCLUDE

// Whether all five are there.
bool LoadMagnificationFunctions();

bool MagInitialize();
bool MagUninitialize();
// Draws the rectangle, of the virtual screen, before it returns.
bool MagSetWindowSource(HWND window, const RECT& source);
bool MagSetWindowFilterList(HWND window, DWORD mode, DWORD count, HWND* windows);
// False only when it could not be called: that it had no effect doesn't matter.
bool MagSetColorEffect(HWND window, ColorEffect* effect);

}  // namespace qx::Magnification
