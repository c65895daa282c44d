#pragma once

#include <d3d11.h>
#include <dxgi.h>
#include <windows.h>

#include <cstdint>
#include <memory>
#include <new>

#include "src/win/util/ComPtr.h"

// How loops by hand get at a texture of the screen: it is drawn into a target of the
// picture's size, and the rows are copied out of a staging texture. Both are made once.
class PictureDrawing {
 public:
  // `keepsLast`: two pictures take turns, for one who may not show the next one and then
  // repeats the last one, as a window's share must. Throws std::runtime_error when there
  // can be none.
  PictureDrawing(qx::ComPtr<ID3D11Device> device, SIZE picture, bool keepsLast = false);

  bool Draw(ID3D11Texture2D* texture);

 private:
  // Copies between places that lie differently within their pages take longer.
  static constexpr std::align_val_t kPage{4096};
  struct FreePages {
    void operator()(std::uint8_t* bytes) const { ::operator delete[](bytes, kPage); }
  };

  using Pixels = std::unique_ptr<std::uint8_t[], FreePages>;

  Pixels makePixels() const;
  void makeTextures();
  void setPipeline();

  const UINT m_width;
  const UINT m_height;
  Pixels m_argb;
  Pixels m_lastArgb;  // null: nobody needs it
  const qx::ComPtr<ID3D11Device> m_device;
  qx::ComPtr<ID3D11DeviceContext> m_context;
  qx::ComPtr<ID3D11Texture2D> m_target;
  qx::ComPtr<ID3D11RenderTargetView> m_targetView;
  qx::ComPtr<ID3D11Texture2D> m_staging;
  qx::ComPtr<IDXGISurface> m_surface;
  qx::ComPtr<ID3D11VertexShader> m_vertexShader;
  qx::ComPtr<ID3D11PixelShader> m_pixelShader;
  qx::ComPtr<ID3D11InputLayout> m_layout;
  qx::ComPtr<ID3D11Buffer> m_vertices;
  qx::ComPtr<ID3D11SamplerState> m_sampler;
};
