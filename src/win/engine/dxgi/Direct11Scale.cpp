#include "win/engine/dxgi/Direct11Scale.h"

#include <cfloat>
#include <cstddef>

#include "common/Logging.h"
#include "win/engine/dxgi/QuadVertex.h"
#include "win/engine/dxgi/shaders/QuadShaders.h"

namespace qx {
namespace {

// Where the corners of the picture lie in the texture of a monitor that is turned.
struct TextureCorners {
  float u[kQuadVertices];
  float v[kQuadVertices];
};

TextureCorners CornersFor(DXGI_MODE_ROTATION rotation) {
  switch (rotation) {
    case DXGI_MODE_ROTATION_ROTATE90:
      return {{1, 0, 1, 0}, {1, 1, 0, 0}};
    case DXGI_MODE_ROTATION_ROTATE180:
      return {{1, 1, 0, 0}, {0, 1, 0, 1}};
    case DXGI_MODE_ROTATION_ROTATE270:
      return {{0, 1, 0, 1}, {0, 0, 1, 1}};
    default:
      return {{0, 0, 1, 1}, {1, 0, 1, 0}};
  }
}

}  // namespace

bool Direct11Scale::Init(const ComPtr<ID3D11Device>& device, DXGI_MODE_ROTATION rotation) {
  if (m_device) {
    return true;
  }
  if (!device) {
    QX_LOG_ERROR("invalid param, device is null");
    return false;
  }
  m_device = device;
  m_device->GetImmediateContext(m_context.Put());
  m_rotation = rotation;
  struct Step {
    bool (Direct11Scale::*run)();
    const char* failure;
  };
  constexpr Step kSteps[] = {
      {&Direct11Scale::initShader, "initShader failed"},
      {&Direct11Scale::initVertexBuffers, "initVertexBuffers failed"},
      {&Direct11Scale::initInputLayout, "initInputLayout failed"},
      {&Direct11Scale::initSampler, "initSampler failed"},
      {&Direct11Scale::initBlend, "initBlend failed"},
  };
  for (const Step& step : kSteps) {
    if (!(this->*step.run)()) {
      QX_LOG_ERROR("{}", step.failure);
      Release();
      return false;
    }
  }
  m_context->VSSetShader(m_vertexShader.Get(), nullptr, 0);
  m_context->PSSetShader(m_pixelShader.Get(), nullptr, 0);
  ID3D11SamplerState* const sampler = m_samplerState.Get();
  m_context->PSSetSamplers(0, 1, &sampler);
  m_context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
  m_cursorRender = std::make_unique<CursorRender>(m_device, m_context);
  return true;
}

void Direct11Scale::Release() {
  m_cursorRender.reset();
  m_blendState.Reset();
  m_samplerState.Reset();
  m_inputLayout.Reset();
  m_vertexBuffer.Reset();
  m_pixelShader.Reset();
  m_vertexShader.Reset();
  m_context.Reset();
  m_device.Reset();
}

bool Direct11Scale::initShader() {
  HRESULT hr = m_device->CreateVertexShader(kQuadVertexShader, sizeof(kQuadVertexShader), nullptr,
                                            m_vertexShader.Put());
  if (FAILED(hr)) {
    QX_LOG_ERROR("CreateVertexShader failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  hr = m_device->CreatePixelShader(kQuadPixelShader, sizeof(kQuadPixelShader), nullptr,
                                   m_pixelShader.Put());
  if (FAILED(hr)) {
    QX_LOG_ERROR("CreatePixelShader failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool Direct11Scale::initVertexBuffers() {
  const TextureCorners corners = CornersFor(m_rotation);
  const QuadVertex vertices[kQuadVertices] = {
      {-1, -1, 0, corners.u[0], corners.v[0]},
      {-1, 1, 0, corners.u[1], corners.v[1]},
      {1, -1, 0, corners.u[2], corners.v[2]},
      {1, 1, 0, corners.u[3], corners.v[3]},
  };
  const HRESULT hr = CreateQuad(m_device.Get(), vertices, D3D11_USAGE_IMMUTABLE, m_vertexBuffer);
  if (FAILED(hr)) {
    QX_LOG_ERROR("CreateBuffer failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool Direct11Scale::initInputLayout() {
  const D3D11_INPUT_ELEMENT_DESC elements[] = {
      {"POSITION", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, offsetof(QuadVertex, x),
       D3D11_INPUT_PER_VERTEX_DATA, 0},
      {"TEXCOORD", 0, DXGI_FORMAT_R32G32_FLOAT, 0, offsetof(QuadVertex, u),
       D3D11_INPUT_PER_VERTEX_DATA, 0},
  };
  const HRESULT hr = m_device->CreateInputLayout(elements, 2, kQuadVertexShader,
                                                 sizeof(kQuadVertexShader), m_inputLayout.Put());
  if (FAILED(hr)) {
    QX_LOG_ERROR("CreateInputLayout failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  m_context->IASetInputLayout(m_inputLayout.Get());
  return true;
}

bool Direct11Scale::initSampler() {
  D3D11_SAMPLER_DESC desc = {};
  desc.Filter = D3D11_FILTER_ANISOTROPIC;
  desc.AddressU = D3D11_TEXTURE_ADDRESS_CLAMP;
  desc.AddressV = D3D11_TEXTURE_ADDRESS_CLAMP;
  desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
  desc.MaxAnisotropy = 16;
  desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
  desc.MaxLOD = FLT_MAX;
  const HRESULT hr = m_device->CreateSamplerState(&desc, m_samplerState.Put());
  if (FAILED(hr)) {
    QX_LOG_ERROR("CreateSamplerState failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool Direct11Scale::initBlend() {
  D3D11_BLEND_DESC desc = {};
  D3D11_RENDER_TARGET_BLEND_DESC& target = desc.RenderTarget[0];
  target.BlendEnable = TRUE;
  target.SrcBlend = D3D11_BLEND_SRC_ALPHA;
  target.DestBlend = D3D11_BLEND_INV_SRC_ALPHA;
  target.BlendOp = D3D11_BLEND_OP_ADD;
  target.SrcBlendAlpha = D3D11_BLEND_ONE;
  target.DestBlendAlpha = D3D11_BLEND_ZERO;
  target.BlendOpAlpha = D3D11_BLEND_OP_ADD;
  target.RenderTargetWriteMask = D3D11_COLOR_WRITE_ENABLE_ALL;
  const HRESULT hr = m_device->CreateBlendState(&desc, m_blendState.Put());
  if (FAILED(hr)) {
    QX_LOG_ERROR("CreateBlendState failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool Direct11Scale::createRenderTarget(std::int32_t width, std::int32_t height,
                                       RenderTarget& target) {
  D3D11_TEXTURE2D_DESC desc = PictureDesc(width, height);
  desc.BindFlags = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE;
  HRESULT hr = m_device->CreateTexture2D(&desc, nullptr, target.texture.Put());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "CreateTexture2D failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  hr = m_device->CreateRenderTargetView(target.texture.Get(), nullptr, target.view.Put());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "CreateRenderTargetView failed hr:{}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool Direct11Scale::Scale(ID3D11Texture2D* source, ComPtr<ID3D11Texture2D>& target,
                          std::int32_t sourceWidth, std::int32_t sourceHeight,
                          std::int32_t targetWidth, std::int32_t targetHeight, bool withCursor) {
  if (!m_device) {
    QX_LOG_INFO("need init first");
    return false;
  }
  target.Reset();
  ComPtr<ID3D11ShaderResourceView> sourceView;
  if (!CreateShaderResourceView(m_device.Get(), source, sourceView)) {
    QX_LOG_LIMITED(LogLevelError, "createShaderResourceView failed");
    return false;
  }
  RenderTarget output;
  if (!createRenderTarget(targetWidth, targetHeight, output)) {
    QX_LOG_LIMITED(LogLevelError, "createRenderTargetView failed");
    return false;
  }
  D3D11_VIEWPORT savedViewport = {};
  UINT viewports = 1;
  m_context->RSGetViewports(&viewports, &savedViewport);
  draw(sourceView.Get(), m_vertexBuffer.Get(), output, targetWidth, targetHeight);
  if (withCursor && m_cursorRender && m_cursorRender->IsVisible()) {
    drawCursor(source, sourceView.Get(), sourceWidth, sourceHeight, output, targetWidth,
               targetHeight);
  }
  m_context->RSSetViewports(viewports, &savedViewport);
  // The context holds on to what is bound to it.
  ID3D11ShaderResourceView* const noView = nullptr;
  m_context->PSSetShaderResources(0, 1, &noView);
  m_context->OMSetRenderTargets(0, nullptr, nullptr);
  target = std::move(output.texture);
  return true;
}

void Direct11Scale::draw(ID3D11ShaderResourceView* view, ID3D11Buffer* vertices,
                         const RenderTarget& target, std::int32_t width, std::int32_t height) {
  const D3D11_VIEWPORT viewport = {0, 0, static_cast<FLOAT>(width), static_cast<FLOAT>(height),
                                   0, 1};
  m_context->RSSetViewports(1, &viewport);
  const UINT stride = sizeof(QuadVertex);
  const UINT offset = 0;
  m_context->IASetVertexBuffers(0, 1, &vertices, &stride, &offset);
  ID3D11RenderTargetView* const targetView = target.view.Get();
  m_context->OMSetRenderTargets(1, &targetView, nullptr);
  m_context->PSSetShaderResources(0, 1, &view);
  m_context->Draw(kQuadVertices, 0);
}

// What the cursor looks like depends on the picture below it, upright. Only the cursor is
// blended: what lies below the picture is undefined.
void Direct11Scale::drawCursor(ID3D11Texture2D* source, ID3D11ShaderResourceView* sourceView,
                               std::int32_t sourceWidth, std::int32_t sourceHeight,
                               const RenderTarget& target, std::int32_t targetWidth,
                               std::int32_t targetHeight) {
  RenderTarget upright;
  if (isTurned()) {
    if (!createRenderTarget(sourceWidth, sourceHeight, upright)) {
      return;
    }
    draw(sourceView, m_vertexBuffer.Get(), upright, sourceWidth, sourceHeight);
    source = upright.texture.Get();
  }
  ComPtr<ID3D11ShaderResourceView> cursorView;
  ComPtr<ID3D11Buffer> cursorVertices;
  if (m_cursorRender->Render(source, cursorView, cursorVertices)) {
    const FLOAT factor[4] = {};
    m_context->OMSetBlendState(m_blendState.Get(), factor, 0xFFFFFFFF);
    draw(cursorView.Get(), cursorVertices.Get(), target, targetWidth, targetHeight);
    m_context->OMSetBlendState(nullptr, factor, 0xFFFFFFFF);
  }
}

bool Direct11Scale::isTurned() const {
  return m_rotation == DXGI_MODE_ROTATION_ROTATE90 || m_rotation == DXGI_MODE_ROTATION_ROTATE180 ||
         m_rotation == DXGI_MODE_ROTATION_ROTATE270;
}

bool Direct11Scale::UpdateCursor(IDXGIOutputDuplication* duplication,
                                 const DXGI_OUTDUPL_FRAME_INFO& frameInfo) {
  if (!m_device || !m_cursorRender) {
    QX_LOG_INFO("need init first");
    return false;
  }
  return m_cursorRender->Update(duplication, frameInfo);
}

}  // namespace qx
