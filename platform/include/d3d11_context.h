// The immediate context of a Direct3D 11 device. Included by d3d11.h.
#pragma once

#include "d3d11_objects.h"

struct ID3D11ClassInstance;
struct ID3D11DepthStencilView;

struct ID3D11DeviceContext : ID3D11DeviceChild {
  VWIN_SLOT(VSSetConstantBuffers);
  virtual void STDMETHODCALLTYPE PSSetShaderResources(
      UINT startSlot, UINT viewCount, ID3D11ShaderResourceView* const* shaderResourceViews) = 0;
  virtual void STDMETHODCALLTYPE PSSetShader(ID3D11PixelShader* pixelShader,
                                             ID3D11ClassInstance* const* classInstances,
                                             UINT classInstanceCount) = 0;
  virtual void STDMETHODCALLTYPE PSSetSamplers(UINT startSlot, UINT samplerCount,
                                               ID3D11SamplerState* const* samplers) = 0;
  virtual void STDMETHODCALLTYPE VSSetShader(ID3D11VertexShader* vertexShader,
                                             ID3D11ClassInstance* const* classInstances,
                                             UINT classInstanceCount) = 0;
  VWIN_SLOT(DrawIndexed);
  virtual void STDMETHODCALLTYPE Draw(UINT vertexCount, UINT startVertexLocation) = 0;
  virtual HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* resource, UINT subresource,
                                        D3D11_MAP mapType, UINT mapFlags,
                                        D3D11_MAPPED_SUBRESOURCE* mappedResource) = 0;
  virtual void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT subresource) = 0;
  VWIN_SLOT(PSSetConstantBuffers);
  virtual void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* inputLayout) = 0;
  virtual void STDMETHODCALLTYPE IASetVertexBuffers(UINT startSlot, UINT bufferCount,
                                                    ID3D11Buffer* const* vertexBuffers,
                                                    const UINT* strides, const UINT* offsets) = 0;
  VWIN_SLOT(IASetIndexBuffer);
  VWIN_SLOT(DrawIndexedInstanced);
  VWIN_SLOT(DrawInstanced);
  VWIN_SLOT(GSSetConstantBuffers);
  VWIN_SLOT(GSSetShader);
  virtual void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology) = 0;
  VWIN_SLOT(VSSetShaderResources);
  VWIN_SLOT(VSSetSamplers);
  VWIN_SLOT(Begin);
  VWIN_SLOT(End);
  VWIN_SLOT(GetData);
  VWIN_SLOT(SetPredication);
  VWIN_SLOT(GSSetShaderResources);
  VWIN_SLOT(GSSetSamplers);
  virtual void STDMETHODCALLTYPE
  OMSetRenderTargets(UINT viewCount, ID3D11RenderTargetView* const* renderTargetViews,
                     ID3D11DepthStencilView* depthStencilView) = 0;
  VWIN_SLOT(OMSetRenderTargetsAndUnorderedAccessViews);
  virtual void STDMETHODCALLTYPE OMSetBlendState(ID3D11BlendState* blendState,
                                                 const FLOAT blendFactor[4], UINT sampleMask) = 0;
  VWIN_SLOT(OMSetDepthStencilState);
  VWIN_SLOT(SOSetTargets);
  VWIN_SLOT(DrawAuto);
  VWIN_SLOT(DrawIndexedInstancedIndirect);
  VWIN_SLOT(DrawInstancedIndirect);
  VWIN_SLOT(Dispatch);
  VWIN_SLOT(DispatchIndirect);
  VWIN_SLOT(RSSetState);
  virtual void STDMETHODCALLTYPE RSSetViewports(UINT viewportCount,
                                                const D3D11_VIEWPORT* viewports) = 0;
  VWIN_SLOT(RSSetScissorRects);
  virtual void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* dstResource,
                                                       UINT dstSubresource, UINT dstX, UINT dstY,
                                                       UINT dstZ, ID3D11Resource* srcResource,
                                                       UINT srcSubresource,
                                                       const D3D11_BOX* srcBox) = 0;
  virtual void STDMETHODCALLTYPE CopyResource(ID3D11Resource* dstResource,
                                              ID3D11Resource* srcResource) = 0;
  VWIN_SLOT(UpdateSubresource);
  VWIN_SLOT(CopyStructureCount);
  VWIN_SLOT(ClearRenderTargetView);
  VWIN_SLOT(ClearUnorderedAccessViewUint);
  VWIN_SLOT(ClearUnorderedAccessViewFloat);
  VWIN_SLOT(ClearDepthStencilView);
  VWIN_SLOT(GenerateMips);
  VWIN_SLOT(SetResourceMinLOD);
  VWIN_SLOT(GetResourceMinLOD);
  VWIN_SLOT(ResolveSubresource);
  VWIN_SLOT(ExecuteCommandList);
  VWIN_SLOT(HSSetShaderResources);
  VWIN_SLOT(HSSetShader);
  VWIN_SLOT(HSSetSamplers);
  VWIN_SLOT(HSSetConstantBuffers);
  VWIN_SLOT(DSSetShaderResources);
  VWIN_SLOT(DSSetShader);
  VWIN_SLOT(DSSetSamplers);
  VWIN_SLOT(DSSetConstantBuffers);
  VWIN_SLOT(CSSetShaderResources);
  VWIN_SLOT(CSSetUnorderedAccessViews);
  VWIN_SLOT(CSSetShader);
  VWIN_SLOT(CSSetSamplers);
  VWIN_SLOT(CSSetConstantBuffers);
  VWIN_SLOT(VSGetConstantBuffers);
  VWIN_SLOT(PSGetShaderResources);
  VWIN_SLOT(PSGetShader);
  VWIN_SLOT(PSGetSamplers);
  VWIN_SLOT(VSGetShader);
  VWIN_SLOT(PSGetConstantBuffers);
  VWIN_SLOT(IAGetInputLayout);
  VWIN_SLOT(IAGetVertexBuffers);
  VWIN_SLOT(IAGetIndexBuffer);
  VWIN_SLOT(GSGetConstantBuffers);
  VWIN_SLOT(GSGetShader);
  VWIN_SLOT(IAGetPrimitiveTopology);
  VWIN_SLOT(VSGetShaderResources);
  VWIN_SLOT(VSGetSamplers);
  VWIN_SLOT(GetPredication);
  VWIN_SLOT(GSGetShaderResources);
  VWIN_SLOT(GSGetSamplers);
  VWIN_SLOT(OMGetRenderTargets);
  VWIN_SLOT(OMGetRenderTargetsAndUnorderedAccessViews);
  VWIN_SLOT(OMGetBlendState);
  VWIN_SLOT(OMGetDepthStencilState);
  VWIN_SLOT(SOGetTargets);
  VWIN_SLOT(RSGetState);
  virtual void STDMETHODCALLTYPE RSGetViewports(UINT* viewportCount, D3D11_VIEWPORT* viewports) = 0;
  VWIN_SLOT(RSGetScissorRects);
  VWIN_SLOT(HSGetShaderResources);
  VWIN_SLOT(HSGetShader);
  VWIN_SLOT(HSGetSamplers);
  VWIN_SLOT(HSGetConstantBuffers);
  VWIN_SLOT(DSGetShaderResources);
  VWIN_SLOT(DSGetShader);
  VWIN_SLOT(DSGetSamplers);
  VWIN_SLOT(DSGetConstantBuffers);
  VWIN_SLOT(CSGetShaderResources);
  VWIN_SLOT(CSGetUnorderedAccessViews);
  VWIN_SLOT(CSGetShader);
  VWIN_SLOT(CSGetSamplers);
  VWIN_SLOT(CSGetConstantBuffers);
  VWIN_SLOT(ClearState);
  VWIN_SLOT(Flush);
  VWIN_SLOT(GetType);
  VWIN_SLOT(GetContextFlags);
  VWIN_SLOT(FinishCommandList);
};
DEFINE_GUID(IID_ID3D11DeviceContext, 0xc0bfa96c, 0xe089, 0x44fb, 0x8e, 0xaf, 0x26, 0xf8, 0x79, 0x61,
            0x90, 0xda);
