#pragma once

#include <d3d11.h>
#include <windows.h>

#include <cstdint>

#include "win/engine/ScreenCaptureFrame.h"
#include "win/engine/dxgi/Direct11Scale.h"
#include "win/engine/dxgi/StagingTexture.h"
#include "win/util/ComPtr.h"

namespace qx {

// The way of a captured texture into a frame: a part of it is cut out, scaled by the
// graphics processor and read back. In steady state it makes no texture but the scaler's.
class PictureReader {
 public:
  struct Wish {
    RECT part = {};             // in pixels of the texture; what lies outside of it is left out
    std::int32_t rawWidth = 0;  // what the part shows, unscaled
    std::int32_t rawHeight = 0;
    std::int32_t width = 0;  // of the picture
    std::int32_t height = 0;
    ScreenCaptureFrame::Last last = ScreenCaptureFrame::Last::Kept;
  };
  enum class Outcome { Read, NoRoom, Failed };  // NoRoom: no memory for the frame, which stays

  // Between the two pictures can be read. Null is no device. False on failure (logged).
  bool Init(const ComPtr<ID3D11Device>& device);
  void Release();

  // Nothing of `frame` changes but with Read. Failures are logged.
  Outcome Read(ID3D11Texture2D* captured, const Wish& wish, ScreenCaptureFrame& frame);

 private:
  bool cut(ID3D11DeviceContext* context, const RECT& part, ComPtr<ID3D11Texture2D>& texture);

  ComPtr<ID3D11Device> m_device;
  ComPtr<ID3D11Texture2D> m_partTexture;
  StagingTexture m_mappedTexture{{.create = "create m_mappedTexture",
                                  .recreate = "recreate m_mappedTexture",
                                  .withSurface = false}};
  Direct11Scale m_direct11Scale;
};

}  // namespace qx
