// Direct3D 9: the object and its devices, which draw on the processor.
//
// Entry 34 of a device's function table, StretchRect, is one function for all devices and
// can be redirected.
#pragma once

#include <d3d9.h>

#include <memory>

#include "platform/model/D3D9Surface.h"

namespace vwin::d3d9 {

HRESULT MakeDirect3D(IDirect3D9Ex** d3d);

// A render target that nobody asked for by a call, as those of a component of the system.
// Null for a device that is none of this machine's.
IDirect3DSurface9* MakeRenderTarget(IDirect3DDevice9* device, int width, int height);
// Null for what is no surface of this machine.
std::shared_ptr<SurfaceContent> ContentOf(IDirect3DSurface9* surface);

}  // namespace vwin::d3d9
