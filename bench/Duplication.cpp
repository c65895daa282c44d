#include "Duplication.h"

#include <stdexcept>

using qx::ComPtr;

void Check(HRESULT hr) {
  if (FAILED(hr)) {
    throw std::runtime_error("Direct3D fails");
  }
}

Duplication::Duplication() {
  Check(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr,
                          D3D11_CREATE_DEVICE_BGRA_SUPPORT, nullptr, 0, D3D11_SDK_VERSION,
                          device.Put(), nullptr, context.Put()));
  ComPtr<IDXGIDevice> dxgiDevice;
  ComPtr<IDXGIAdapter> adapter;
  ComPtr<IDXGIOutput> output;
  ComPtr<IDXGIOutput1> output1;
  Check(device.As(IID_IDXGIDevice, dxgiDevice));
  Check(dxgiDevice->GetParent(IID_IDXGIAdapter, adapter.PutVoid()));
  Check(adapter->EnumOutputs(0, output.Put()));
  Check(output.As(IID_IDXGIOutput1, output1));
  Check(output1->DuplicateOutput(device.Get(), duplication.Put()));
}
