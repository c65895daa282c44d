// The Desktop Window Manager.
#pragma once

#include "windows.h"

#define DWMWA_EXTENDED_FRAME_BOUNDS 9
#define DWMWA_CLOAKED 14

extern "C" {

HRESULT WINAPI DwmIsCompositionEnabled(BOOL* enabled);
HRESULT WINAPI DwmGetWindowAttribute(HWND window, DWORD attribute, PVOID value, DWORD size);

}  // extern "C"
