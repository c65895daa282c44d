// The Direct3D 11 device: it draws on the processor.
#pragma once

#include <d3d11.h>

#include <cstddef>
#include <memory>
#include <optional>

#include "platform/model/D3D11Objects.h"

namespace vwin::d3d11 {

// A device on the adapter of that place in the machine, with its context for who wants
// it.
HRESULT MakeDevice(std::size_t adapter, D3D_FEATURE_LEVEL featureLevel, ID3D11Device** device,
                   ID3D11DeviceContext** context);

// The device that has this interface, and its adapter; null for anything else.
struct DeviceOnAdapter {
  ID3D11Device* device = nullptr;  // borrowed
  std::size_t adapter = 0;
};
DeviceOnAdapter DeviceOf(IUnknown* object);

// What a device's calls answer, in what they can't do without the graphics card: S_OK until
// it is removed.
HRESULT StateOf(Lock& lock, ID3D11Device* device);
HRESULT StateOf(ID3D11Device* device);

}  // namespace vwin::d3d11
