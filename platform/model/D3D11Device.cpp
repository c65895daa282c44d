#include "platform/model/D3D11Device.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/model/ComObject.h"
#include "platform/model/D3D11Context.h"
#include "platform/model/Dxgi.h"
#include "platform/model/Machine.h"
#include "platform/model/PictureMemory.h"

namespace vwin {

VWIN_INTERFACE_IDS(ID3D11Device, &IID_ID3D11Device);
VWIN_INTERFACE_IDS(IDXGIDevice, &IID_IDXGIObject, &IID_IDXGIDevice);

namespace d3d11 {
namespace {

constexpr std::size_t kPixelSize = sizeof(std::uint32_t);

// ----------------------------------------------------------------- descriptions
//
// Each answers what Windows says of a description: S_OK, E_INVALIDARG for what can't be,
// and for what can be but has no body here E_NOTIMPL, recorded.

HRESULT notProvided(const char* what) {
  NotProvided(what);
  return E_NOTIMPL;
}

// Who may read and write a resource of this usage, and where it may be bound.
bool isUsable(D3D11_USAGE usage, UINT bindFlags, UINT cpuAccess, bool hasData) {
  constexpr UINT kAnyAccess = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
  if ((cpuAccess & ~kAnyAccess) != 0) return false;
  switch (usage) {
    case D3D11_USAGE_DEFAULT:
      return cpuAccess == 0;
    case D3D11_USAGE_IMMUTABLE:
      return cpuAccess == 0 && hasData && bindFlags != 0 &&
             (bindFlags & D3D11_BIND_RENDER_TARGET) == 0;
    case D3D11_USAGE_STAGING:
      return cpuAccess != 0 && bindFlags == 0;
    default:
      return false;
  }
}

HRESULT check(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data) {
  constexpr UINT kMostPixels = D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION;
  constexpr UINT kBindings = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
  if (desc == nullptr || desc->Width == 0 || desc->Height == 0 || desc->Width > kMostPixels ||
      desc->Height > kMostPixels || desc->ArraySize == 0 || desc->SampleDesc.Count == 0 ||
      desc->Format == DXGI_FORMAT_UNKNOWN || (desc->BindFlags & D3D11_BIND_VERTEX_BUFFER) ||
      (data && !data->pSysMem)) {
    return E_INVALIDARG;
  }
  if (desc->Format != DXGI_FORMAT_B8G8R8A8_UNORM || desc->MipLevels != 1 || desc->ArraySize != 1 ||
      desc->SampleDesc.Count != 1 || desc->SampleDesc.Quality != 0 ||
      desc->Usage == D3D11_USAGE_DYNAMIC || (desc->BindFlags & ~kBindings) != 0 ||
      desc->MiscFlags != 0) {
    return notProvided("ID3D11Device::CreateTexture2D of such a texture");
  }
  return isUsable(desc->Usage, desc->BindFlags, desc->CPUAccessFlags, data != nullptr)
             ? S_OK
             : E_INVALIDARG;
}

HRESULT check(const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data) {
  if (desc == nullptr || desc->ByteWidth == 0 || (data && !data->pSysMem)) return E_INVALIDARG;
  if (desc->BindFlags != D3D11_BIND_VERTEX_BUFFER || desc->Usage == D3D11_USAGE_DYNAMIC ||
      desc->MiscFlags != 0) {
    return notProvided("ID3D11Device::CreateBuffer of such a buffer");
  }
  return isUsable(desc->Usage, desc->BindFlags, desc->CPUAccessFlags, data != nullptr)
             ? S_OK
             : E_INVALIDARG;
}

// Of a view of `texture`; without a description it is of the whole.
HRESULT check(const D3D11_SHADER_RESOURCE_VIEW_DESC* desc, const TextureContent& texture) {
  if ((texture.desc.BindFlags & D3D11_BIND_SHADER_RESOURCE) == 0) return E_INVALIDARG;
  if (desc == nullptr) return S_OK;
  if (desc->ViewDimension != D3D11_SRV_DIMENSION_TEXTURE2D ||
      (desc->Format != DXGI_FORMAT_UNKNOWN && desc->Format != texture.desc.Format)) {
    return E_INVALIDARG;
  }
  constexpr UINT kAllLevels = static_cast<UINT>(-1);
  const D3D11_TEX2D_SRV& levels = desc->Texture2D;
  return levels.MostDetailedMip == 0 && (levels.MipLevels == 1 || levels.MipLevels == kAllLevels)
             ? S_OK
             : E_INVALIDARG;
}

HRESULT check(const D3D11_RENDER_TARGET_VIEW_DESC* desc, const TextureContent& texture) {
  if ((texture.desc.BindFlags & D3D11_BIND_RENDER_TARGET) == 0) return E_INVALIDARG;
  if (desc == nullptr) return S_OK;
  return desc->ViewDimension == D3D11_RTV_DIMENSION_TEXTURE2D && desc->Texture2D.MipSlice == 0 &&
                 (desc->Format == DXGI_FORMAT_UNKNOWN || desc->Format == texture.desc.Format)
             ? S_OK
             : E_INVALIDARG;
}

HRESULT check(const D3D11_SAMPLER_DESC* desc) {
  constexpr int kLastAddressMode = 5;
  constexpr UINT kMostAnisotropy = 16;
  if (desc == nullptr) return E_INVALIDARG;
  bool clamps = true;
  for (const auto mode : {desc->AddressU, desc->AddressV, desc->AddressW}) {
    if (mode < 1 || mode > kLastAddressMode) return E_INVALIDARG;
    clamps &= mode == D3D11_TEXTURE_ADDRESS_CLAMP;
  }
  const bool anisotropic = desc->Filter == D3D11_FILTER_ANISOTROPIC;
  if ((anisotropic && (desc->MaxAnisotropy == 0 || desc->MaxAnisotropy > kMostAnisotropy)) ||
      desc->ComparisonFunc < D3D11_COMPARISON_NEVER ||
      desc->ComparisonFunc > D3D11_COMPARISON_ALWAYS || !(desc->MinLOD <= desc->MaxLOD)) {
    return E_INVALIDARG;
  }
  const bool known = anisotropic || desc->Filter == D3D11_FILTER_MIN_MAG_MIP_LINEAR;
  return clamps && known ? S_OK : notProvided("ID3D11Device::CreateSamplerState of such a state");
}

// Nothing for one that this machine lacks.
std::optional<Factor> factorOf(D3D11_BLEND blend) {
  switch (blend) {
    case D3D11_BLEND_ZERO:
      return Factor::kZero;
    case D3D11_BLEND_ONE:
      return Factor::kOne;
    case D3D11_BLEND_SRC_ALPHA:
      return Factor::kSourceAlpha;
    case D3D11_BLEND_INV_SRC_ALPHA:
      return Factor::kInverseSourceAlpha;
    default:
      return std::nullopt;
  }
}

HRESULT readBlending(const D3D11_BLEND_DESC* desc, Blending& blending) {
  if (desc == nullptr) return E_INVALIDARG;
  const D3D11_RENDER_TARGET_BLEND_DESC& target = desc->RenderTarget[0];
  if (target.RenderTargetWriteMask > D3D11_COLOR_WRITE_ENABLE_ALL) return E_INVALIDARG;
  blending.writeMask = 0;
  constexpr std::array<std::uint32_t, 4> kChannels{0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};
  for (unsigned i = 0; i < kChannels.size(); ++i) {
    if (target.RenderTargetWriteMask & 1u << i) blending.writeMask |= kChannels[i];
  }
  blending.enabled = target.BlendEnable != FALSE;
  if (!blending.enabled) return S_OK;
  for (const int given :
       {target.SrcBlend, target.DestBlend, target.SrcBlendAlpha, target.DestBlendAlpha}) {
    if (given < D3D11_BLEND_ZERO) return E_INVALIDARG;
  }
  if (target.BlendOp < D3D11_BLEND_OP_ADD || target.BlendOpAlpha < D3D11_BLEND_OP_ADD)
    return E_INVALIDARG;
  const auto source = factorOf(target.SrcBlend), below = factorOf(target.DestBlend);
  const auto sourceAlpha = factorOf(target.SrcBlendAlpha);
  const auto belowAlpha = factorOf(target.DestBlendAlpha);
  if (!source || !below || !sourceAlpha || !belowAlpha || target.BlendOp != D3D11_BLEND_OP_ADD ||
      target.BlendOpAlpha != D3D11_BLEND_OP_ADD || desc->AlphaToCoverageEnable) {
    return notProvided("ID3D11Device::CreateBlendState of such a state");
  }
  blending = {true, *source, *below, *sourceAlpha, *belowAlpha, blending.writeMask};
  return S_OK;
}

// 0 for formats that a vertex can't have here.
std::size_t componentsOf(DXGI_FORMAT format) {
  switch (format) {
    case DXGI_FORMAT_R32G32_FLOAT:
      return 2;
    case DXGI_FORMAT_R32G32B32_FLOAT:
      return 3;
    case DXGI_FORMAT_R32G32B32A32_FLOAT:
      return 4;
    default:
      return 0;
  }
}

// Every input of the shader needs an element; elements that no input wants are left out.
HRESULT readLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, const Signature& inputs,
                   LayoutContent& layout) {
  for (UINT i = 0; i < count; ++i) {
    if (elements[i].SemanticName == nullptr ||
        elements[i].InputSlot >= D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT) {
      return E_INVALIDARG;
    }
    if (componentsOf(elements[i].Format) == 0 ||
        elements[i].InputSlotClass != D3D11_INPUT_PER_VERTEX_DATA) {
      return notProvided("ID3D11Device::CreateInputLayout of such elements");
    }
  }
  for (const SignatureElement& input : inputs) {
    if (input.systemValue != 0) continue;
    const auto* const found =
        std::find_if(elements, elements + count, [&](const D3D11_INPUT_ELEMENT_DESC& element) {
          return element.SemanticIndex == input.index &&
                 strcasecmp(element.SemanticName, input.semantic.c_str()) == 0;
        });
    if (found == elements + count || found->AlignedByteOffset % 4 != 0) return E_INVALIDARG;
    layout.elements.push_back(
        {input.reg, componentsOf(found->Format), found->InputSlot, found->AlignedByteOffset});
  }
  return S_OK;
}

// ----------------------------------------------------------------------- device

class Device final : public ComImplementation<ID3D11Device, IDXGIDevice> {
 public:
  Device(std::size_t adapter, D3D_FEATURE_LEVEL featureLevel)
      : ComImplementation("ID3D11Device", "D3D11CreateDevice"),
        m_adapter(adapter),
        m_featureLevel(featureLevel) {
    Lock lock;
    m_removals = TheMachine(lock).d3dRemovals;
  }

  std::size_t adapter() const { return m_adapter; }
  HRESULT state(Lock& lock) const {
    return TheMachine(lock).d3dRemovals == m_removals ? S_OK : DXGI_ERROR_DEVICE_REMOVED;
  }

  HRESULT STDMETHODCALLTYPE GetParent(REFIID iid, void** parent) override {
    VWIN_METHOD(IDXGIDevice::GetParent);
    if (parent == nullptr) return E_POINTER;
    *parent = nullptr;
    if (fault) return fault->hresult;
    return dxgi::MakeAdapter(m_adapter, iid, parent, "IDXGIDevice::GetParent");
  }
  D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() override {
    VWIN_METHOD_INFALLIBLE(ID3D11Device::GetFeatureLevel);
    return m_featureLevel;
  }
  HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() override {
    VWIN_METHOD_INFALLIBLE(ID3D11Device::GetDeviceRemovedReason);
    Lock lock;
    return state(lock);
  }
  // One object for as long as anybody has it.
  void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** context) override {
    VWIN_METHOD_INFALLIBLE(ID3D11Device::GetImmediateContext);
    {
      Lock lock;
      *context = m_context;
    }
    if (*context != nullptr) {
      (*context)->AddRef();
      return;
    }
    (void)MakeContext(
        this, m_pipeline, [this](Lock&) { m_context = nullptr; }, context);
    Lock lock;
    m_context = *context;
  }

  HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc,
                                            const D3D11_SUBRESOURCE_DATA* data,
                                            ID3D11Texture2D** texture) override {
    VWIN_METHOD(ID3D11Device::CreateTexture2D);
    if (texture != nullptr) *texture = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    const HRESULT checked = check(desc, data);
    if (FAILED(checked)) return checked;
    if (texture == nullptr) return S_FALSE;
    auto content = std::make_shared<TextureContent>(*desc);
    if (desc->Usage == D3D11_USAGE_STAGING) {
      content = pictures::Count(content, std::size_t{desc->Width} * desc->Height * kPixelSize);
    }
    for (UINT y = 0; data != nullptr && y < desc->Height; ++y) {
      std::memcpy(content->image().Row(static_cast<int>(y)),
                  static_cast<const BYTE*>(data->pSysMem) + std::size_t{y} * data->SysMemPitch,
                  desc->Width * kPixelSize);
    }
    return HandOut<Texture>(texture, IID_ID3D11Texture2D, this, content,
                            "ID3D11Device::CreateTexture2D");
  }
  HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* desc,
                                         const D3D11_SUBRESOURCE_DATA* data,
                                         ID3D11Buffer** buffer) override {
    VWIN_METHOD(ID3D11Device::CreateBuffer);
    if (buffer != nullptr) *buffer = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    if (const HRESULT checked = check(desc, data); FAILED(checked)) return checked;
    const auto content = std::make_shared<BufferContent>();
    content->desc = *desc;
    content->bytes.resize(desc->ByteWidth);
    if (data != nullptr) std::memcpy(content->bytes.data(), data->pSysMem, desc->ByteWidth);
    return HandOut<Buffer>(buffer, IID_ID3D11Buffer, "ID3D11Buffer", "ID3D11Device::CreateBuffer",
                           this, content);
  }
  HRESULT STDMETHODCALLTYPE CreateShaderResourceView(ID3D11Resource* resource,
                                                     const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                                     ID3D11ShaderResourceView** view) override {
    VWIN_METHOD(ID3D11Device::CreateShaderResourceView);
    if (view != nullptr) *view = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    return makeView<ShaderResourceView>(resource, desc, IID_ID3D11ShaderResourceView, view,
                                        "ID3D11Device::CreateShaderResourceView");
  }
  HRESULT STDMETHODCALLTYPE CreateRenderTargetView(ID3D11Resource* resource,
                                                   const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                                                   ID3D11RenderTargetView** view) override {
    VWIN_METHOD(ID3D11Device::CreateRenderTargetView);
    if (view != nullptr) *view = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    return makeView<RenderTargetView>(resource, desc, IID_ID3D11RenderTargetView, view,
                                      "ID3D11Device::CreateRenderTargetView");
  }
  HRESULT STDMETHODCALLTYPE CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count,
                                              const void* bytecode, SIZE_T size,
                                              ID3D11InputLayout** layout) override {
    VWIN_METHOD(ID3D11Device::CreateInputLayout);
    if (layout != nullptr) *layout = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    const auto inputs = InputSignatureOf(bytecode, size);
    if (elements == nullptr || !inputs) return E_INVALIDARG;
    const auto content = std::make_shared<LayoutContent>();
    if (const HRESULT read = readLayout(elements, count, *inputs, *content); FAILED(read))
      return read;
    return HandOut<InputLayout>(layout, IID_ID3D11InputLayout, "ID3D11InputLayout",
                                "ID3D11Device::CreateInputLayout", this, content);
  }
  HRESULT STDMETHODCALLTYPE CreateVertexShader(const void* bytecode, SIZE_T size,
                                               ID3D11ClassLinkage*,
                                               ID3D11VertexShader** shader) override {
    VWIN_METHOD(ID3D11Device::CreateVertexShader);
    if (shader != nullptr) *shader = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    const auto content = Shader::Parse(bytecode, size, Shader::Stage::kVertex);
    if (!content) return E_INVALIDARG;
    return HandOut<VertexShader>(shader, IID_ID3D11VertexShader, "ID3D11VertexShader",
                                 "ID3D11Device::CreateVertexShader", this, content);
  }
  HRESULT STDMETHODCALLTYPE CreatePixelShader(const void* bytecode, SIZE_T size,
                                              ID3D11ClassLinkage*,
                                              ID3D11PixelShader** shader) override {
    VWIN_METHOD(ID3D11Device::CreatePixelShader);
    if (shader != nullptr) *shader = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    const auto content = Shader::Parse(bytecode, size, Shader::Stage::kPixel);
    if (!content) return E_INVALIDARG;
    return HandOut<PixelShader>(shader, IID_ID3D11PixelShader, "ID3D11PixelShader",
                                "ID3D11Device::CreatePixelShader", this, content);
  }
  HRESULT STDMETHODCALLTYPE CreateSamplerState(const D3D11_SAMPLER_DESC* desc,
                                               ID3D11SamplerState** state) override {
    VWIN_METHOD(ID3D11Device::CreateSamplerState);
    if (state != nullptr) *state = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    if (const HRESULT checked = check(desc); FAILED(checked)) return checked;
    const auto content = std::make_shared<Sampling>();
    if (desc->Filter == D3D11_FILTER_ANISOTROPIC) content->maxAnisotropy = desc->MaxAnisotropy;
    return HandOut<SamplerState>(state, IID_ID3D11SamplerState, "ID3D11SamplerState",
                                 "ID3D11Device::CreateSamplerState", this, content);
  }
  HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC* desc,
                                             ID3D11BlendState** state) override {
    VWIN_METHOD(ID3D11Device::CreateBlendState);
    if (state != nullptr) *state = nullptr;
    if (const HRESULT begun = begin(fault); FAILED(begun)) return begun;
    const auto content = std::make_shared<Blending>();
    if (const HRESULT read = readBlending(desc, *content); FAILED(read)) return read;
    return HandOut<BlendState>(state, IID_ID3D11BlendState, "ID3D11BlendState",
                               "ID3D11Device::CreateBlendState", this, content);
  }

 private:
  void afterLastRelease() override { m_pipeline = {}; }

  // Of every call that makes something.
  HRESULT begin(const std::optional<Fault>& fault) const {
    if (fault) return fault->hresult;
    Lock lock;
    return state(lock);
  }

  template <typename View, typename Desc, typename Interface>
  HRESULT makeView(ID3D11Resource* resource, const Desc* desc, REFIID iid, Interface** view,
                   const char* call) {
    const auto content = ContentOf<Texture>(resource, this, call);
    if (!content) return E_INVALIDARG;
    if (const HRESULT checked = check(desc, *content); FAILED(checked)) return checked;
    constexpr const char* kName = std::is_same_v<View, ShaderResourceView>
                                      ? "ID3D11ShaderResourceView"
                                      : "ID3D11RenderTargetView";
    return HandOut<View>(view, iid, kName, call, this, content);
  }

  const std::size_t m_adapter;
  const D3D_FEATURE_LEVEL m_featureLevel;
  std::uint32_t m_removals;  // before it was made
  Pipeline m_pipeline;
  ID3D11DeviceContext* m_context = nullptr;  // borrowed: it keeps the device
};

}  // namespace

HRESULT MakeDevice(std::size_t adapter, D3D_FEATURE_LEVEL featureLevel, ID3D11Device** device,
                   ID3D11DeviceContext** context) {
  ID3D11Device* made = nullptr;
  const HRESULT result = Device::Make<Device>(IID_ID3D11Device, reinterpret_cast<void**>(&made),
                                              adapter, featureLevel);
  if (FAILED(result)) return result;
  if (context != nullptr) made->GetImmediateContext(context);
  if (device != nullptr) {
    *device = made;
  } else {
    made->Release();
  }
  return S_OK;
}

DeviceOnAdapter DeviceOf(IUnknown* object) {
  auto* const device = dynamic_cast<Device*>(object);
  return device ? DeviceOnAdapter{device, device->adapter()} : DeviceOnAdapter{};
}

HRESULT StateOf(Lock& lock, ID3D11Device* device) {
  return static_cast<Device*>(device)->state(lock);
}
HRESULT StateOf(ID3D11Device* device) {
  Lock lock;
  return StateOf(lock, device);
}

}  // namespace d3d11
}  // namespace vwin
