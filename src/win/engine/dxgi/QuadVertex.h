#pragma once

#include <d3d11.h>

#include <cstdint>

#include "win/util/ComPtr.h"

// What everything that is drawn here consists of: a quad and the picture on it.

namespace qx {

// A corner of a quad, as the vertex shader takes it in: clip space, and where it lies
// in the texture. Four make a triangle strip: bottom left, top left, bottom right, top
// right.
struct QuadVertex {
  float x;
  float y;
  float z;
  float u;
  float v;
};
static_assert(sizeof(QuadVertex) == 20, "the layout of the vertex shader's input");

inline constexpr unsigned kQuadVertices = 4;

HRESULT CreateQuad(ID3D11Device* device, const QuadVertex (&vertices)[kQuadVertices],
                   D3D11_USAGE usage, ComPtr<ID3D11Buffer>& quad);

// A plain picture of 32-bit pixels: one level, for the graphics processor's use. What
// it is bound as is left to the caller.
D3D11_TEXTURE2D_DESC PictureDesc(std::int32_t width, std::int32_t height);

// A view of a texture for drawing it. False on failure (logged).
bool CreateShaderResourceView(ID3D11Device* device, ID3D11Texture2D* texture,
                              ComPtr<ID3D11ShaderResourceView>& view);

}  // namespace qx
