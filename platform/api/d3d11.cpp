#include <d3d11.h>
#include <virtual_windows.h>

#include <algorithm>

#include "platform/model/D3D11Device.h"
#include "platform/model/Faults.h"
#include "platform/model/GraphicsCaptureFrame.h"
#include "platform/model/Machine.h"
#include "platform/model/Modules.h"

using namespace vwin;

namespace {

// What this machine does when asked for a hardware device.
HRESULT HardwareResult() {
  std::optional<std::uint32_t> driverFault;
  HRESULT result = S_OK;
  {
    Lock lock;
    const Machine& machine = TheMachine(lock);
    driverFault = machine.d3dFault;
    result = machine.adapters.empty() ? DXGI_ERROR_UNSUPPORTED : machine.d3dResult;
  }
  if (driverFault) throw StructuredException{*driverFault};
  return result;
}

}  // namespace

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType,
                                 HMODULE software, UINT, const D3D_FEATURE_LEVEL* featureLevels,
                                 UINT featureLevelCount, UINT sdkVersion, ID3D11Device** device,
                                 D3D_FEATURE_LEVEL* featureLevel, ID3D11DeviceContext** context) {
  VWIN_CALL(D3D11CreateDevice);
  if (device != nullptr) *device = nullptr;
  if (context != nullptr) *context = nullptr;
  if (fault) return fault->hresult;
  const bool hardware = driverType == D3D_DRIVER_TYPE_HARDWARE;
  if (sdkVersion != D3D11_SDK_VERSION || software != nullptr || adapter != nullptr ||
      (!hardware && driverType != D3D_DRIVER_TYPE_WARP)) {
    return E_INVALIDARG;
  }
  if (hardware) {
    const HRESULT result = HardwareResult();
    if (FAILED(result)) return result;
  }
  // The first level of the list that the machine can do; 11_0 at most without a list.
  D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_11_0;
  if (featureLevels != nullptr && featureLevelCount != 0) {
    const D3D_FEATURE_LEVEL* const end = featureLevels + featureLevelCount;
    const auto* const known =
        std::find_if(featureLevels, end, [](auto l) { return l <= D3D_FEATURE_LEVEL_11_0; });
    if (known == end) return E_INVALIDARG;
    level = *known;
  }
  if (featureLevel != nullptr) *featureLevel = level;
  if (device == nullptr && context == nullptr) return S_FALSE;
  return d3d11::MakeDevice(0, level, device, context);
}

HRESULT WINAPI CreateDirect3D11DeviceFromDXGIDevice(IDXGIDevice* device,
                                                    wgc::IInspectable** direct3dDevice) {
  VWIN_CALL(CreateDirect3D11DeviceFromDXGIDevice);
  if (direct3dDevice == nullptr) return E_POINTER;
  *direct3dDevice = nullptr;
  if (fault) return fault->hresult;
  ID3D11Device* const behind = d3d11::DeviceOf(device).device;
  return behind ? capture::MakeDirect3DDevice(behind, direct3dDevice) : E_INVALIDARG;
}
