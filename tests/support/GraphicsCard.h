// What tests of the graphics card share: a device, textures of given pixels, and reading
// them back.
#pragma once

#include <d3d11.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "src/win/util/ComPtr.h"

namespace qx::test {

// Pixels 0xAARRGGBB, rows from top to bottom.
struct CardPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  std::uint32_t At(int x, int y) const {
    return pixels.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x));
  }
};

inline CardPicture MakePicture(int width, int height,
                               const std::function<std::uint32_t(int x, int y)>& pixelAt) {
  CardPicture picture{width, height, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) picture.pixels.push_back(pixelAt(x, y));
  }
  return picture;
}

struct Card {
  ComPtr<ID3D11Device> device;
  ComPtr<ID3D11DeviceContext> context;

  Card() {
    EXPECT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr,
                                D3D11_CREATE_DEVICE_BGRA_SUPPORT, nullptr, 0, D3D11_SDK_VERSION,
                                device.Put(), nullptr, context.Put()),
              S_OK);
  }

  static D3D11_TEXTURE2D_DESC Describe(int width, int height) {
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = static_cast<UINT>(width);
    desc.Height = static_cast<UINT>(height);
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc = {1, 0};
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
    return desc;
  }
  static D3D11_TEXTURE2D_DESC DescribeStaging(int width, int height) {
    D3D11_TEXTURE2D_DESC desc = Describe(width, height);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.BindFlags = 0;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    return desc;
  }

  ComPtr<ID3D11Texture2D> Texture(const CardPicture& picture) const {
    const D3D11_TEXTURE2D_DESC desc = Describe(picture.width, picture.height);
    const D3D11_SUBRESOURCE_DATA data = {picture.pixels.data(),
                                         static_cast<UINT>(picture.width) * 4, 0};
    ComPtr<ID3D11Texture2D> texture;
    EXPECT_EQ(device->CreateTexture2D(&desc, &data, texture.Put()), S_OK);
    return texture;
  }

  CardPicture Read(ID3D11Texture2D* texture) const {
    D3D11_TEXTURE2D_DESC desc{};
    texture->GetDesc(&desc);
    CardPicture picture{static_cast<int>(desc.Width), static_cast<int>(desc.Height), {}};
    desc = DescribeStaging(picture.width, picture.height);
    ComPtr<ID3D11Texture2D> staging;
    ComPtr<IDXGISurface> surface;
    DXGI_MAPPED_RECT mapped{};
    EXPECT_EQ(device->CreateTexture2D(&desc, nullptr, staging.Put()), S_OK);
    EXPECT_EQ(staging.As(IID_IDXGISurface, surface), S_OK);
    context->CopyResource(staging.Get(), texture);
    EXPECT_EQ(surface->Map(&mapped, DXGI_MAP_READ), S_OK);
    const std::size_t rowSize = static_cast<std::size_t>(picture.width);
    picture.pixels.resize(rowSize * static_cast<std::size_t>(picture.height));
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); ++y) {
      std::memcpy(&picture.pixels[y * rowSize],
                  mapped.pBits + y * static_cast<std::size_t>(mapped.Pitch), rowSize * 4);
    }
    EXPECT_EQ(surface->Unmap(), S_OK);
    return picture;
  }
};

}  // namespace qx::test
