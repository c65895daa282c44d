// Direct3D 9: surfaces, and what goes from one to another.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <d3d9.h>

#include <cstdint>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

constexpr D3DFORMAT kFormat = D3DFMT_A8R8G8B8;
constexpr D3DCOLOR kRed = 0xFFC81E0A;
constexpr D3DCOLOR kGreen = 0x8014B428;
constexpr D3DCOLOR kBlue = 0xFF0A28DC;
constexpr D3DCOLOR kWhite = 0xFFFAFBFC;

template <typename Function>
Function entryOf(void* object, std::size_t entry) {
  return reinterpret_cast<Function>((*static_cast<void***>(object))[entry]);
}

class Direct3D9 : public testing::Test {
 protected:
  void SetUp() override {
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
  void TearDown() override {
    for (IDirect3DSurface9* surface : m_surfaces) surface->Release();
    if (m_device) m_device->Release();
    if (m_d3d) m_d3d->Release();
    FreeLibrary(m_module);
  }

  IDirect3DSurface9* target(UINT width, UINT height, D3DFORMAT format = kFormat) {
    IDirect3DSurface9* surface = nullptr;
    EXPECT_EQ(m_device->CreateRenderTarget(width, height, format, D3DMULTISAMPLE_NONE, 0, FALSE,
                                           &surface, nullptr),
              D3D_OK);
    return kept(surface);
  }
  IDirect3DSurface9* readable(UINT width, UINT height, D3DFORMAT format = kFormat,
                              D3DPOOL pool = D3DPOOL_SYSTEMMEM) {
    IDirect3DSurface9* surface = nullptr;
    EXPECT_EQ(m_device->CreateOffscreenPlainSurface(width, height, format, pool, &surface, nullptr),
              D3D_OK);
    return kept(surface);
  }
  // Red and green above blue and white.
  IDirect3DSurface9* quarters(LONG width, LONG height) {
    IDirect3DSurface9* surface = target(static_cast<UINT>(width), static_cast<UINT>(height));
    const RECT parts[] = {{0, 0, width / 2, height / 2},
                          {width / 2, 0, width, height / 2},
                          {0, height / 2, width / 2, height},
                          {width / 2, height / 2, width, height}};
    const D3DCOLOR colors[] = {kRed, kGreen, kBlue, kWhite};
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(m_device->ColorFill(surface, &parts[i], colors[i]), D3D_OK);
    return surface;
  }
  // Rows top to bottom without gaps.
  std::vector<std::uint32_t> pixelsOf(IDirect3DSurface9* surface) {
    D3DSURFACE_DESC desc{};
    EXPECT_EQ(surface->GetDesc(&desc), D3D_OK);
    IDirect3DSurface9* copy = surface;
    if (desc.Pool == D3DPOOL_DEFAULT) {
      copy = readable(desc.Width, desc.Height, desc.Format);
      EXPECT_EQ(m_device->GetRenderTargetData(surface, copy), D3D_OK);
    }
    D3DLOCKED_RECT locked{};
    EXPECT_EQ(copy->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    std::vector<std::uint32_t> pixels;
    for (UINT y = 0; y < desc.Height; ++y) {
      const auto* row = reinterpret_cast<const std::uint32_t*>(
          static_cast<const char*>(locked.pBits) + static_cast<int>(y) * locked.Pitch);
      pixels.insert(pixels.end(), row, row + desc.Width);
    }
    EXPECT_EQ(copy->UnlockRect(), D3D_OK);
    return pixels;
  }

  IDirect3D9Ex* m_d3d = nullptr;
  IDirect3DDevice9Ex* m_device = nullptr;
  std::vector<IDirect3DSurface9*> m_surfaces;

 private:
  IDirect3DSurface9* kept(IDirect3DSurface9* surface) {
    if (surface) m_surfaces.push_back(surface);
    return surface;
  }

  HMODULE m_module = nullptr;
};

TEST_F(Direct3D9, APictureIsScaledOnTheCardAndRead) {
  IDirect3DSurface9* const source = quarters(64, 32);
  IDirect3DSurface9* const small = target(32, 16);
  using StretchRect =
      HRESULT(STDMETHODCALLTYPE*)(IDirect3DDevice9*, IDirect3DSurface9*, const RECT*,
                                  IDirect3DSurface9*, const RECT*, D3DTEXTUREFILTERTYPE);
  ASSERT_EQ(
      entryOf<StretchRect>(m_device, 34)(m_device, source, nullptr, small, nullptr, D3DTEXF_LINEAR),
      D3D_OK);
  const auto at = [](const std::vector<std::uint32_t>& pixels, int width, int x, int y) {
    return pixels[static_cast<std::size_t>(y * width + x)];
  };
  auto pixels = pixelsOf(small);
  EXPECT_EQ(at(pixels, 32, 8, 4), kRed);
  EXPECT_EQ(at(pixels, 32, 24, 4), kGreen) << "alpha as well";
  EXPECT_EQ(at(pixels, 32, 8, 12), kBlue);
  EXPECT_EQ(at(pixels, 32, 31, 15), kWhite);

  // A part to a part; the rest stays.
  const RECT greenAndWhite = {32, 0, 64, 32};
  const RECT left = {0, 0, 8, 16};
  ASSERT_EQ(m_device->StretchRect(source, &greenAndWhite, small, &left, D3DTEXF_NONE), D3D_OK);
  pixels = pixelsOf(small);
  EXPECT_EQ(at(pixels, 32, 0, 0), kGreen);
  EXPECT_EQ(at(pixels, 32, 7, 15), kWhite);
  EXPECT_EQ(at(pixels, 32, 8, 0), kRed);
}

TEST_F(Direct3D9, ALinearFilterMixesNeighbours) {
  IDirect3DSurface9* const source = target(2, 1);
  const RECT first = {0, 0, 1, 1};
  const RECT second = {1, 0, 2, 1};
  ASSERT_EQ(m_device->ColorFill(source, &first, 0xFF000000), D3D_OK);
  ASSERT_EQ(m_device->ColorFill(source, &second, 0xFF0000C8), D3D_OK);
  IDirect3DSurface9* const one = target(1, 1);
  ASSERT_EQ(m_device->StretchRect(source, nullptr, one, nullptr, D3DTEXF_LINEAR), D3D_OK);
  EXPECT_NEAR(static_cast<int>(pixelsOf(one)[0] & 0xFF), 100, 2);
}

TEST_F(Direct3D9, SurfacesMustFitTheCall) {
  IDirect3DSurface9* const source = quarters(16, 8);
  IDirect3DSurface9* const memory = readable(16, 8);
  for (IDirect3DSurface9* wrong :
       {readable(15, 8), readable(16, 9), readable(16, 8, D3DFMT_X8R8G8B8), target(16, 8)}) {
    EXPECT_EQ(m_device->GetRenderTargetData(source, wrong), D3DERR_INVALIDCALL);
  }
  EXPECT_EQ(m_device->GetRenderTargetData(memory, readable(16, 8)), D3DERR_INVALIDCALL);
  EXPECT_EQ(m_device->GetRenderTargetData(nullptr, memory), D3DERR_INVALIDCALL);

  const RECT beyond = {0, 0, 17, 8};
  IDirect3DSurface9* const other = target(16, 8);
  const auto stretch = [&](IDirect3DSurface9* from, const RECT* part, IDirect3DSurface9* to) {
    return m_device->StretchRect(from, part, to, nullptr, D3DTEXF_LINEAR);
  };
  EXPECT_EQ(stretch(memory, nullptr, other), D3DERR_INVALIDCALL);
  EXPECT_EQ(stretch(source, nullptr, memory), D3DERR_INVALIDCALL);
  EXPECT_EQ(stretch(source, nullptr, source), D3DERR_INVALIDCALL);
  EXPECT_EQ(stretch(source, &beyond, other), D3DERR_INVALIDCALL);
  EXPECT_EQ(m_device->ColorFill(memory, nullptr, kRed), D3DERR_INVALIDCALL);

  IDirect3DSurface9* none = nullptr;
  EXPECT_EQ(
      m_device->CreateRenderTarget(0, 8, kFormat, D3DMULTISAMPLE_NONE, 0, FALSE, &none, nullptr),
      D3DERR_INVALIDCALL);
  EXPECT_FALSE(none);
}

TEST_F(Direct3D9, MemoryIsLockedOrDrawnOnByOneAtATime) {
  IDirect3DSurface9* const memory = readable(40, 40);
  D3DLOCKED_RECT locked{};
  D3DLOCKED_RECT again{};
  HDC dc = nullptr;
  ASSERT_EQ(memory->LockRect(&locked, nullptr, 0), D3D_OK);
  EXPECT_GE(locked.Pitch, 40 * 4);
  EXPECT_EQ(memory->LockRect(&again, nullptr, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(memory->GetDC(&dc), D3DERR_INVALIDCALL);
  for (int y = 0; y < 40; ++y) {
    auto* const row =
        reinterpret_cast<std::uint32_t*>(static_cast<char*>(locked.pBits) + y * locked.Pitch);
    std::fill_n(row, 40, std::uint32_t{0xFF204060});
  }
  EXPECT_EQ(memory->UnlockRect(), D3D_OK);
  EXPECT_EQ(memory->UnlockRect(), D3DERR_INVALIDCALL);
  EXPECT_EQ(target(8, 8)->LockRect(&locked, nullptr, 0), D3DERR_INVALIDCALL);

  const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
  ASSERT_EQ(memory->GetDC(&dc), D3D_OK);
  EXPECT_EQ(memory->LockRect(&locked, nullptr, 0), D3DERR_INVALIDCALL);
  HDC second = nullptr;
  EXPECT_EQ(memory->GetDC(&second), D3DERR_INVALIDCALL);
  // Partly outside.
  EXPECT_TRUE(DrawIconEx(dc, -2, 10, arrow, 32, 32, 0, nullptr, DI_NORMAL | DI_COMPAT));
  EXPECT_EQ(memory->ReleaseDC(dc), D3D_OK);
  EXPECT_EQ(memory->ReleaseDC(dc), D3DERR_INVALIDCALL);

  const std::vector<std::uint32_t> pixels = pixelsOf(memory);
  EXPECT_EQ(pixels[0], 0xFF204060) << "nothing was drawn here";
  int drawn = 0;
  int drawnAbove = 0;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const bool changed = (pixels[i] & 0x00FFFFFF) != 0x00204060;
    drawn += changed;
    drawnAbove += changed && i < 400;
  }
  EXPECT_GT(drawn, 20);
  EXPECT_EQ(drawnAbove, 0);
}

TEST_F(Direct3D9, ASurfaceKeepsItsDevice) {
  D3DDEVICE_CREATION_PARAMETERS created{};
  ASSERT_EQ(m_device->GetCreationParameters(&created), D3D_OK);
  EXPECT_EQ(created.hFocusWindow, GetDesktopWindow());
  EXPECT_EQ(created.BehaviorFlags & D3DCREATE_HARDWARE_VERTEXPROCESSING,
            DWORD{D3DCREATE_HARDWARE_VERTEXPROCESSING});

  IDirect3DSurface9* const memory = readable(4, 4);
  m_device->Release();
  m_device = nullptr;
  m_d3d->Release();
  m_d3d = nullptr;
  D3DLOCKED_RECT locked{};
  EXPECT_EQ(memory->LockRect(&locked, nullptr, 0), D3D_OK);
  EXPECT_EQ(memory->UnlockRect(), D3D_OK);
}

}  // namespace
}  // namespace qx::test
