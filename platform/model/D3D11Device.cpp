#include "platform/model/D3D11Device.h"

#include "platform/model/ComObject.h"
#include "platform/model/Dxgi.h"

namespace vwin {

VWIN_INTERFACE_IDS(ID3D11Device, &IID_ID3D11Device);
VWIN_INTERFACE_IDS(IDXGIDevice, &IID_IDXGIObject, &IID_IDXGIDevice);

namespace d3d11 {
namespace {

class Device final : public ComImplementation<ID3D11Device, IDXGIDevice> {
 public:
  Device(std::size_t adapter, D3D_FEATURE_LEVEL featureLevel)
      : ComImplementation("ID3D11Device", "D3D11CreateDevice"),
        m_adapter(adapter),
        m_featureLevel(featureLevel) {}

  HRESULT STDMETHODCALLTYPE GetParent(REFIID iid, void** parent) override {
    VWIN_METHOD(IDXGIDevice::GetParent);
    if (parent == nullptr) return E_POINTER;
    *parent = nullptr;
    if (fault) return fault->hresult;
    return dxgi::MakeAdapter(m_adapter, iid, parent, "IDXGIDevice::GetParent");
  }
  HRESULT STDMETHODCALLTYPE GetAdapter(IDXGIAdapter** adapter) override {
    VWIN_METHOD(IDXGIDevice::GetAdapter);
    if (adapter == nullptr) return E_POINTER;
    *adapter = nullptr;
    if (fault) return fault->hresult;
    return dxgi::MakeAdapter(m_adapter, IID_IDXGIAdapter, reinterpret_cast<void**>(adapter),
                             "IDXGIDevice::GetAdapter");
  }
  HRESULT STDMETHODCALLTYPE CreateSurface(const DXGI_SURFACE_DESC*, UINT, DXGI_USAGE,
                                          const DXGI_SHARED_RESOURCE*, IDXGISurface**) override {
    return notProvided("IDXGIDevice::CreateSurface");
  }
  HRESULT STDMETHODCALLTYPE QueryResourceResidency(IUnknown* const*, DXGI_RESIDENCY*,
                                                   UINT) override {
    return notProvided("IDXGIDevice::QueryResourceResidency");
  }
  HRESULT STDMETHODCALLTYPE SetGPUThreadPriority(INT) override {
    return notProvided("IDXGIDevice::SetGPUThreadPriority");
  }
  HRESULT STDMETHODCALLTYPE GetGPUThreadPriority(INT*) override {
    return notProvided("IDXGIDevice::GetGPUThreadPriority");
  }

  HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC*, const D3D11_SUBRESOURCE_DATA*,
                                         ID3D11Buffer**) override {
    return notProvided("ID3D11Device::CreateBuffer");
  }
  HRESULT STDMETHODCALLTYPE CreateTexture1D(const D3D11_TEXTURE1D_DESC*,
                                            const D3D11_SUBRESOURCE_DATA*,
                                            ID3D11Texture1D**) override {
    return notProvided("ID3D11Device::CreateTexture1D");
  }
  HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC*,
                                            const D3D11_SUBRESOURCE_DATA*,
                                            ID3D11Texture2D**) override {
    return notProvided("ID3D11Device::CreateTexture2D");
  }
  HRESULT STDMETHODCALLTYPE CreateTexture3D(const D3D11_TEXTURE3D_DESC*,
                                            const D3D11_SUBRESOURCE_DATA*,
                                            ID3D11Texture3D**) override {
    return notProvided("ID3D11Device::CreateTexture3D");
  }
  HRESULT STDMETHODCALLTYPE CreateShaderResourceView(ID3D11Resource*,
                                                     const D3D11_SHADER_RESOURCE_VIEW_DESC*,
                                                     ID3D11ShaderResourceView**) override {
    return notProvided("ID3D11Device::CreateShaderResourceView");
  }
  HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(ID3D11Resource*,
                                                      const D3D11_UNORDERED_ACCESS_VIEW_DESC*,
                                                      ID3D11UnorderedAccessView**) override {
    return notProvided("ID3D11Device::CreateUnorderedAccessView");
  }
  HRESULT STDMETHODCALLTYPE CreateRenderTargetView(ID3D11Resource*,
                                                   const D3D11_RENDER_TARGET_VIEW_DESC*,
                                                   ID3D11RenderTargetView**) override {
    return notProvided("ID3D11Device::CreateRenderTargetView");
  }
  HRESULT STDMETHODCALLTYPE CreateDepthStencilView(ID3D11Resource*,
                                                   const D3D11_DEPTH_STENCIL_VIEW_DESC*,
                                                   ID3D11DepthStencilView**) override {
    return notProvided("ID3D11Device::CreateDepthStencilView");
  }
  HRESULT STDMETHODCALLTYPE CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC*, UINT, const void*,
                                              SIZE_T, ID3D11InputLayout**) override {
    return notProvided("ID3D11Device::CreateInputLayout");
  }
  HRESULT STDMETHODCALLTYPE CreateVertexShader(const void*, SIZE_T, ID3D11ClassLinkage*,
                                               ID3D11VertexShader**) override {
    return notProvided("ID3D11Device::CreateVertexShader");
  }
  HRESULT STDMETHODCALLTYPE CreateGeometryShader(const void*, SIZE_T, ID3D11ClassLinkage*,
                                                 ID3D11GeometryShader**) override {
    return notProvided("ID3D11Device::CreateGeometryShader");
  }
  HRESULT STDMETHODCALLTYPE CreateGeometryShaderWithStreamOutput(const void*, SIZE_T,
                                                                 const D3D11_SO_DECLARATION_ENTRY*,
                                                                 UINT, const UINT*, UINT, UINT,
                                                                 ID3D11ClassLinkage*,
                                                                 ID3D11GeometryShader**) override {
    return notProvided("ID3D11Device::CreateGeometryShaderWithStreamOutput");
  }
  HRESULT STDMETHODCALLTYPE CreatePixelShader(const void*, SIZE_T, ID3D11ClassLinkage*,
                                              ID3D11PixelShader**) override {
    return notProvided("ID3D11Device::CreatePixelShader");
  }
  HRESULT STDMETHODCALLTYPE CreateHullShader(const void*, SIZE_T, ID3D11ClassLinkage*,
                                             ID3D11HullShader**) override {
    return notProvided("ID3D11Device::CreateHullShader");
  }
  HRESULT STDMETHODCALLTYPE CreateDomainShader(const void*, SIZE_T, ID3D11ClassLinkage*,
                                               ID3D11DomainShader**) override {
    return notProvided("ID3D11Device::CreateDomainShader");
  }
  HRESULT STDMETHODCALLTYPE CreateComputeShader(const void*, SIZE_T, ID3D11ClassLinkage*,
                                                ID3D11ComputeShader**) override {
    return notProvided("ID3D11Device::CreateComputeShader");
  }
  HRESULT STDMETHODCALLTYPE CreateClassLinkage(ID3D11ClassLinkage**) override {
    return notProvided("ID3D11Device::CreateClassLinkage");
  }
  HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC*, ID3D11BlendState**) override {
    return notProvided("ID3D11Device::CreateBlendState");
  }
  HRESULT STDMETHODCALLTYPE CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC*,
                                                    ID3D11DepthStencilState**) override {
    return notProvided("ID3D11Device::CreateDepthStencilState");
  }
  HRESULT STDMETHODCALLTYPE CreateRasterizerState(const D3D11_RASTERIZER_DESC*,
                                                  ID3D11RasterizerState**) override {
    return notProvided("ID3D11Device::CreateRasterizerState");
  }
  HRESULT STDMETHODCALLTYPE CreateSamplerState(const D3D11_SAMPLER_DESC*,
                                               ID3D11SamplerState**) override {
    return notProvided("ID3D11Device::CreateSamplerState");
  }
  HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC*, ID3D11Query**) override {
    return notProvided("ID3D11Device::CreateQuery");
  }
  HRESULT STDMETHODCALLTYPE CreatePredicate(const D3D11_QUERY_DESC*, ID3D11Predicate**) override {
    return notProvided("ID3D11Device::CreatePredicate");
  }
  HRESULT STDMETHODCALLTYPE CreateCounter(const D3D11_COUNTER_DESC*, ID3D11Counter**) override {
    return notProvided("ID3D11Device::CreateCounter");
  }
  HRESULT STDMETHODCALLTYPE CreateDeferredContext(UINT, ID3D11DeviceContext**) override {
    return notProvided("ID3D11Device::CreateDeferredContext");
  }
  HRESULT STDMETHODCALLTYPE OpenSharedResource(HANDLE, REFIID, void**) override {
    return notProvided("ID3D11Device::OpenSharedResource");
  }
  HRESULT STDMETHODCALLTYPE CheckFormatSupport(DXGI_FORMAT, UINT*) override {
    return notProvided("ID3D11Device::CheckFormatSupport");
  }
  HRESULT STDMETHODCALLTYPE CheckMultisampleQualityLevels(DXGI_FORMAT, UINT, UINT*) override {
    return notProvided("ID3D11Device::CheckMultisampleQualityLevels");
  }
  void STDMETHODCALLTYPE CheckCounterInfo(D3D11_COUNTER_INFO*) override {
    (void)notProvided("ID3D11Device::CheckCounterInfo");
  }
  HRESULT STDMETHODCALLTYPE CheckCounter(const D3D11_COUNTER_DESC*, D3D11_COUNTER_TYPE*, UINT*,
                                         LPSTR, UINT*, LPSTR, UINT*, LPSTR, UINT*) override {
    return notProvided("ID3D11Device::CheckCounter");
  }
  HRESULT STDMETHODCALLTYPE CheckFeatureSupport(D3D11_FEATURE, void*, UINT) override {
    return notProvided("ID3D11Device::CheckFeatureSupport");
  }
  HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, UINT*, void*) override {
    return notProvided("ID3D11Device::GetPrivateData");
  }
  HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, UINT, const void*) override {
    return notProvided("ID3D11Device::SetPrivateData");
  }
  HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID, const IUnknown*) override {
    return notProvided("ID3D11Device::SetPrivateDataInterface");
  }
  D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() override {
    VWIN_CALL_INFALLIBLE(ID3D11Device::GetFeatureLevel);
    checkAlive("ID3D11Device::GetFeatureLevel");
    return m_featureLevel;
  }
  UINT STDMETHODCALLTYPE GetCreationFlags() override {
    (void)notProvided("ID3D11Device::GetCreationFlags");
    return 0;
  }
  HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() override {
    return notProvided("ID3D11Device::GetDeviceRemovedReason");
  }
  void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext**) override {
    (void)notProvided("ID3D11Device::GetImmediateContext");
  }
  HRESULT STDMETHODCALLTYPE SetExceptionMode(UINT) override {
    return notProvided("ID3D11Device::SetExceptionMode");
  }
  UINT STDMETHODCALLTYPE GetExceptionMode() override {
    (void)notProvided("ID3D11Device::GetExceptionMode");
    return 0;
  }

 private:
  const std::size_t m_adapter;
  const D3D_FEATURE_LEVEL m_featureLevel;
};

}  // namespace

HRESULT MakeDevice(std::size_t adapter, D3D_FEATURE_LEVEL featureLevel, ID3D11Device** device) {
  return Device::Make<Device>(IID_ID3D11Device, reinterpret_cast<void**>(device), adapter,
                              featureLevel);
}

}  // namespace d3d11
}  // namespace vwin
