#include "win/engine/mag/MagPicture.h"

#include <cstddef>
#include <cstring>

#include "common/Logging.h"
#include "win/engine/mag/Direct3D9Hook.h"

namespace qx {

void MagPicture::Ask(const Wish& wish, ScreenCaptureFrame& frame) {
  const std::lock_guard lock(m_mutex);
  m_wish = wish;
  m_currentFrame = &frame;
  m_outcome = Outcome::Nothing;
}

MagPicture::Outcome MagPicture::Take() {
  const std::lock_guard lock(m_mutex);
  m_currentFrame = nullptr;
  return m_outcome;
}

void MagPicture::Render(IDirect3DDevice9* device, IDirect3DSurface9* source) {
  const DeferredLog deferredLog;
  const std::lock_guard lock(m_mutex);
  if (!m_currentFrame || m_outcome != Outcome::Nothing) {
    return;
  }
  if (!source) {
    QX_LOG_ERROR("pSourceSurface is nullptr");
    return;
  }
  updateSurfaces(device);
  if (!m_renderTarget || !m_offscreenSurface) {
    QX_LOG_ERROR("CreateRenderTarget CreateOffscreenPlainSurface failed");
    return;
  }
  if (fetch(device, source)) {
    copySurfaceToFrame();
  }
}

// A magnifier that lost its device makes another one.
void MagPicture::updateSurfaces(IDirect3DDevice9* device) {
  if (m_renderTarget && m_offscreenSurface && device == m_device &&
      m_wish.width == m_surfaceWidth && m_wish.height == m_surfaceHeight) {
    return;
  }
  m_device = device;
  m_surfaceWidth = m_wish.width;
  m_surfaceHeight = m_wish.height;
  createSurfaces(device);
}

void MagPicture::createSurfaces(IDirect3DDevice9* device) {
  if (!device) {
    QX_LOG_ERROR("pD3Divece9Ex is nullptr");
    return;
  }
  m_offscreenSurface.Reset();
  const auto width = static_cast<UINT>(m_surfaceWidth);
  const auto height = static_cast<UINT>(m_surfaceHeight);
  HRESULT hr = device->CreateRenderTarget(width, height, D3DFMT_A8R8G8B8, D3DMULTISAMPLE_NONE, 0,
                                          FALSE, m_renderTarget.Put(), nullptr);
  if (!m_renderTarget) {
    QX_LOG_ERROR("CreateRenderTarget failed:{}", static_cast<std::int32_t>(hr));
    return;
  }
  hr = device->CreateOffscreenPlainSurface(width, height, D3DFMT_A8R8G8B8, D3DPOOL_SYSTEMMEM,
                                           m_offscreenSurface.Put(), nullptr);
  if (!m_offscreenSurface) {
    m_renderTarget.Reset();
    QX_LOG_ERROR("CreateOffscreenPlainSurface failed:{}", static_cast<std::int32_t>(hr));
  }
}

// False when the readable surface does not hold this very picture.
bool MagPicture::fetch(IDirect3DDevice9* device, IDirect3DSurface9* source) {
  const std::int32_t width = m_wish.source.right - m_wish.source.left;
  const std::int32_t height = m_wish.source.bottom - m_wish.source.top;
  const bool scaled = width != m_surfaceWidth || height != m_surfaceHeight || m_wish.needScale;
  if (scaled && !scale(device, source)) {
    return false;
  }
  const HRESULT hr =
      device->GetRenderTargetData(scaled ? m_renderTarget.Get() : source, m_offscreenSurface.Get());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "GetRenderTargetData failed:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  if (m_wish.needScale) {
    QX_LOG_INFO("qx-sc:frame:scale by GPU m_needScale is {}", m_wish.needScale);
  }
  return true;
}

bool MagPicture::scale(IDirect3DDevice9* device, IDirect3DSurface9* source) {
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:scale by GPU {}x{} -> {}x{}",
                 static_cast<std::int32_t>(m_wish.source.right - m_wish.source.left),
                 static_cast<std::int32_t>(m_wish.source.bottom - m_wish.source.top),
                 m_surfaceWidth, m_surfaceHeight);
  const auto stretchRect = Direct3D9Hook::Instance().GetStretchRectOriginal();
  const HRESULT hr =
      stretchRect(device, source, nullptr, m_renderTarget.Get(), nullptr, D3DTEXF_LINEAR);
  if (FAILED(hr)) {
    QX_LOG_ERROR("D3D StretchRect failed:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

void MagPicture::copySurfaceToFrame() {
  if (m_wish.showCursor) {
    m_cursor.Draw({m_offscreenSurface.Get(), m_surfaceWidth, m_surfaceHeight, m_wish.source});
  }
  D3DLOCKED_RECT locked = {};
  const HRESULT hr = m_offscreenSurface->LockRect(&locked, nullptr, 0);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "LockRect failed: {}", static_cast<std::int32_t>(hr));
    return;
  }
  if (m_currentFrame->Resize(static_cast<std::uint32_t>(m_surfaceWidth),
                             static_cast<std::uint32_t>(m_surfaceHeight))) {
    const std::size_t rowBytes = static_cast<std::size_t>(m_surfaceWidth) * 4;
    std::uint8_t* to = m_currentFrame->Buffer().get();
    const auto* from = static_cast<const std::uint8_t*>(locked.pBits);
    for (std::int32_t row = 0; row < m_surfaceHeight; ++row) {
      std::memcpy(to, from, rowBytes);
      to += rowBytes;
      from += locked.Pitch;
    }
    m_outcome = Outcome::Arrived;
  } else {
    QX_LOG_WARN("resize buffer failed, use last frame");
    m_outcome = Outcome::NoRoom;
  }
  static_cast<void>(m_offscreenSurface->UnlockRect());
}

}  // namespace qx
