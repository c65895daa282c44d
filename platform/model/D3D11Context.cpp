#include "platform/model/D3D11Context.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "platform/model/D3D11Device.h"
#include "platform/model/Rects.h"

namespace vwin {

VWIN_INTERFACE_IDS(ID3D11DeviceContext, &IID_ID3D11DeviceChild, &IID_ID3D11DeviceContext);

namespace d3d11 {
namespace {

// What Direct3D passes over in silence unless it is asked to tell a debugger.
void ignored(const char* call, const std::string& why) {
  Lock lock;
  ledger::Misuse(lock, std::string(call) + ": " + why);
}

// Reads a register of a vertex; what its element does not have is 0, or 1 at the end.
std::optional<Vector4<float>> readElement(const Pipeline& pipeline, const LayoutElement& element,
                                          UINT vertex) {
  const Pipeline::VertexBuffer& bound = pipeline.vertexBuffers[element.slot];
  if (!bound.buffer) return std::nullopt;
  Vector4<float> value{0, 0, 0, 1};
  const std::size_t at =
      std::size_t{bound.offset} + std::size_t{vertex} * bound.stride + element.offset;
  const std::size_t size = element.components * sizeof(float);
  const auto& bytes = bound.buffer->bytes;
  // Beyond the end of a buffer there are zeros.
  if (at > bytes.size() || bytes.size() - at < size) return Vector4<float>{};
  std::memcpy(value.data(), bytes.data() + at, size);
  return value;
}

// Runs the vertex shader. Nothing when a buffer is missing.
std::optional<std::vector<Corner>> cornersOf(const Pipeline& pipeline, UINT count, UINT first) {
  const Signature& outputs = pipeline.vertexShader->outputs();
  const auto position = std::find_if(
      outputs.begin(), outputs.end(),
      [](const SignatureElement& output) { return output.systemValue == kSystemPosition; });
  if (position == outputs.end()) return std::nullopt;
  std::vector<Corner> corners;
  for (UINT vertex = first; vertex < first + count; ++vertex) {
    RegisterFile<float> inputs{};
    for (const LayoutElement& element : pipeline.layout->elements) {
      const auto value = readElement(pipeline, element, vertex);
      if (!value) return std::nullopt;
      inputs[element.reg] = *value;
    }
    const auto noSample = [](std::size_t, float, float) { return Vector4<float>{}; };
    Corner corner;
    corner.outputs = pipeline.vertexShader->Run(inputs, noSample);
    corner.position = corner.outputs[position->reg];
    corners.push_back(corner);
  }
  return corners;
}

// Whether the vertex shader passes on what the pixel shader takes in.
bool fitTogether(const Shader& vertexShader, const Shader& pixelShader) {
  const Signature& outputs = vertexShader.outputs();
  return std::all_of(pixelShader.inputs().begin(), pixelShader.inputs().end(),
                     [&](const SignatureElement& input) {
                       return std::any_of(outputs.begin(), outputs.end(), [&](const auto& output) {
                         return output.reg == input.reg && output.index == input.index &&
                                output.semantic == input.semantic;
                       });
                     });
}

// What keeps a picture from being drawn with this; null when nothing does.
const char* missingFor(const Pipeline& pipeline) {
  if (pipeline.topology != D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP) return "no topology is set";
  if (!pipeline.layout) return "no input layout is set";
  if (!pipeline.vertexShader) return "no vertex shader is set";
  if (!pipeline.pixelShader) return "no pixel shader is set";
  if (!pipeline.target) return "no render target is bound";
  if (pipeline.viewports.empty()) return "no viewport is set";
  if (!fitTogether(*pipeline.vertexShader, *pipeline.pixelShader))
    return "the shaders do not fit together";
  return nullptr;
}

class Context final : public DeviceChild<ID3D11DeviceContext> {
 public:
  Context(ID3D11Device* device, Pipeline& pipeline, std::function<void(Lock&)> onGone)
      : DeviceChild("ID3D11DeviceContext", "ID3D11Device::GetImmediateContext", device),
        m_pipeline(pipeline),
        m_onGone(std::move(onGone)) {}

  // --------------------------------------------------------------- what is bound

  void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::IASetPrimitiveTopology);
    m_pipeline.topology = topology;
  }
  void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* layout) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::IASetInputLayout);
    m_pipeline.layout =
        ContentOf<InputLayout>(layout, device(), "ID3D11DeviceContext::IASetInputLayout");
  }
  void STDMETHODCALLTYPE IASetVertexBuffers(UINT first, UINT count, ID3D11Buffer* const* buffers,
                                            const UINT* strides, const UINT* offsets) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::IASetVertexBuffers);
    auto& slots = m_pipeline.vertexBuffers;
    if (!haveSlots("ID3D11DeviceContext::IASetVertexBuffers", first, count, slots.size())) return;
    for (UINT i = 0; i < count; ++i) {
      slots[first + i] = {
          ContentOf<Buffer>(buffers[i], device(), "ID3D11DeviceContext::IASetVertexBuffers"),
          strides[i], offsets[i]};
    }
  }
  void STDMETHODCALLTYPE VSSetShader(ID3D11VertexShader* shader, ID3D11ClassInstance* const*,
                                     UINT) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::VSSetShader);
    m_pipeline.vertexShader =
        ContentOf<VertexShader>(shader, device(), "ID3D11DeviceContext::VSSetShader");
  }
  void STDMETHODCALLTYPE PSSetShader(ID3D11PixelShader* shader, ID3D11ClassInstance* const*,
                                     UINT) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::PSSetShader);
    m_pipeline.pixelShader =
        ContentOf<PixelShader>(shader, device(), "ID3D11DeviceContext::PSSetShader");
  }
  void STDMETHODCALLTYPE PSSetSamplers(UINT first, UINT count,
                                       ID3D11SamplerState* const* samplers) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::PSSetSamplers);
    auto& slots = m_pipeline.samplers;
    if (!haveSlots("ID3D11DeviceContext::PSSetSamplers", first, count, slots.size())) return;
    for (UINT i = 0; i < count; ++i) {
      slots[first + i] =
          ContentOf<SamplerState>(samplers[i], device(), "ID3D11DeviceContext::PSSetSamplers");
    }
  }
  // A texture that is being drawn to can't be read: it is not bound.
  void STDMETHODCALLTYPE PSSetShaderResources(UINT first, UINT count,
                                              ID3D11ShaderResourceView* const* views) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::PSSetShaderResources);
    auto& slots = m_pipeline.textures;
    if (!haveSlots("ID3D11DeviceContext::PSSetShaderResources", first, count, slots.size())) return;
    for (UINT i = 0; i < count; ++i) {
      auto texture = ContentOf<ShaderResourceView>(views[i], device(),
                                                   "ID3D11DeviceContext::PSSetShaderResources");
      if (texture && texture == m_pipeline.target) {
        ignored("ID3D11DeviceContext::PSSetShaderResources", "the texture is the render target");
        texture.reset();
      }
      slots[first + i] = std::move(texture);
    }
  }
  // The other way round the texture is taken from where it is read.
  void STDMETHODCALLTYPE OMSetRenderTargets(UINT count, ID3D11RenderTargetView* const* views,
                                            ID3D11DepthStencilView* depth) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::OMSetRenderTargets);
    if (count > 1 || depth != nullptr) {
      NotProvided("ID3D11DeviceContext::OMSetRenderTargets with more than one target");
      return;
    }
    m_pipeline.target = count == 0
                            ? nullptr
                            : ContentOf<RenderTargetView>(
                                  views[0], device(), "ID3D11DeviceContext::OMSetRenderTargets");
    for (auto& texture : m_pipeline.textures) {
      if (texture == m_pipeline.target) texture.reset();
    }
  }
  void STDMETHODCALLTYPE OMSetBlendState(ID3D11BlendState* state, const FLOAT*,
                                         UINT sampleMask) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::OMSetBlendState);
    if ((sampleMask & 1) == 0) NotProvided("ID3D11DeviceContext::OMSetBlendState: no sample");
    m_pipeline.blending =
        ContentOf<BlendState>(state, device(), "ID3D11DeviceContext::OMSetBlendState");
  }
  void STDMETHODCALLTYPE RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::RSSetViewports);
    if (!haveSlots("ID3D11DeviceContext::RSSetViewports", 0, count,
                   D3D11_VIEWPORT_AND_SCISSORRECT_OBJECT_COUNT_PER_PIPELINE)) {
      return;
    }
    m_pipeline.viewports.assign(viewports, viewports + count);
  }
  void STDMETHODCALLTYPE RSGetViewports(UINT* count, D3D11_VIEWPORT* viewports) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::RSGetViewports);
    const auto bound = static_cast<UINT>(m_pipeline.viewports.size());
    if (viewports != nullptr) {
      for (UINT i = 0; i < *count; ++i)
        viewports[i] = i < bound ? m_pipeline.viewports[i] : D3D11_VIEWPORT{};
    }
    *count = viewports != nullptr ? std::min(*count, bound) : bound;
  }

  // -------------------------------------------------------------------- drawing

  void STDMETHODCALLTYPE Draw(UINT count, UINT first) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::Draw);
    constexpr const char* kCall = "ID3D11DeviceContext::Draw";
    if (const char* const missing = missingFor(m_pipeline)) return ignored(kCall, missing);
    const auto corners = cornersOf(m_pipeline, count, first);
    if (!corners) return ignored(kCall, "no vertex buffer or no position");
    Drawing drawing;
    drawing.pixelShader = m_pipeline.pixelShader.get();
    for (const SampleSite& site : drawing.pixelShader->samples()) {
      const auto& texture = m_pipeline.textures[site.texture];
      if (!texture) ignored(kCall, "nothing is bound that the pixel shader samples");
      if (texture && isReadable(*texture, kCall)) drawing.textures[site.texture] = texture->image();
      if (m_pipeline.samplers[site.sampler])
        drawing.samplers[site.sampler] = *m_pipeline.samplers[site.sampler];
    }
    drawing.target = m_pipeline.target->image();
    const D3D11_VIEWPORT& viewport = m_pipeline.viewports.front();
    drawing.viewport = {viewport.TopLeftX, viewport.TopLeftY, viewport.Width, viewport.Height};
    if (m_pipeline.blending) drawing.blending = *m_pipeline.blending;
    if (!DrawTriangleStrip(*corners, drawing)) NotProvided("Draw in perspective");
  }

  // -------------------------------------------------------------------- mapping

  HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* resource, UINT part, D3D11_MAP type, UINT flags,
                                D3D11_MAPPED_SUBRESOURCE* mapped) override {
    VWIN_METHOD(ID3D11DeviceContext::Map);
    constexpr const char* kCall = "ID3D11DeviceContext::Map";
    if (mapped == nullptr) return E_INVALIDARG;
    *mapped = {};
    if (fault) return fault->hresult;
    if (const HRESULT state = StateOf(device()); FAILED(state)) return state;
    const auto texture = ContentOf<Texture>(resource, device(), kCall);
    UINT access = 0;
    if (type & D3D11_MAP_READ) access |= D3D11_CPU_ACCESS_READ;
    if (type & D3D11_MAP_WRITE) access |= D3D11_CPU_ACCESS_WRITE;
    if (!texture || part != 0 || flags != 0 || access == 0 ||
        texture->desc.Usage != D3D11_USAGE_STAGING ||
        (access & ~texture->desc.CPUAccessFlags) != 0) {
      return E_INVALIDARG;
    }
    if (std::exchange(texture->mapped, true)) {
      ignored(kCall, "it is mapped");
      return E_INVALIDARG;
    }
    mapped->pData = texture->pixels.get();
    mapped->RowPitch = static_cast<UINT>(texture->stride) * UINT{sizeof(std::uint32_t)};
    mapped->DepthPitch = mapped->RowPitch * texture->desc.Height;
    return S_OK;
  }
  void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT part) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::Unmap);
    constexpr const char* kCall = "ID3D11DeviceContext::Unmap";
    const auto texture = ContentOf<Texture>(resource, device(), kCall);
    if (!texture || part != 0 || !std::exchange(texture->mapped, false)) {
      ignored(kCall, "it is not mapped");
    }
  }

  // -------------------------------------------------------------------- copying

  void STDMETHODCALLTYPE CopyResource(ID3D11Resource* to, ID3D11Resource* from) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::CopyResource);
    constexpr const char* kCall = "ID3D11DeviceContext::CopyResource";
    const auto target = ContentOf<Texture>(to, device(), kCall);
    const auto source = ContentOf<Texture>(from, device(), kCall);
    if (!areCopyable(target, source, kCall)) return;
    if (target->desc.Width != source->desc.Width || target->desc.Height != source->desc.Height)
      return ignored(kCall, "the textures have different sizes");
    const auto whole = source->image();
    copyPixels(*target, 0, 0, *source, {0, 0, whole.width, whole.height});
  }
  void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* to, UINT toPart, UINT x, UINT y,
                                               UINT z, ID3D11Resource* from, UINT fromPart,
                                               const D3D11_BOX* box) override {
    VWIN_METHOD_INFALLIBLE(ID3D11DeviceContext::CopySubresourceRegion);
    constexpr const char* kCall = "ID3D11DeviceContext::CopySubresourceRegion";
    const auto target = ContentOf<Texture>(to, device(), kCall);
    const auto source = ContentOf<Texture>(from, device(), kCall);
    if (!areCopyable(target, source, kCall)) return;
    const D3D11_BOX all = {0, 0, 0, source->desc.Width, source->desc.Height, 1};
    const D3D11_BOX& part = box ? *box : all;
    if (part.left >= part.right || part.top >= part.bottom || part.front >= part.back) return;
    if (toPart != 0 || fromPart != 0 || z != 0 || part.back > 1 || part.right > all.right ||
        part.bottom > all.bottom || x > target->desc.Width || y > target->desc.Height ||
        part.right - part.left > target->desc.Width - x ||
        part.bottom - part.top > target->desc.Height - y) {
      return ignored(kCall, "the box lies outside of a texture");
    }
    copyPixels(*target, static_cast<int>(x), static_cast<int>(y), *source,
               {static_cast<LONG>(part.left), static_cast<LONG>(part.top),
                static_cast<LONG>(part.right), static_cast<LONG>(part.bottom)});
  }

 private:
  void onLastRelease(Lock& lock) override { m_onGone(lock); }

  static bool haveSlots(const char* call, UINT first, UINT count, std::size_t slots) {
    if (std::uint64_t{first} + count <= slots) return true;
    ignored(call, "there are not so many slots");
    return false;
  }
  static bool isReadable(const TextureContent& texture, const char* call) {
    if (!texture.withdrawn) return true;
    ignored(call, "the frame of this texture was released");
    return false;
  }
  static bool areCopyable(const std::shared_ptr<TextureContent>& target,
                          const std::shared_ptr<TextureContent>& source, const char* call) {
    if (!target || !source || target == source) {
      ignored(call, "not two textures");
    } else if (target->desc.Usage == D3D11_USAGE_IMMUTABLE) {
      ignored(call, "the target is immutable");
    } else if (target->mapped || source->mapped) {
      ignored(call, "a texture is mapped");
    } else {
      return isReadable(*source, call);
    }
    return false;
  }
  static void copyPixels(const TextureContent& target, int x, int y, const TextureContent& source,
                         const RECT& part) {
    for (int row = 0; row < HeightOf(part); ++row) {
      std::memcpy(target.image().Row(y + row) + x, source.image().Row(part.top + row) + part.left,
                  static_cast<std::size_t>(WidthOf(part)) * sizeof(std::uint32_t));
    }
  }

  Pipeline& m_pipeline;
  const std::function<void(Lock&)> m_onGone;
};

}  // namespace

HRESULT MakeContext(ID3D11Device* device, Pipeline& pipeline, std::function<void(Lock&)> onGone,
                    ID3D11DeviceContext** context) {
  return Context::Make<Context>(IID_ID3D11DeviceContext, reinterpret_cast<void**>(context), device,
                                pipeline, std::move(onGone));
}

}  // namespace d3d11
}  // namespace vwin
