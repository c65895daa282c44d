// The fixture of tests of Direct3D 9: a device, and surfaces that it releases in the end.
// Only Windows calls, so that the tests run on a real system as well.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <d3d9.h>

#include <cstdint>
#include <vector>

namespace qx::test {

template <typename Function>
Function entryOf(void* object, std::size_t entry) {
  return reinterpret_cast<Function>((*static_cast<void***>(object))[entry]);
}

// A device of the first card.
struct Direct3D9Device {
  void Open() {
    m_module = LoadLibraryA("d3d9.dll");
    ASSERT_TRUE(m_module);
    const auto create = reinterpret_cast<decltype(&Direct3DCreate9Ex)>(
        reinterpret_cast<void*>(GetProcAddress(m_module, "Direct3DCreate9Ex")));
    ASSERT_TRUE(create);
    ASSERT_EQ(create(D3D_SDK_VERSION, &m_d3d), D3D_OK);
    // By its place in the table, which is what the library goes by.
    using CreateDeviceEx = HRESULT(STDMETHODCALLTYPE*)(IDirect3D9Ex*, UINT, D3DDEVTYPE, HWND, DWORD,
                                                       D3DPRESENT_PARAMETERS*, D3DDISPLAYMODEEX*,
                                                       IDirect3DDevice9Ex**);
    D3DPRESENT_PARAMETERS parameters{};
    parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
    parameters.Windowed = TRUE;
    ASSERT_EQ(entryOf<CreateDeviceEx>(m_d3d, 20)(
                  m_d3d, D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, GetDesktopWindow(),
                  D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, nullptr, &m_device),
              D3D_OK);
  }
  void Close() {
    if (m_device) m_device->Release();
    if (m_d3d) m_d3d->Release();
    FreeLibrary(m_module);
  }

  HMODULE m_module = nullptr;
  IDirect3D9Ex* m_d3d = nullptr;
  IDirect3DDevice9Ex* m_device = nullptr;
};

class Direct3D9 : public testing::Test, protected Direct3D9Device {
 protected:
  static constexpr D3DFORMAT kFormat = D3DFMT_A8R8G8B8;
  void SetUp() override { Open(); }
  void TearDown() override {
    for (IDirect3DSurface9* surface : m_surfaces) surface->Release();
    Close();
  }

  IDirect3DSurface9* target(UINT width, UINT height, D3DFORMAT format = kFormat) {
    IDirect3DSurface9* surface = nullptr;
    EXPECT_EQ(m_device->CreateRenderTarget(width, height, format, D3DMULTISAMPLE_NONE, 0, FALSE,
                                           &surface, nullptr),
              D3D_OK);
    return kept(surface);
  }
  IDirect3DSurface9* readable(UINT width, UINT height, D3DFORMAT format = kFormat) {
    IDirect3DSurface9* surface = nullptr;
    EXPECT_EQ(m_device->CreateOffscreenPlainSurface(width, height, format, D3DPOOL_SYSTEMMEM,
                                                    &surface, nullptr),
              D3D_OK);
    return kept(surface);
  }
  // Rows top to bottom without gaps.
  std::vector<std::uint32_t> pixelsOf(IDirect3DSurface9* surface) {
    D3DSURFACE_DESC desc{};
    EXPECT_EQ(surface->GetDesc(&desc), D3D_OK);
    IDirect3DSurface9* copy = nullptr;
    if (desc.Pool == D3DPOOL_DEFAULT) {
      EXPECT_EQ(m_device->CreateOffscreenPlainSurface(desc.Width, desc.Height, desc.Format,
                                                      D3DPOOL_SYSTEMMEM, &copy, nullptr),
                D3D_OK);
      EXPECT_EQ(m_device->GetRenderTargetData(surface, copy), D3D_OK);
      surface = copy;
    }
    D3DLOCKED_RECT locked{};
    EXPECT_EQ(surface->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    std::vector<std::uint32_t> pixels;
    for (int y = 0; y < static_cast<int>(desc.Height); ++y) {
      const auto* row = reinterpret_cast<const std::uint32_t*>(
          static_cast<const char*>(locked.pBits) + y * locked.Pitch);
      pixels.insert(pixels.end(), row, row + desc.Width);
    }
    EXPECT_EQ(surface->UnlockRect(), D3D_OK);
    if (copy) copy->Release();
    return pixels;
  }

  std::vector<IDirect3DSurface9*> m_surfaces;

 private:
  IDirect3DSurface9* kept(IDirect3DSurface9* surface) {
    if (surface) m_surfaces.push_back(surface);
    return surface;
  }
};

}  // namespace qx::test
