#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "win/util/Handles.h"

namespace qx::WindowsUtil {

// The icon of a window as a PNG file, in the icon's own size: what the window says
// of itself, else its class's, else the icon of the program that its children belong
// to, else the system's default. A window that hangs costs at most 400 ms, or nothing once
// the system has noticed; the programs' files cost at most 200 ms. False when
// the icon found has no colours or can't be read or written; `png` is as before then.
bool GetWindowIcon(HWND window, std::vector<std::uint8_t>& png);

// The small icon of the program file of the first child window that has one: a Store
// application's content is a child of the shell's frame. Null when no child has any, or
// none in time.
IconHandle GetChildProcessWindowIcon(HWND window);

}  // namespace qx::WindowsUtil
