#include "win/engine/wgc/PictureReader.h"

#include <cstring>

#include "common/Logging.h"

namespace qx {

bool PictureReader::Init(const ComPtr<ID3D11Device>& device) {
  if (device.Get() != m_device.Get()) {
    m_partTexture.Reset();
    m_mappedTexture.Reset();
    m_device = device;
  }
  return m_direct11Scale.Init(device, DXGI_MODE_ROTATION_UNSPECIFIED);
}

void PictureReader::Release() { m_direct11Scale.Release(); }

PictureReader::Outcome PictureReader::Read(ID3D11Texture2D* captured, const Wish& wish,
                                           ScreenCaptureFrame& frame) {
  ComPtr<ID3D11DeviceContext> context;
  m_device->GetImmediateContext(context.Put());
  ComPtr<ID3D11Texture2D> texture(captured);
  if (!cut(context.Get(), wish.part, texture)) {
    return Outcome::Failed;
  }
  const auto width = static_cast<std::uint32_t>(wish.width);
  const auto height = static_cast<std::uint32_t>(wish.height);
  if (wish.width < 1 || wish.height < 1 || !ScreenCaptureFrame::CanHold(width, height)) {
    QX_LOG_LIMITED(LogLevelError, "no picture can have {}x{}", wish.width, wish.height);
    return Outcome::Failed;
  }
  ComPtr<ID3D11Texture2D> scaled;
  static_cast<void>(m_direct11Scale.Scale(texture.Get(), scaled, wish.rawWidth, wish.rawHeight,
                                          wish.width, wish.height, false));
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:scale by GPU {}x{} -> {}x{}", wish.rawWidth,
                 wish.rawHeight, wish.width, wish.height);
  if (!m_mappedTexture.Fit(m_device.Get(), scaled.Get())) {
    QX_LOG_LIMITED(LogLevelError, "checkCreateTexture failed");
    return Outcome::Failed;
  }
  context->CopyResource(m_mappedTexture.Texture(), scaled.Get());
  D3D11_MAPPED_SUBRESOURCE mapped = {};
  const HRESULT hr = context->Map(m_mappedTexture.Texture(), 0, D3D11_MAP_READ, 0, &mapped);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "Failed to map frame:{}", static_cast<std::int32_t>(hr));
    return Outcome::Failed;
  }
  // Only now: the block that is made ready holds an older picture.
  const bool room = frame.Resize(width, height, wish.last);
  if (room) {
    CopyRows(frame.Buffer().get(), mapped.pData, mapped.RowPitch, width, height);
  } else {
    QX_LOG_LIMITED(LogLevelWarn, "resize buffer failed, use last");
  }
  context->Unmap(m_mappedTexture.Texture(), 0);
  return room ? Outcome::Read : Outcome::NoRoom;
}

// `texture` becomes the part, in a texture that is kept while it fits. Without memory for
// that it stays what it is. False when it shows nothing of the part.
bool PictureReader::cut(ID3D11DeviceContext* context, const RECT& part,
                        ComPtr<ID3D11Texture2D>& texture) {
  D3D11_TEXTURE2D_DESC wanted = {};
  texture->GetDesc(&wanted);
  const RECT whole = {0, 0, static_cast<LONG>(wanted.Width), static_cast<LONG>(wanted.Height)};
  RECT inside = {};
  if (!IntersectRect(&inside, &part, &whole)) {
    QX_LOG_LIMITED(LogLevelWarn, "the picture of {}x{} shows nothing of {},{},{},{}", wanted.Width,
                   wanted.Height, static_cast<std::int32_t>(part.left),
                   static_cast<std::int32_t>(part.top), static_cast<std::int32_t>(part.right),
                   static_cast<std::int32_t>(part.bottom));
    return false;
  }
  if (EqualRect(&inside, &whole)) {
    return true;
  }
  wanted.Width = static_cast<UINT>(inside.right - inside.left);
  wanted.Height = static_cast<UINT>(inside.bottom - inside.top);
  D3D11_TEXTURE2D_DESC present = {};
  if (m_partTexture) {
    m_partTexture->GetDesc(&present);
  }
  if (std::memcmp(&present, &wanted, sizeof(wanted)) != 0) {
    const HRESULT hr = m_device->CreateTexture2D(&wanted, nullptr, m_partTexture.Put());
    if (FAILED(hr)) {
      QX_LOG_LIMITED(LogLevelError, "Failed to CreateTexture2D:{}", static_cast<std::int32_t>(hr));
      return true;
    }
  }
  const D3D11_BOX box = {static_cast<UINT>(inside.left),  static_cast<UINT>(inside.top),    0,
                         static_cast<UINT>(inside.right), static_cast<UINT>(inside.bottom), 1};
  context->CopySubresourceRegion(m_partTexture.Get(), 0, 0, 0, 0, texture.Get(), 0, &box);
  texture = m_partTexture;
  return true;
}

}  // namespace qx
