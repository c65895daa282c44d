// What the Direct3D 11 device draws and copies, and what is noted as misuse.
#include <d3d11.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "platform/control/Ledger.h"
#include "src/win/engine/dxgi/shaders/QuadShaders.h"
#include "tests/support/GraphicsCard.h"

namespace qx::test {
namespace {

using namespace vwin::control;

struct Vertex {
  float x, y, z, u, v;
};
using Vertices = std::vector<Vertex>;

constexpr D3D11_INPUT_ELEMENT_DESC kElements[] = {
    {"position", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
    {"TEXCOORD", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 12, D3D11_INPUT_PER_VERTEX_DATA, 0}};

// The whole target; `u` and `v` by corner: bottom left, top left, bottom right, top right.
Vertices Quad(const std::array<float, 4>& u = {0, 0, 1, 1},
              const std::array<float, 4>& v = {1, 0, 1, 0}) {
  return {{-1, -1, 0, u[0], v[0]},
          {-1, 1, 0, u[1], v[1]},
          {1, -1, 0, u[2], v[2]},
          {1, 1, 0, u[3], v[3]}};
}
// The same, drawn as any triangles are: rectangles have a way of their own, for speed, and
// a fifth vertex, which adds a triangle without area, takes it from them.
Vertices AsTriangles(Vertices quad) {
  quad.push_back(quad.back());
  return quad;
}

std::uint32_t Noise(int x, int y) {
  return static_cast<std::uint32_t>(x * 7919 + y * 104729 + 77) * 2654435761u;
}

// The largest difference of a channel.
int Distance(const CardPicture& a, const CardPicture& b) {
  if (a.width != b.width || a.height != b.height) return 256;
  int most = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    for (int shift = 0; shift < 32; shift += 8) {
      const int difference = static_cast<int>(a.pixels[i] >> shift & 0xFF) -
                             static_cast<int>(b.pixels[i] >> shift & 0xFF);
      most = std::max(most, std::abs(difference));
    }
  }
  return most;
}

class D3D11Test : public testing::Test {
 protected:
  // A pipeline that draws textured quads as they are.
  void SetUp() override {
    ID3D11Device& device = *m_card.device.Get();
    ComPtr<ID3D11VertexShader> vertexShader;
    ComPtr<ID3D11PixelShader> pixelShader;
    ComPtr<ID3D11InputLayout> layout;
    constexpr SIZE_T kVertexSize = sizeof(kQuadVertexShader), kPixelSize = sizeof(kQuadPixelShader);
    ASSERT_EQ(device.CreateVertexShader(kQuadVertexShader, kVertexSize, {}, vertexShader.Put()), 0);
    ASSERT_EQ(device.CreatePixelShader(kQuadPixelShader, kPixelSize, {}, pixelShader.Put()), 0);
    ASSERT_EQ(device.CreateInputLayout(kElements, 2, kQuadVertexShader, kVertexSize, layout.Put()),
              0);
    context().VSSetShader(vertexShader.Get(), nullptr, 0);
    context().PSSetShader(pixelShader.Get(), nullptr, 0);
    context().IASetInputLayout(layout.Get());
    context().IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
    D3D11_SAMPLER_DESC desc{};
    desc.Filter = D3D11_FILTER_ANISOTROPIC;
    desc.AddressU = desc.AddressV = desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
    desc.MaxAnisotropy = 16;
    desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
    desc.MaxLOD = FLT_MAX;
    ComPtr<ID3D11SamplerState> state;
    ASSERT_EQ(device.CreateSamplerState(&desc, state.Put()), S_OK);
    ID3D11SamplerState* const bound = state.Get();
    context().PSSetSamplers(0, 1, &bound);
  }

  ID3D11DeviceContext& context() const { return *m_card.context.Get(); }

  // By the source's alpha, which stays.
  void blend() const {
    D3D11_BLEND_DESC desc{};
    desc.RenderTarget[0] = {TRUE,
                            D3D11_BLEND_SRC_ALPHA,
                            D3D11_BLEND_INV_SRC_ALPHA,
                            D3D11_BLEND_OP_ADD,
                            D3D11_BLEND_ONE,
                            D3D11_BLEND_ZERO,
                            D3D11_BLEND_OP_ADD,
                            D3D11_COLOR_WRITE_ENABLE_ALL};
    ComPtr<ID3D11BlendState> state;
    ASSERT_EQ(m_card.device->CreateBlendState(&desc, state.Put()), S_OK);
    context().OMSetBlendState(state.Get(), nullptr, 0xFFFFFFFF);
  }

  // Draws `source` with `vertices` over a target of this size.
  CardPicture draw(const CardPicture& source, const Vertices& vertices, int width,
                   int height) const {
    ID3D11Device& device = *m_card.device.Get();
    const ComPtr<ID3D11Texture2D> target =
        m_card.Texture(MakePicture(width, height, [](int, int) { return 0x12345678; }));
    ComPtr<ID3D11RenderTargetView> targetView;
    EXPECT_EQ(device.CreateRenderTargetView(target.Get(), nullptr, targetView.Put()), S_OK);
    ID3D11RenderTargetView* const drawnTo = targetView.Get();
    context().OMSetRenderTargets(1, &drawnTo, nullptr);
    const D3D11_VIEWPORT viewport = {0, 0, static_cast<float>(width), static_cast<float>(height),
                                     0, 1};
    context().RSSetViewports(1, &viewport);

    ComPtr<ID3D11ShaderResourceView> sourceView;
    EXPECT_EQ(
        device.CreateShaderResourceView(m_card.Texture(source).Get(), nullptr, sourceView.Put()),
        S_OK);
    ID3D11ShaderResourceView* const readFrom = sourceView.Get();
    context().PSSetShaderResources(0, 1, &readFrom);

    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = static_cast<UINT>(vertices.size() * sizeof(Vertex));
    desc.Usage = D3D11_USAGE_IMMUTABLE;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
    const D3D11_SUBRESOURCE_DATA data = {vertices.data(), 0, 0};
    ComPtr<ID3D11Buffer> buffer;
    EXPECT_EQ(device.CreateBuffer(&desc, &data, buffer.Put()), S_OK);
    ID3D11Buffer* const corners = buffer.Get();
    const UINT stride = sizeof(Vertex), offset = 0;
    context().IASetVertexBuffers(0, 1, &corners, &stride, &offset);
    context().Draw(static_cast<UINT>(vertices.size()), 0);
    return m_card.Read(target.Get());
  }

  const Card m_card;
};

TEST_F(D3D11Test, DrawsRectanglesAsItDrawsTriangles) {
  const CardPicture source = MakePicture(31, 17, Noise);
  const std::vector<Vertices> quads = {
      Quad(),
      Quad({1, 0, 1, 0}, {1, 1, 0, 0}),  // turned by 90 degrees
      Quad({1, 1, 0, 0}, {0, 1, 0, 1}),  // by 180
      Quad({0, 1, 0, 1}, {0, 0, 1, 1}),  // by 270
      Quad({0.1f, 0.1f, 0.83f, 0.83f}, {0.9f, -0.2f, 0.9f, -0.2f}),
      {{-0.83f, -1.4f, 0, 0, 1},
       {-0.83f, 0.61f, 0, 0, 0},
       {0.47f, -1.4f, 0, 1, 1},
       {0.47f, 0.61f, 0, 1, 0}},
  };
  for (const bool mixed : {false, true}) {
    if (mixed) blend();  // each pixel once, also where the triangles meet
    for (std::size_t i = 0; i < quads.size(); ++i) {
      for (const auto& [width, height] : {std::pair(31, 17), std::pair(20, 11), std::pair(47, 29),
                                          std::pair(17, 31), std::pair(1, 1)}) {
        const CardPicture fast = draw(source, quads[i], width, height);
        EXPECT_LE(Distance(fast, draw(source, AsTriangles(quads[i]), width, height)), 1)
            << "quad " << i << " in " << width << 'x' << height;
      }
    }
  }
}

TEST_F(D3D11Test, MapsOnceAndNotWhileItCopiesAndCopiesWhatFits) {
  const CardPicture source = MakePicture(70, 6, Noise);
  const ComPtr<ID3D11Texture2D> texture = m_card.Texture(source);
  const D3D11_TEXTURE2D_DESC desc = Card::DescribeStaging(70, 6);
  ComPtr<ID3D11Texture2D> staging;
  ComPtr<IDXGISurface> surface;
  ASSERT_EQ(m_card.device->CreateTexture2D(&desc, nullptr, staging.Put()), S_OK);
  ASSERT_EQ(staging.As(IID_IDXGISurface, surface), S_OK);
  DXGI_MAPPED_RECT mapped{};
  EXPECT_EQ(surface->Map(&mapped, DXGI_MAP_WRITE), E_INVALIDARG) << "it is for reading";
  ASSERT_EQ(surface->Map(&mapped, DXGI_MAP_READ), S_OK);
  EXPECT_GT(mapped.Pitch, 70 * 4) << "rows have a tail";
  EXPECT_NE(*mapped.pBits, 0) << "nothing clears what is new";
  EXPECT_TRUE(TakeMisuses().empty());
  EXPECT_EQ(surface->Map(&mapped, DXGI_MAP_READ), DXGI_ERROR_INVALID_CALL);
  context().CopyResource(staging.Get(), texture.Get());
  FailNth("IDXGISurface::Unmap", 1);
  EXPECT_EQ(surface->Unmap(), E_OUTOFMEMORY) << "but unmapped it is";
  EXPECT_EQ(surface->Unmap(), DXGI_ERROR_INVALID_CALL);
  ASSERT_EQ(surface->Map(&mapped, DXGI_MAP_READ), S_OK);
  surface.Reset();
  staging.Reset();
  EXPECT_EQ(TakeMisuses(),
            (std::vector<std::string>{"IDXGISurface::Map: it is mapped",
                                      "ID3D11DeviceContext::CopyResource: a texture is mapped",
                                      "IDXGISurface::Unmap: it is not mapped",
                                      "ID3D11Texture2D: released while it was mapped"}));

  const ComPtr<ID3D11Texture2D> small = m_card.Texture(MakePicture(4, 3, Noise));
  context().CopyResource(small.Get(), texture.Get());
  const D3D11_BOX beyond = {68, 0, 0, 71, 2, 1};
  context().CopySubresourceRegion(small.Get(), 0, 0, 0, 0, texture.Get(), 0, &beyond);
  const D3D11_BOX empty = {3, 3, 0, 3, 5, 1};
  context().CopySubresourceRegion(small.Get(), 0, 0, 0, 0, texture.Get(), 0, &empty);
  EXPECT_EQ(Distance(m_card.Read(small.Get()), MakePicture(4, 3, Noise)), 0);
  EXPECT_EQ(TakeMisuses().size(), 2u);
  const D3D11_BOX part = {66, 4, 0, 69, 6, 1};
  context().CopySubresourceRegion(small.Get(), 0, 1, 1, 0, texture.Get(), 0, &part);
  const CardPicture seen = m_card.Read(small.Get());
  EXPECT_EQ(seen.At(1, 1), source.At(66, 4));
  EXPECT_EQ(seen.At(3, 2), source.At(68, 5));
  EXPECT_EQ(seen.At(0, 2), Noise(0, 2));
}

TEST_F(D3D11Test, RemovedDeviceMakesAndMapsNothingAndANewOneDoes) {
  const D3D11_TEXTURE2D_DESC desc = Card::DescribeStaging(4, 3);
  ComPtr<ID3D11Texture2D> staging, another;
  ComPtr<IDXGISurface> surface;
  ASSERT_EQ(m_card.device->CreateTexture2D(&desc, nullptr, staging.Put()), S_OK);
  ASSERT_EQ(staging.As(IID_IDXGISurface, surface), S_OK);
  EXPECT_EQ(m_card.device->GetDeviceRemovedReason(), S_OK);
  RemoveD3DDevices();
  EXPECT_EQ(m_card.device->GetDeviceRemovedReason(), DXGI_ERROR_DEVICE_REMOVED);
  EXPECT_EQ(m_card.device->CreateTexture2D(&desc, nullptr, another.Put()),
            DXGI_ERROR_DEVICE_REMOVED);
  D3D11_MAPPED_SUBRESOURCE mapped{};
  EXPECT_EQ(context().Map(staging.Get(), 0, D3D11_MAP_READ, 0, &mapped), DXGI_ERROR_DEVICE_REMOVED);
  DXGI_MAPPED_RECT rect{};
  EXPECT_EQ(surface->Map(&rect, DXGI_MAP_READ), DXGI_ERROR_DEVICE_REMOVED);
  const Card next;
  EXPECT_EQ(next.device->GetDeviceRemovedReason(), S_OK);
  EXPECT_EQ(next.device->CreateTexture2D(&desc, nullptr, another.Put()), S_OK);
}

}  // namespace
}  // namespace qx::test
