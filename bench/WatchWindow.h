#pragma once

#include <windows.h>

// What a window share asks the system in every tick of a still window, without
// looking at the answers. Keep it like the calls of a tick, as virtual Windows logs
// them; what the library asks beyond this counts as the library's own time.
void WatchWindow(HWND window);

// Its parts, of any engine: before the picture is taken, and whether the window has
// changed meanwhile.
void LookAtWindow(HWND window);
void LookAtWindowAgain(HWND window);

// The same for a share of that monitor.
void WatchMonitor(HMONITOR monitor);

// Reads the time as often as a share does in a tick.
void ReadWallClock();

// Waits as a share does between its ticks.
void WaitByHand(DWORD milliseconds);
