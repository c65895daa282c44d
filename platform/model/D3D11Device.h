// The Direct3D 11 device, so far only good for reaching its DXGI side.
#pragma once

#include <d3d11.h>

#include <cstddef>

namespace vwin::d3d11 {

// A device on the adapter of that place in the machine.
HRESULT MakeDevice(std::size_t adapter, D3D_FEATURE_LEVEL featureLevel, ID3D11Device** device);

}  // namespace vwin::d3d11
