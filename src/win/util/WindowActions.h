#pragma once

#include <windows.h>

namespace qx::WindowsUtil {

// What the library does to a window that it shares, its own process's or another's. The
// system waits for the window's thread; these wait for at most kPatienceMs, and a window
// that answers later does it then.

// Restores a minimised window. Does nothing for another.
void RestoreWindow(HWND window);

// Brings a window to the top, and to the user where the system allows it.
void RaiseWindow(HWND window);

}  // namespace qx::WindowsUtil
