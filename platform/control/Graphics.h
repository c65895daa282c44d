// The test side of the graphics card: adapters and what hangs on them, devices that can't
// be made, and what duplications of the desktop say.
//
//   const HMONITOR portrait = AddMonitor({1920, 0, 3000, 1920});
//   TurnMonitor(portrait, DXGI_MODE_ROTATION_ROTATE90);
//   SetPointerShape({DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME, 8, 2, 1, {0, 0}, {0, 0xFF}});
//
// A new machine has one adapter with all monitors.
#pragma once

#include <dxgi1_2.h>
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/model/Machine.h"

namespace vwin::control {

// ------------------------------------------------------------ adapters and outputs

void SetNoAdapter();
// This one instead of all others. What PlugInto put on another one then hangs on nothing.
void SetAdapter(const Adapter& adapter);
// One more, with nothing on it. Gives its index. Direct3D chooses the first one.
std::size_t AddAdapter(const Adapter& adapter);
// What Windows has for a card without driver; its vendor is Microsoft.
inline const Adapter kSoftwareAdapter{0x1414, 0x8C, L"Microsoft Basic Render Driver"};

void PlugInto(HMONITOR monitor, std::size_t adapter);
// Its output says that it is no part of the desktop, or that it is again.
void SetAttached(HMONITOR monitor, bool attached);
// Turns the picture: a mode change. The rectangle stays as it is: it is the upright one.
void TurnMonitor(HMONITOR monitor, DXGI_MODE_ROTATION rotation);

// ------------------------------------------------------------------------ Direct3D

// Result of making a hardware device; S_OK makes one.
void SetD3DResult(HRESULT result);
// Making a hardware device raises a structured exception with this code.
void SetD3DFault(std::optional<std::uint32_t> code);
// A new driver, or one that hung: all devices made so far are removed. Their calls fail from
// now on, and what draws for them is lost; new devices work.
void RemoveD3DDevices();

// -------------------------------------------------------------------- duplications

// Result of DuplicateOutput; with S_OK it works where Windows lets it.
void SetDuplicateResult(HRESULT result);
// The format that duplications made from now on tell.
void SetDuplicateFormat(DXGI_FORMAT format);
// A driver's fault: duplications give pictures of zeros.
void SetBlackDuplicates(bool black);
// The first frame of a duplication tells of the pointer alone, as on some machines: it has no
// time of a picture, and what comes with it was never drawn.
void SetPointerBeforePicture(bool before);
// A part of the picture moved. `to` and `from` are told as they are, in pixels of the
// picture as it is duplicated, which is not turned.
void ReportMove(HMONITOR monitor, POINT from, const RECT& to);
// The cursor's shape as duplications give it, right or wrong; nothing: the cursor's own
// picture, with its colours.
using vwin::PointerShape;
void SetPointerShape(const std::optional<PointerShape>& shape);

// ------------------------------------------------------------------------- memory

// Bytes of the pictures that the library has asked for, that it has not let go of and
// that the processor can reach: DIB sections, staging textures, surfaces in system memory.
std::uint64_t PictureBytes();

}  // namespace vwin::control
