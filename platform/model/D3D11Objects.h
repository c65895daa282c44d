// What a Direct3D 11 device makes. The COM objects are shells around shared contents: a
// view keeps the contents of its texture, a context those of what is bound to it, whoever
// has released the objects.
#pragma once

#include <d3d11.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/model/ComObject.h"
#include "platform/model/D3D11Raster.h"
#include "platform/model/D3D11Shader.h"
#include "platform/model/Ledger.h"

namespace vwin {

VWIN_INTERFACE_IDS(ID3D11Texture2D, &IID_ID3D11DeviceChild, &IID_ID3D11Resource,
                   &IID_ID3D11Texture2D);
VWIN_INTERFACE_IDS(IDXGISurface, &IID_IDXGIObject, &IID_IDXGIDeviceSubObject, &IID_IDXGISurface);
VWIN_INTERFACE_IDS(IDXGIResource, &IID_IDXGIResource);
VWIN_INTERFACE_IDS(ID3D11Buffer, &IID_ID3D11DeviceChild, &IID_ID3D11Resource, &IID_ID3D11Buffer);
VWIN_INTERFACE_IDS(ID3D11ShaderResourceView, &IID_ID3D11DeviceChild, &IID_ID3D11View,
                   &IID_ID3D11ShaderResourceView);
VWIN_INTERFACE_IDS(ID3D11RenderTargetView, &IID_ID3D11DeviceChild, &IID_ID3D11View,
                   &IID_ID3D11RenderTargetView);
VWIN_INTERFACE_IDS(ID3D11VertexShader, &IID_ID3D11DeviceChild, &IID_ID3D11VertexShader);
VWIN_INTERFACE_IDS(ID3D11PixelShader, &IID_ID3D11DeviceChild, &IID_ID3D11PixelShader);
VWIN_INTERFACE_IDS(ID3D11InputLayout, &IID_ID3D11DeviceChild, &IID_ID3D11InputLayout);
VWIN_INTERFACE_IDS(ID3D11SamplerState, &IID_ID3D11DeviceChild, &IID_ID3D11SamplerState);
VWIN_INTERFACE_IDS(ID3D11BlendState, &IID_ID3D11DeviceChild, &IID_ID3D11BlendState);

namespace d3d11 {

// --------------------------------------------------------------------- contents

// Of a texture: pixels that hold anything at first, as those of a driver do.
struct TextureContent {
  explicit TextureContent(const D3D11_TEXTURE2D_DESC& wanted);

  D3D11_TEXTURE2D_DESC desc;
  std::shared_ptr<std::uint32_t[]> pixels;
  std::ptrdiff_t stride;  // in pixels; of a staging texture wider than the picture
  bool mapped = false;
  bool withdrawn = false;  // the frame that gave it was released

  Image image() const {
    return {pixels.get(), static_cast<int>(desc.Width), static_cast<int>(desc.Height), stride};
  }
};

struct BufferContent {
  D3D11_BUFFER_DESC desc;
  std::vector<std::uint8_t> bytes;
};

// Where an input register of a vertex shader is read from.
struct LayoutElement {
  UINT reg;
  std::size_t components;
  UINT slot;
  UINT offset;
};
struct LayoutContent {
  std::vector<LayoutElement> elements;
};

// ---------------------------------------------------------------------- objects

// Keeps its device.
template <typename First, typename... Others>
class DeviceChild : public ComImplementation<First, Others...> {
 public:
  DeviceChild(const char* name, const char* call, ID3D11Device* device)
      : ComImplementation<First, Others...>(name, call), m_device(device) {
    m_device->AddRef();
  }

  ID3D11Device* device() const { return m_device; }
  // For another object's call that gets this one.
  void CheckUse(const char* call) { this->checkAlive(call); }

 protected:
  void afterLastRelease() override { m_device->Release(); }

 private:
  ID3D11Device* const m_device;
};

// A child that is a shell around a content.
template <typename C, typename... Interfaces>
class Holder : public DeviceChild<Interfaces...> {
 public:
  using Content = C;

  Holder(const char* name, const char* call, ID3D11Device* device, std::shared_ptr<C> content)
      : DeviceChild<Interfaces...>(name, call, device), m_content(std::move(content)) {}

  const std::shared_ptr<C>& content() const { return m_content; }

 protected:
  void afterLastRelease() override {
    m_content.reset();
    DeviceChild<Interfaces...>::afterLastRelease();
  }

 private:
  std::shared_ptr<C> m_content;
};

// The content of an object that somebody gives to a call on `device`. Null, and recorded,
// when it was released or belongs to another device; null for a null pointer.
template <typename Object, typename Interface>
std::shared_ptr<typename Object::Content> ContentOf(Interface* given, const ID3D11Device* device,
                                                    const char* call) {
  auto* const object = dynamic_cast<Object*>(given);
  if (object == nullptr) return nullptr;
  object->CheckUse(call);
  if (object->device() == device) return object->content();
  Lock lock;
  ledger::Misuse(lock, std::string(call) + ": made by another device");
  return nullptr;
}

class Texture final : public Holder<TextureContent, ID3D11Texture2D, IDXGIResource, IDXGISurface> {
 public:
  Texture(ID3D11Device* device, std::shared_ptr<TextureContent> content, const char* call)
      : Holder("ID3D11Texture2D", call, device, std::move(content)) {}

  void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE2D_DESC* desc) override;
  HRESULT STDMETHODCALLTYPE Map(DXGI_MAPPED_RECT* mapped, UINT flags) override;
  HRESULT STDMETHODCALLTYPE Unmap() override;
  // QueryInterface for other objects of the system: no call of anybody's.
  using Holder::query;

 private:
  void onLastRelease(Lock& lock) override;
};

using Buffer = Holder<BufferContent, ID3D11Buffer>;
// Views are of the whole texture.
using ShaderResourceView = Holder<TextureContent, ID3D11ShaderResourceView>;
using RenderTargetView = Holder<TextureContent, ID3D11RenderTargetView>;
using SamplerState = Holder<const Sampling, ID3D11SamplerState>;
using BlendState = Holder<const Blending, ID3D11BlendState>;
using VertexShader = Holder<const Shader, ID3D11VertexShader>;
using PixelShader = Holder<const Shader, ID3D11PixelShader>;
using InputLayout = Holder<const LayoutContent, ID3D11InputLayout>;

// Hands out what was made. Without `out` nobody wants it: its description was only
// checked.
template <typename Object, typename Interface, typename... Arguments>
HRESULT HandOut(Interface** out, REFIID iid, Arguments&&... arguments) {
  if (out == nullptr) return S_FALSE;
  return Object::template Make<Object>(iid, reinterpret_cast<void**>(out),
                                       std::forward<Arguments>(arguments)...);
}

}  // namespace d3d11
}  // namespace vwin
