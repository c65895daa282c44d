#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <vector>

// Small pictures of monitors and windows, as complete PNG files of exactly the wanted
// size, the box, for which IsThumbnailSize holds. GDI+ must have been started. On the
// calling thread; each call holds one picture of full size at most at any time.
//
// A monitor's shows what is on the screen, with its proportions. A window's shows that
// window alone, whatever covers it, and leaves the window as it is.
namespace qx {

// A point that the monitors lie to the right of. The bottom right corner of the window
// that shows other windows goes here, so that nobody sees it.
struct ThumbnailOrigin {
  std::int32_t x = 0;
  std::int32_t y = 0;
};

// The top left corner of the leftmost monitor, of the upper one of several; never to the
// right of 0.
ThumbnailOrigin ComputeThumbnailOrigin(const std::vector<IScreenCapture::DesktopInfo>& desktops);

// A rectangle of the screen. False, with `png` as before, when it can't be had.
bool GetDesktopThumbnailPng(const RECT& rect, SIZE box, std::vector<std::uint8_t>& png);

namespace WindowsUtil {

// Gets the file, which lives during the call, or null for a window that failed.
using ThumbnailSink = std::function<void(HWND window, const std::vector<std::uint8_t>* png)>;

// False, with `png` as before, when there is none: the window is gone, or takes longer than
// kPatienceMs to print itself, where it has to.
bool GetWindowThumbnail(HWND window, ThumbnailOrigin origin, SIZE box,
                        std::vector<std::uint8_t>& png);
// By the window's own printing, below Windows 8.1, or by that of a window of ours that
// shows it: the picture fills the box.
bool GetWindowThumbnailByGDI(HWND window, ThumbnailOrigin origin, SIZE box,
                             std::vector<std::uint8_t>& png);
// By the magnifier and a window of ours that shows it.
bool GetWindowThumbnailByMag(HWND window, ThumbnailOrigin origin, SIZE box,
                             std::vector<std::uint8_t>& png);

// Calls `sink` exactly once for each window, in their order, whatever fails. What `sink`
// throws ends in here.
void GetWindowThumbnailList(const std::vector<HWND>& windows, ThumbnailOrigin origin, SIZE box,
                            const ThumbnailSink& sink);
void GetWindowThumbnailListByGDI(const std::vector<HWND>& windows, ThumbnailOrigin origin, SIZE box,
                                 const ThumbnailSink& sink);
// Here the picture keeps the window's proportions.
void GetWindowThumbnailListByMag(const std::vector<HWND>& windows, ThumbnailOrigin origin, SIZE box,
                                 const ThumbnailSink& sink);

}  // namespace WindowsUtil

}  // namespace qx
