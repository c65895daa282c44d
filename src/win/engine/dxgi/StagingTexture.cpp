#include "win/engine/dxgi/StagingTexture.h"

#include <cstring>

#include "common/Logging.h"

namespace qx {

bool StagingTexture::Fit(ID3D11Device* device, ID3D11Texture2D* picture) {
  if (!picture) {
    QX_LOG_LIMITED(LogLevelError, "texture is nullptr");
    return false;
  }
  D3D11_TEXTURE2D_DESC wanted = {};
  picture->GetDesc(&wanted);
  wanted.MipLevels = 1;
  wanted.ArraySize = 1;
  wanted.SampleDesc = {1, 0};
  wanted.Usage = D3D11_USAGE_STAGING;
  wanted.BindFlags = 0;
  wanted.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
  wanted.MiscFlags = 0;
  if (m_texture) {
    D3D11_TEXTURE2D_DESC present = {};
    m_texture->GetDesc(&present);
    if (std::memcmp(&present, &wanted, sizeof(wanted)) == 0) {
      return true;
    }
    QX_LOG_INFO("{}", m_kind.recreate);
    Reset();
  }
  QX_LOG_INFO("{}", m_kind.create);
  HRESULT hr = device->CreateTexture2D(&wanted, nullptr, m_texture.Put());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "create a new ID3D11Texture2D as cpu access failed res:{}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  if (!m_kind.withSurface) {
    return true;
  }
  hr = m_texture.As(IID_IDXGISurface, m_surface);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "convert ID3D11Texture2D to IDXGISurface failed res:{}",
                   static_cast<std::int32_t>(hr));
    m_texture.Reset();  // or the next picture would take it for complete
    return false;
  }
  return true;
}

void StagingTexture::Reset() {
  m_surface.Reset();
  m_texture.Reset();
}

void CopyRows(std::uint8_t* to, const void* from, std::size_t pitch, std::uint32_t width,
              std::uint32_t height) {
  const std::size_t rowBytes = std::size_t{width} * 4;
  const auto* row = static_cast<const std::uint8_t*>(from);
  for (std::uint32_t i = 0; i < height; ++i) {
    std::memcpy(to, row, rowBytes);
    to += rowBytes;
    row += pitch;
  }
}

}  // namespace qx
