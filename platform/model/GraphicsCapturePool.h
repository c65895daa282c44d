// Frame pools of Windows.Graphics.Capture. A pool compares, as a duplication does: it
// gives a frame when what its session captures looks otherwise than in the last one.
#pragma once

#include <windows_graphics_capture.h>

namespace vwin::capture {

HRESULT MakePoolFactory(REFIID iid, void** factory);

}  // namespace vwin::capture
