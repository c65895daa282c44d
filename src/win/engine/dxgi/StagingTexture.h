#pragma once

#include <d3d11.h>
#include <dxgi.h>

#include <cstddef>
#include <cstdint>

#include "win/util/ComPtr.h"

namespace qx {

// What the processor reads a finished picture from. It is kept as long as pictures are
// described alike.
class StagingTexture {
 public:
  struct Kind {
    const char* create;    // log texts
    const char* recreate;  // when the one that is there does not fit
    bool withSurface;      // read through DXGI
  };
  explicit StagingTexture(const Kind& kind) : m_kind(kind) {}

  // Makes it fit a picture. False on failure (logged); there is none then.
  bool Fit(ID3D11Device* device, ID3D11Texture2D* picture);
  void Reset();

  ID3D11Texture2D* Texture() const { return m_texture.Get(); }
  IDXGISurface* Surface() const { return m_surface.Get(); }

 private:
  const Kind m_kind;
  ComPtr<ID3D11Texture2D> m_texture;
  ComPtr<IDXGISurface> m_surface;
};

// Copies rows of 32-bit pixels that lie `pitch` bytes apart to where they leave no gaps.
void CopyRows(std::uint8_t* to, const void* from, std::size_t pitch, std::uint32_t width,
              std::uint32_t height);

}  // namespace qx
