#pragma once

#include <d3d11.h>
#include <windows.h>

#include <cstdint>

// Small questions to the system. Any thread may ask. A question that can't be
// answered is answered as each function says, and logged.
namespace qx::WindowsUtil {

// The first of these can be deceived by a compatibility setting of the host's
// program file; the others see the true version.
bool IsWindows8OrGreater();
bool IsBeforeWindows8();
bool IsWindows8Point1OrGreater();
bool IsWindows10OrGreater();
bool IsWindows11OrGreater();
// All three are 0 when the system does not tell.
void GetNtVersionNumbers(std::uint32_t& major, std::uint32_t& minor, std::uint32_t& build);

// Whether the session is locked. Unknown: false.
bool IsScreenLocked();
bool CanSwitchToDefaultDesktop();
// Whether the secure desktop of a consent prompt is up: input belongs to another
// desktop than the default one, but the session is not locked.
bool IsUacPrompt();
bool IsRemoteSession();

bool IsDwmCompositionEnabled();
// Whether graphics are drawn by the system's software adapter. Unknown: true.
bool IsBasicGraphicsAdapter();

// D3D11CreateDevice, which crashes inside of some drivers. Once it has raised a
// structured exception, this and every later call in the process answer E_FAIL
// with `faulted` set, without calling the driver again.
HRESULT SafeD3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType, HMODULE software,
                              UINT flags, const D3D_FEATURE_LEVEL* featureLevels,
                              UINT featureLevelCount, UINT sdkVersion, ID3D11Device** device,
                              D3D_FEATURE_LEVEL* featureLevel, ID3D11DeviceContext** context,
                              bool& faulted);

// Whether desktop duplication works on the adapter that Direct3D gives by
// default. Probes once per process. `hr`, unless null, receives the last HRESULT of
// the probe; a call that finds the probe made already, or still running on
// another thread, leaves it alone. The answer during a running probe is true.
bool IsRunOnIntegrateGPU(HRESULT* hr);
// The last HRESULT of that probe, whoever made it; S_OK until its answer is known.
HRESULT IntegrateGPUProbeResult();

// The host's leave to use the magnification engine, for the whole process.
bool CanUseMagCapture();
void SetCanUseMagCapture(bool canUseMag);

}  // namespace qx::WindowsUtil
