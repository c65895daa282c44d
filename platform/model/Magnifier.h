// What Magnification.dll does: windows of the class "Magnifier" that render a part of the
// desktop, without the windows on their filter list.
//
// A magnifier belongs to the thread that made its window. It has a Direct3D 9 device from
// the creation of the window to its end; without one it draws nothing.
#pragma once

#include <magnification.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/model/Scheduler.h"

namespace vwin::magnifier {

// Each start wants its end; the window class exists in between.
void Start(Lock& lock);
bool End(Lock& lock);

// False for what is no magnifier, and for a list with a child.
bool SetFilterList(Lock& lock, HWND window, std::vector<HWND> list);
bool SetColorEffect(Lock& lock, HWND window, const MAGCOLOREFFECT* effect);
// Has the window's thread render, and waits for it. To be called without the lock.
bool SetSource(HWND window, const RECT& source);

}  // namespace vwin::magnifier
