#include "PictureDrawing.h"

#include <cfloat>
#include <cstring>
#include <iterator>
#include <utility>

#include "Duplication.h"
#include "src/win/engine/dxgi/shaders/QuadShaders.h"

using qx::ComPtr;

namespace {

struct Vertex {
  float x, y, z, u, v;
};
constexpr Vertex kQuad[] = {{-1, -1, 0, 0, 1}, {-1, 1, 0, 0, 0}, {1, -1, 0, 1, 1}, {1, 1, 0, 1, 0}};

}  // namespace

PictureDrawing::PictureDrawing(ComPtr<ID3D11Device> device, SIZE picture, bool keepsLast)
    : m_width(static_cast<UINT>(picture.cx)),
      m_height(static_cast<UINT>(picture.cy)),
      m_argb(makePixels()),
      m_lastArgb(keepsLast ? makePixels() : nullptr),
      m_device(std::move(device)) {
  m_device->GetImmediateContext(m_context.Put());
  makeTextures();
  setPipeline();
}

PictureDrawing::Pixels PictureDrawing::makePixels() const {
  return Pixels(new (kPage) std::uint8_t[std::size_t{m_width} * m_height * 4]());
}

void PictureDrawing::makeTextures() {
  D3D11_TEXTURE2D_DESC desc = {};
  desc.Width = m_width;
  desc.Height = m_height;
  desc.MipLevels = 1;
  desc.ArraySize = 1;
  desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
  desc.SampleDesc = {1, 0};
  desc.BindFlags = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE;
  ID3D11Device& device = *m_device.Get();
  Check(device.CreateTexture2D(&desc, nullptr, m_target.Put()));
  Check(device.CreateRenderTargetView(m_target.Get(), nullptr, m_targetView.Put()));
  desc.Usage = D3D11_USAGE_STAGING;
  desc.BindFlags = 0;
  desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
  Check(device.CreateTexture2D(&desc, nullptr, m_staging.Put()));
  Check(m_staging.As(IID_IDXGISurface, m_surface));
}

// Nothing of it changes from picture to picture but the texture that is drawn.
void PictureDrawing::setPipeline() {
  ID3D11Device& device = *m_device.Get();
  ID3D11DeviceContext& context = *m_context.Get();
  Check(device.CreateVertexShader(qx::kQuadVertexShader, sizeof(qx::kQuadVertexShader), nullptr,
                                  m_vertexShader.Put()));
  context.VSSetShader(m_vertexShader.Get(), nullptr, 0);
  Check(device.CreatePixelShader(qx::kQuadPixelShader, sizeof(qx::kQuadPixelShader), nullptr,
                                 m_pixelShader.Put()));
  context.PSSetShader(m_pixelShader.Get(), nullptr, 0);

  const D3D11_INPUT_ELEMENT_DESC elements[] = {
      {"POSITION", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
      {"TEXCOORD", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 12, D3D11_INPUT_PER_VERTEX_DATA, 0},
  };
  Check(device.CreateInputLayout(elements, 2, qx::kQuadVertexShader, sizeof(qx::kQuadVertexShader),
                                 m_layout.Put()));
  context.IASetInputLayout(m_layout.Get());
  context.IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);

  D3D11_BUFFER_DESC bufferDesc = {};
  bufferDesc.ByteWidth = sizeof(kQuad);
  bufferDesc.Usage = D3D11_USAGE_IMMUTABLE;
  bufferDesc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
  D3D11_SUBRESOURCE_DATA data = {};
  data.pSysMem = kQuad;
  Check(device.CreateBuffer(&bufferDesc, &data, m_vertices.Put()));
  ID3D11Buffer* const vertices = m_vertices.Get();
  const UINT stride = sizeof(Vertex);
  const UINT offset = 0;
  context.IASetVertexBuffers(0, 1, &vertices, &stride, &offset);

  D3D11_SAMPLER_DESC samplerDesc = {};
  samplerDesc.Filter = D3D11_FILTER_ANISOTROPIC;
  samplerDesc.AddressU = D3D11_TEXTURE_ADDRESS_CLAMP;
  samplerDesc.AddressV = D3D11_TEXTURE_ADDRESS_CLAMP;
  samplerDesc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
  samplerDesc.MaxAnisotropy = 16;
  samplerDesc.ComparisonFunc = D3D11_COMPARISON_NEVER;
  samplerDesc.MaxLOD = FLT_MAX;
  Check(device.CreateSamplerState(&samplerDesc, m_sampler.Put()));
  ID3D11SamplerState* const sampler = m_sampler.Get();
  context.PSSetSamplers(0, 1, &sampler);

  const D3D11_VIEWPORT viewport = {0, 0, static_cast<FLOAT>(m_width), static_cast<FLOAT>(m_height),
                                   0, 1};
  context.RSSetViewports(1, &viewport);
  ID3D11RenderTargetView* const target = m_targetView.Get();
  context.OMSetRenderTargets(1, &target, nullptr);
}

bool PictureDrawing::Draw(ID3D11Texture2D* texture) {
  D3D11_SHADER_RESOURCE_VIEW_DESC desc = {};
  desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
  desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
  desc.Texture2D.MipLevels = 1;
  ComPtr<ID3D11ShaderResourceView> view;
  if (FAILED(m_device->CreateShaderResourceView(texture, &desc, view.Put()))) {
    return false;
  }
  ID3D11ShaderResourceView* const source = view.Get();
  m_context->PSSetShaderResources(0, 1, &source);
  m_context->Draw(static_cast<UINT>(std::size(kQuad)), 0);
  m_context->CopyResource(m_staging.Get(), m_target.Get());
  DXGI_MAPPED_RECT mapped = {};
  if (FAILED(m_surface->Map(&mapped, DXGI_MAP_READ))) {
    return false;
  }
  if (m_lastArgb) {
    m_argb.swap(m_lastArgb);
  }
  const std::size_t rowBytes = std::size_t{m_width} * 4;
  for (UINT row = 0; row < m_height; ++row) {
    std::memcpy(m_argb.get() + row * rowBytes, mapped.pBits + std::ptrdiff_t{mapped.Pitch} * row,
                rowBytes);
  }
  m_surface->Unmap();
  return true;
}
