// Direct3D 11.
//
// ID3D11Device is complete and in the real order, because slot numbers matter; types
// that only unused functions take stay incomplete.
#pragma once

#include "d3dcommon.h"
#include "dxgi.h"

#define D3D11_SDK_VERSION 7

typedef enum D3D11_CREATE_DEVICE_FLAG {
  D3D11_CREATE_DEVICE_BGRA_SUPPORT = 0x20
} D3D11_CREATE_DEVICE_FLAG;
typedef enum D3D11_FEATURE { D3D11_FEATURE_THREADING = 0 } D3D11_FEATURE;
typedef enum D3D11_COUNTER_TYPE { D3D11_COUNTER_TYPE_FLOAT32 = 0 } D3D11_COUNTER_TYPE;

struct D3D11_BLEND_DESC;
struct D3D11_BUFFER_DESC;
struct D3D11_COUNTER_DESC;
struct D3D11_COUNTER_INFO;
struct D3D11_DEPTH_STENCIL_DESC;
struct D3D11_DEPTH_STENCIL_VIEW_DESC;
struct D3D11_INPUT_ELEMENT_DESC;
struct D3D11_QUERY_DESC;
struct D3D11_RASTERIZER_DESC;
struct D3D11_RENDER_TARGET_VIEW_DESC;
struct D3D11_SAMPLER_DESC;
struct D3D11_SHADER_RESOURCE_VIEW_DESC;
struct D3D11_SO_DECLARATION_ENTRY;
struct D3D11_SUBRESOURCE_DATA;
struct D3D11_TEXTURE1D_DESC;
struct D3D11_TEXTURE2D_DESC;
struct D3D11_TEXTURE3D_DESC;
struct D3D11_UNORDERED_ACCESS_VIEW_DESC;
struct ID3D11BlendState;
struct ID3D11Buffer;
struct ID3D11ClassLinkage;
struct ID3D11ComputeShader;
struct ID3D11Counter;
struct ID3D11DepthStencilState;
struct ID3D11DepthStencilView;
struct ID3D11DeviceContext;
struct ID3D11DomainShader;
struct ID3D11GeometryShader;
struct ID3D11HullShader;
struct ID3D11InputLayout;
struct ID3D11PixelShader;
struct ID3D11Predicate;
struct ID3D11Query;
struct ID3D11RasterizerState;
struct ID3D11RenderTargetView;
struct ID3D11Resource;
struct ID3D11SamplerState;
struct ID3D11ShaderResourceView;
struct ID3D11Texture1D;
struct ID3D11Texture2D;
struct ID3D11Texture3D;
struct ID3D11UnorderedAccessView;
struct ID3D11VertexShader;

struct ID3D11Device : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* desc,
                                                 const D3D11_SUBRESOURCE_DATA* initialData,
                                                 ID3D11Buffer** buffer) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateTexture1D(const D3D11_TEXTURE1D_DESC* desc,
                                                    const D3D11_SUBRESOURCE_DATA* initialData,
                                                    ID3D11Texture1D** texture1D) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc,
                                                    const D3D11_SUBRESOURCE_DATA* initialData,
                                                    ID3D11Texture2D** texture2D) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateTexture3D(const D3D11_TEXTURE3D_DESC* desc,
                                                    const D3D11_SUBRESOURCE_DATA* initialData,
                                                    ID3D11Texture3D** texture3D) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateShaderResourceView(ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                           ID3D11ShaderResourceView** view) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateUnorderedAccessView(ID3D11Resource* resource, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                            ID3D11UnorderedAccessView** view) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateRenderTargetView(ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                         ID3D11RenderTargetView** view) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateDepthStencilView(ID3D11Resource* resource, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc,
                         ID3D11DepthStencilView** depthStencilView) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* inputElementDescs, UINT numElements,
                    const void* shaderBytecodeWithInputSignature, SIZE_T bytecodeLength,
                    ID3D11InputLayout** inputLayout) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateVertexShader(const void* shaderBytecode,
                                                       SIZE_T bytecodeLength,
                                                       ID3D11ClassLinkage* classLinkage,
                                                       ID3D11VertexShader** vertexShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateGeometryShader(const void* shaderBytecode,
                                                         SIZE_T bytecodeLength,
                                                         ID3D11ClassLinkage* classLinkage,
                                                         ID3D11GeometryShader** geometryShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateGeometryShaderWithStreamOutput(
      const void* shaderBytecode, SIZE_T bytecodeLength,
      const D3D11_SO_DECLARATION_ENTRY* soDeclaration, UINT numEntries, const UINT* bufferStrides,
      UINT numStrides, UINT rasterizedStream, ID3D11ClassLinkage* classLinkage,
      ID3D11GeometryShader** geometryShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreatePixelShader(const void* shaderBytecode,
                                                      SIZE_T bytecodeLength,
                                                      ID3D11ClassLinkage* classLinkage,
                                                      ID3D11PixelShader** pixelShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateHullShader(const void* shaderBytecode,
                                                     SIZE_T bytecodeLength,
                                                     ID3D11ClassLinkage* classLinkage,
                                                     ID3D11HullShader** hullShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateDomainShader(const void* shaderBytecode,
                                                       SIZE_T bytecodeLength,
                                                       ID3D11ClassLinkage* classLinkage,
                                                       ID3D11DomainShader** domainShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateComputeShader(const void* shaderBytecode,
                                                        SIZE_T bytecodeLength,
                                                        ID3D11ClassLinkage* classLinkage,
                                                        ID3D11ComputeShader** computeShader) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateClassLinkage(ID3D11ClassLinkage** linkage) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC* blendStateDesc,
                                                     ID3D11BlendState** blendState) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* depthStencilDesc,
                          ID3D11DepthStencilState** depthStencilState) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateRasterizerState(
      const D3D11_RASTERIZER_DESC* rasterizerDesc, ID3D11RasterizerState** rasterizerState) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateSamplerState(const D3D11_SAMPLER_DESC* samplerDesc,
                                                       ID3D11SamplerState** samplerState) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC* queryDesc,
                                                ID3D11Query** query) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreatePredicate(const D3D11_QUERY_DESC* predicateDesc,
                                                    ID3D11Predicate** predicate) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateCounter(const D3D11_COUNTER_DESC* counterDesc,
                                                  ID3D11Counter** counter) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateDeferredContext(UINT contextFlags, ID3D11DeviceContext** deferredContext) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenSharedResource(HANDLE handle, REFIID returnedInterface,
                                                       void** resource) = 0;
  virtual HRESULT STDMETHODCALLTYPE CheckFormatSupport(DXGI_FORMAT format, UINT* formatSupport) = 0;
  virtual HRESULT STDMETHODCALLTYPE CheckMultisampleQualityLevels(DXGI_FORMAT format,
                                                                  UINT sampleCount,
                                                                  UINT* numQualityLevels) = 0;
  virtual void STDMETHODCALLTYPE CheckCounterInfo(D3D11_COUNTER_INFO* counterInfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE CheckCounter(const D3D11_COUNTER_DESC* desc,
                                                 D3D11_COUNTER_TYPE* type, UINT* activeCounters,
                                                 LPSTR name, UINT* nameLength, LPSTR units,
                                                 UINT* unitsLength, LPSTR description,
                                                 UINT* descriptionLength) = 0;
  virtual HRESULT STDMETHODCALLTYPE CheckFeatureSupport(D3D11_FEATURE feature,
                                                        void* featureSupportData,
                                                        UINT featureSupportDataSize) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, UINT* dataSize, void* data) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, UINT dataSize,
                                                   const void* data) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID guid, const IUnknown* data) = 0;
  virtual D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() = 0;
  virtual UINT STDMETHODCALLTYPE GetCreationFlags() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() = 0;
  virtual void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** immediateContext) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetExceptionMode(UINT raiseFlags) = 0;
  virtual UINT STDMETHODCALLTYPE GetExceptionMode() = 0;
};
DEFINE_GUID(IID_ID3D11Device, 0xdb6f6ddb, 0xac77, 0x4e88, 0x82, 0x53, 0x81, 0x9d, 0xf9, 0xbb, 0xf1,
            0x40);

extern "C" HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType,
                                            HMODULE software, UINT flags,
                                            const D3D_FEATURE_LEVEL* featureLevels,
                                            UINT featureLevelCount, UINT sdkVersion,
                                            ID3D11Device** device, D3D_FEATURE_LEVEL* featureLevel,
                                            ID3D11DeviceContext** context);
