// Direct3D 11.
//
// The interfaces have all their functions in the real order, because slot numbers
// matter; those that nobody here calls are only slots.
#pragma once

#include "d3d11_context.h"

struct ID3D11ClassLinkage;

struct ID3D11Device : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* desc,
                                                 const D3D11_SUBRESOURCE_DATA* initialData,
                                                 ID3D11Buffer** buffer) = 0;
  VWIN_SLOT(CreateTexture1D);
  virtual HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc,
                                                    const D3D11_SUBRESOURCE_DATA* initialData,
                                                    ID3D11Texture2D** texture2D) = 0;
  VWIN_SLOT(CreateTexture3D);
  virtual HRESULT STDMETHODCALLTYPE
  CreateShaderResourceView(ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                           ID3D11ShaderResourceView** view) = 0;
  VWIN_SLOT(CreateUnorderedAccessView);
  virtual HRESULT STDMETHODCALLTYPE
  CreateRenderTargetView(ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                         ID3D11RenderTargetView** view) = 0;
  VWIN_SLOT(CreateDepthStencilView);
  virtual HRESULT STDMETHODCALLTYPE
  CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* inputElementDescs, UINT numElements,
                    const void* shaderBytecodeWithInputSignature, SIZE_T bytecodeLength,
                    ID3D11InputLayout** inputLayout) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateVertexShader(const void* shaderBytecode,
                                                       SIZE_T bytecodeLength,
                                                       ID3D11ClassLinkage* classLinkage,
                                                       ID3D11VertexShader** vertexShader) = 0;
  VWIN_SLOT(CreateGeometryShader);
  VWIN_SLOT(CreateGeometryShaderWithStreamOutput);
  virtual HRESULT STDMETHODCALLTYPE CreatePixelShader(const void* shaderBytecode,
                                                      SIZE_T bytecodeLength,
                                                      ID3D11ClassLinkage* classLinkage,
                                                      ID3D11PixelShader** pixelShader) = 0;
  VWIN_SLOT(CreateHullShader);
  VWIN_SLOT(CreateDomainShader);
  VWIN_SLOT(CreateComputeShader);
  VWIN_SLOT(CreateClassLinkage);
  virtual HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC* blendStateDesc,
                                                     ID3D11BlendState** blendState) = 0;
  VWIN_SLOT(CreateDepthStencilState);
  VWIN_SLOT(CreateRasterizerState);
  virtual HRESULT STDMETHODCALLTYPE CreateSamplerState(const D3D11_SAMPLER_DESC* samplerDesc,
                                                       ID3D11SamplerState** samplerState) = 0;
  VWIN_SLOT(CreateQuery);
  VWIN_SLOT(CreatePredicate);
  VWIN_SLOT(CreateCounter);
  VWIN_SLOT(CreateDeferredContext);
  VWIN_SLOT(OpenSharedResource);
  VWIN_SLOT(CheckFormatSupport);
  VWIN_SLOT(CheckMultisampleQualityLevels);
  VWIN_SLOT(CheckCounterInfo);
  VWIN_SLOT(CheckCounter);
  VWIN_SLOT(CheckFeatureSupport);
  VWIN_SLOT(GetPrivateData);
  VWIN_SLOT(SetPrivateData);
  VWIN_SLOT(SetPrivateDataInterface);
  virtual D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() = 0;
  VWIN_SLOT(GetCreationFlags);
  virtual HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() = 0;
  virtual void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** immediateContext) = 0;
  VWIN_SLOT(SetExceptionMode);
  VWIN_SLOT(GetExceptionMode);
};
DEFINE_GUID(IID_ID3D11Device, 0xdb6f6ddb, 0xac77, 0x4e88, 0x82, 0x53, 0x81, 0x9d, 0xf9, 0xbb, 0xf1,
            0x40);

extern "C" HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType,
                                            HMODULE software, UINT flags,
                                            const D3D_FEATURE_LEVEL* featureLevels,
                                            UINT featureLevelCount, UINT sdkVersion,
                                            ID3D11Device** device, D3D_FEATURE_LEVEL* featureLevel,
                                            ID3D11DeviceContext** context);
