#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>

#include <cstdint>
#include <memory>

#include "win/engine/dxgi/CursorRender.h"
#include "win/util/ComPtr.h"

namespace qx {

// Draws a texture as one quad that fills a new texture of another size: scales on the
// graphics processor, sets the picture of a turned monitor upright, and lays the
// cursor over it. One thread at a time, the one that uses the device's context.
class Direct11Scale {
 public:
  Direct11Scale() = default;
  Direct11Scale(const Direct11Scale&) = delete;
  Direct11Scale& operator=(const Direct11Scale&) = delete;

  // Makes everything that all pictures have in common, and binds it to the device's
  // context for as long as this object uses it. False on failure (logged). When it is
  // initialised already it keeps the first device and rotation.
  bool Init(const ComPtr<ID3D11Device>& device, DXGI_MODE_ROTATION rotation);
  // Lets go of the device and everything made on it.
  void Release();

  // Draws `source`, whose picture upright is `sourceWidth` by `sourceHeight`, into a
  // new texture. False, with a null `target`, on failure (logged); a cursor that can't
  // be drawn is none. Before Init `target` is left alone.
  bool Scale(ID3D11Texture2D* source, ComPtr<ID3D11Texture2D>& target, std::int32_t sourceWidth,
             std::int32_t sourceHeight, std::int32_t targetWidth, std::int32_t targetHeight,
             bool withCursor);

  // Takes in what a frame says of the cursor. False before Init.
  bool UpdateCursor(IDXGIOutputDuplication* duplication, const DXGI_OUTDUPL_FRAME_INFO& frameInfo);

 private:
  struct RenderTarget {
    ComPtr<ID3D11Texture2D> texture;
    ComPtr<ID3D11RenderTargetView> view;
  };

  bool initShader();
  bool initVertexBuffers();
  bool initInputLayout();
  bool initSampler();
  bool initBlend();
  bool createRenderTarget(std::int32_t width, std::int32_t height, RenderTarget& target);
  void draw(ID3D11ShaderResourceView* view, ID3D11Buffer* vertices, const RenderTarget& target,
            std::int32_t width, std::int32_t height);
  void drawCursor(ID3D11Texture2D* source, ID3D11ShaderResourceView* sourceView,
                  std::int32_t sourceWidth, std::int32_t sourceHeight, const RenderTarget& target,
                  std::int32_t targetWidth, std::int32_t targetHeight);
  bool isTurned() const;

  ComPtr<ID3D11Device> m_device;  // null while not initialised
  ComPtr<ID3D11DeviceContext> m_context;
  DXGI_MODE_ROTATION m_rotation = DXGI_MODE_ROTATION_UNSPECIFIED;
  ComPtr<ID3D11VertexShader> m_vertexShader;
  ComPtr<ID3D11PixelShader> m_pixelShader;
  ComPtr<ID3D11Buffer> m_vertexBuffer;
  ComPtr<ID3D11InputLayout> m_inputLayout;
  ComPtr<ID3D11SamplerState> m_samplerState;
  ComPtr<ID3D11BlendState> m_blendState;
  std::unique_ptr<CursorRender> m_cursorRender;
};

}  // namespace qx
