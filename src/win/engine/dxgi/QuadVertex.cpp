#include "win/engine/dxgi/QuadVertex.h"

#include "common/Logging.h"

namespace qx {

HRESULT CreateQuad(ID3D11Device* device, const QuadVertex (&vertices)[kQuadVertices],
                   D3D11_USAGE usage, ComPtr<ID3D11Buffer>& quad) {
  D3D11_BUFFER_DESC desc = {};
  desc.ByteWidth = sizeof(vertices);
  desc.Usage = usage;
  desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
  D3D11_SUBRESOURCE_DATA data = {};
  data.pSysMem = vertices;
  return device->CreateBuffer(&desc, &data, quad.Put());
}

D3D11_TEXTURE2D_DESC PictureDesc(std::int32_t width, std::int32_t height) {
  D3D11_TEXTURE2D_DESC desc = {};
  desc.Width = static_cast<UINT>(width);
  desc.Height = static_cast<UINT>(height);
  desc.MipLevels = 1;
  desc.ArraySize = 1;
  desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
  desc.SampleDesc = {1, 0};
  desc.Usage = D3D11_USAGE_DEFAULT;
  return desc;
}

bool CreateShaderResourceView(ID3D11Device* device, ID3D11Texture2D* texture,
                              ComPtr<ID3D11ShaderResourceView>& view) {
  D3D11_TEXTURE2D_DESC textureDesc = {};
  texture->GetDesc(&textureDesc);
  D3D11_SHADER_RESOURCE_VIEW_DESC desc = {};
  desc.Format = textureDesc.Format;
  desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
  desc.Texture2D.MostDetailedMip = textureDesc.MipLevels - 1;
  desc.Texture2D.MipLevels = textureDesc.MipLevels;
  const HRESULT hr = device->CreateShaderResourceView(texture, &desc, view.Put());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "CreateShaderResourceView failed hr:{}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

}  // namespace qx
