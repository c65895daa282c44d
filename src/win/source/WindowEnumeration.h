#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

// Which monitors and top-level windows there are, and what windows cover.
namespace qx {

class VirtualDesktops;

namespace WindowsUtil {

// In the system's order. Replaces the contents of `monitors`.
void EnumMonitorHandles(std::vector<HMONITOR>& monitors);

enum class EnumMode {
  VisibleNotMinimized = 0,
  ShareCandidates = 1,  // minimised ones too, but no prompt frames or shell surfaces
};

// Visible top-level windows of the current virtual desktop, topmost first.
// Replaces the contents of `windows`; false, and they stay, when the system does not tell.
bool EnumTopLevelWindows(std::vector<HWND>& windows, EnumMode mode, VirtualDesktops& desktops);

// The window that a live thumbnail is drawn on.
bool IsThumbnailHost(HWND window);

// A window of a Store application that shows nothing of its own.
bool IsHiddenStoreAppWindow(HWND window);

// Whether the system keeps a visible window from the screen, as it does with those of
// other virtual desktops and sleeping Store applications. Unknown: false.
bool IsWindowCloaked(HWND window);

// Whether none of five points of the window (near its corners, and the centre)
// belongs to it or its children. With `checkCloak` the question is whether the
// window is cloaked; only before Windows 8.1, for windows without a frame and
// without a surface to redirect, do the points decide then.
bool IsWindowObscured(HWND window, bool checkCloak);

// The visible rectangle: without the invisible part of the frame, and for a
// minimised window where it will be restored to. False on failure, which is
// logged.
bool GetCaptureRect(HWND window, RECT& rect);
// The same when the window's GWL_STYLE is known, which costs one question less.
bool GetCaptureRect(HWND window, std::uint32_t style, RECT& rect);

// Appends the windows above `window` that overlap `rect`, topmost first, without
// the ones it owns and hidden ones. False for a null window and a child window, and when
// the system did not tell of all of them.
bool GetWindowsAbove(HWND window, RECT rect, std::vector<HWND>& out);

}  // namespace WindowsUtil
}  // namespace qx
