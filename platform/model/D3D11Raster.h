// Draws triangles with a pixel shader into a picture of BGRA pixels, on the processor:
// which pixels a triangle covers, what a texture gives there, how it is mixed with
// what was there.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/model/D3D11Shader.h"

namespace vwin::d3d11 {

// Pixels 0xAARRGGBB; `stride` pixels from row to row.
struct Image {
  std::uint32_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  std::ptrdiff_t stride = 0;

  std::uint32_t* Row(int y) const { return pixels + stride * y; }
};

// What a sampler does with a texture of one mip level. Beyond its edges a texture goes on
// as it ends.
struct Sampling {
  UINT maxAnisotropy = 1;
};

enum class Factor { kZero, kOne, kSourceAlpha, kInverseSourceAlpha };

// How a pixel is mixed with the one below: source * factor + below * factor, the alpha
// channel with factors of its own.
struct Blending {
  bool enabled = false;
  Factor source = Factor::kOne;
  Factor below = Factor::kZero;
  Factor sourceAlpha = Factor::kOne;
  Factor belowAlpha = Factor::kZero;
  std::uint32_t writeMask = 0xFFFFFFFF;  // the bits of a pixel that may change
};

// A vertex as the vertex shader left it: clip space, and what it passes on, by register.
struct Corner {
  Vector4<float> position;
  RegisterFile<float> outputs;
};

struct Viewport {
  float left;
  float top;
  float width;
  float height;
};

struct Drawing {
  const Shader* pixelShader = nullptr;
  // By slot; without pixels where nothing is bound, which gives zeros.
  std::array<Image, kRegisters> textures{};
  std::array<Sampling, kRegisters> samplers{};
  Image target;
  Viewport viewport{};
  Blending blending;
};

// Each corner from the third on makes a triangle with the two before. Those that turn
// counter-clockwise show their back and are not drawn. False, and nothing is drawn, for
// corners in perspective. What is nowhere is not drawn.
bool DrawTriangleStrip(const std::vector<Corner>& corners, const Drawing& drawing);

}  // namespace vwin::d3d11
