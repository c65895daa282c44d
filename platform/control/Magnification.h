// The test side of Magnification.dll and of Direct3D 9.
//
//   RemoveModule("Magnification.dll");                           // control/Modules.h
//   FailNth("Direct3DCreate9Ex", 1, kAccessViolation);           // control/Faults.h
//   FailNth("MagSetWindowFilterList", 2, {ERROR_INVALID_PARAMETER, 0});
//   SetRenderTime(std::nullopt);
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>

namespace vwin::control {

// All five functions raise an exception from now on, as those of Wine 10 do.
void RaiseInMagnification();

// Pictures of zeros, alpha too.
void SetBlackMagnifier(bool black);
// How often a render calls StretchRect: once on a new machine.
void SetStretchRectCalls(int calls);
// How long a render takes; nothing: it hangs, until there is another time, which counts
// from its beginning.
void SetRenderTime(std::optional<std::chrono::milliseconds> time);

// What the calls of Direct3D 9 devices that need the graphics card answer, such as
// D3DERR_DEVICELOST; S_OK: they work.
void SetD3D9DeviceState(HRESULT state);

}  // namespace vwin::control
