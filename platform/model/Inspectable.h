// Base of the stand-in's objects of the Windows Runtime, and the ids of their interfaces.
#pragma once

#include <windows_graphics_capture.h>

#include "platform/model/ComObject.h"

namespace vwin {

#define VWIN_RUNTIME_INTERFACE(interface) \
  VWIN_INTERFACE_IDS(wgc::interface, &wgc::IID_IInspectable, &wgc::IID_##interface)

VWIN_RUNTIME_INTERFACE(IClosable);
VWIN_RUNTIME_INTERFACE(IDirect3DDevice);
VWIN_RUNTIME_INTERFACE(IDirect3DSurface);
VWIN_RUNTIME_INTERFACE(IGraphicsCaptureItem);
VWIN_RUNTIME_INTERFACE(IGraphicsCaptureSession);
VWIN_RUNTIME_INTERFACE(IGraphicsCaptureSession2);
VWIN_RUNTIME_INTERFACE(IGraphicsCaptureSession3);
VWIN_RUNTIME_INTERFACE(IDirect3D11CaptureFrame);
VWIN_RUNTIME_INTERFACE(IDirect3D11CaptureFramePool);
VWIN_RUNTIME_INTERFACE(IDirect3D11CaptureFramePoolStatics);
VWIN_RUNTIME_INTERFACE(IDirect3D11CaptureFramePoolStatics2);
// These two come without IInspectable.
VWIN_INTERFACE_IDS(wgc::IDirect3DDxgiInterfaceAccess, &wgc::IID_IDirect3DDxgiInterfaceAccess);
VWIN_INTERFACE_IDS(wgc::IGraphicsCaptureItemInterop, &wgc::IID_IGraphicsCaptureItemInterop);

// IInspectable's functions, which nobody calls, for an object with these interfaces.
template <typename First, typename... Others>
class Inspectable : public ComImplementation<First, Others...> {
 public:
  HRESULT STDMETHODCALLTYPE GetIids(ULONG*, IID**) override {
    NotProvided("IInspectable::GetIids");
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetRuntimeClassName(wgc::HSTRING*) override {
    NotProvided("IInspectable::GetRuntimeClassName");
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetTrustLevel(std::int32_t*) override {
    NotProvided("IInspectable::GetTrustLevel");
    return E_NOTIMPL;
  }

 protected:
  using ComImplementation<First, Others...>::ComImplementation;
};

}  // namespace vwin
