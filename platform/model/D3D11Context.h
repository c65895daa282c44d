// The immediate context of a device: what is bound to its pipeline, and the calls that
// work with it.
#pragma once

#include <d3d11.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/model/D3D11Objects.h"

namespace vwin::d3d11 {

// What is bound. It stays so for as long as the device lives, also when the objects are
// released, and belongs to the device: a context that was released and is asked for anew
// finds it again.
struct Pipeline {
  struct VertexBuffer {
    std::shared_ptr<BufferContent> buffer;
    UINT stride = 0;
    UINT offset = 0;
  };

  D3D11_PRIMITIVE_TOPOLOGY topology = D3D11_PRIMITIVE_TOPOLOGY_UNDEFINED;
  std::shared_ptr<const LayoutContent> layout;
  std::array<VertexBuffer, D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT> vertexBuffers;
  std::shared_ptr<const Shader> vertexShader;
  std::shared_ptr<const Shader> pixelShader;
  std::array<std::shared_ptr<TextureContent>, kRegisters> textures;
  std::array<std::shared_ptr<const Sampling>, kRegisters> samplers;
  std::vector<D3D11_VIEWPORT> viewports;
  std::shared_ptr<TextureContent> target;
  std::shared_ptr<const Blending> blending;  // none: what is drawn replaces
};

// `onGone` is called, with the lock held, when the context is released for the last time.
HRESULT MakeContext(ID3D11Device* device, Pipeline& pipeline, std::function<void(Lock&)> onGone,
                    ID3D11DeviceContext** context);

}  // namespace vwin::d3d11
