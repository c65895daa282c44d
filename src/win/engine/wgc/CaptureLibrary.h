#pragma once

#include <windows.h>
#include <windows_graphics_capture.h>

// What Windows.Graphics.Capture is reached by: four functions of combase.dll and d3d11.dll,
// which are loaded from the system's folder when they are first asked for, and stay. Some
// systems lack them; a function that is missing has failed. Any thread.
namespace qx::CaptureLibrary {

// Whether all four are there.
bool LoadCaptureFunctions();

// `factory` is that of the class, as `iid`.
HRESULT GetActivationFactory(const wchar_t* className, REFIID iid, void** factory);

HRESULT CreateDirect3D11DeviceFromDXGIDevice(IDXGIDevice* device,
                                             wgc::IInspectable** direct3dDevice);

}  // namespace qx::CaptureLibrary
