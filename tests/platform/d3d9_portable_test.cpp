// Direct3D 9: surfaces, and what goes from one to another.
#include <algorithm>
#include <utility>

#include "tests/platform/Direct3D9Test.h"

namespace qx::test {
namespace {

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
  // A linear filter mixes neighbours: red and green, without their alpha.
  IDirect3DSurface9* const two = target(2, 1);
  const RECT upper = {31, 0, 33, 1};
  ASSERT_EQ(m_device->StretchRect(source, &upper, two, nullptr, D3DTEXF_NONE), D3D_OK);
  IDirect3DSurface9* const one = target(1, 1);
  ASSERT_EQ(m_device->StretchRect(two, nullptr, one, nullptr, D3DTEXF_LINEAR), D3D_OK);
  EXPECT_NEAR(static_cast<int>(pixelsOf(one)[0] >> 16 & 0xFF), (0xC8 + 0x14) / 2, 2);

  IDirect3DSurface9* const memory = readable(64, 32);
  for (const auto& [from, to] : {std::pair(memory, small), std::pair(source, memory)})
    EXPECT_EQ(m_device->StretchRect(from, nullptr, to, nullptr, D3DTEXF_LINEAR),
              D3DERR_INVALIDCALL);
}

TEST_F(Direct3D9, MemoryIsLockedOrDrawnOnByOneAtATimeAndKeepsItsDevice) {
  D3DDEVICE_CREATION_PARAMETERS created{};
  ASSERT_EQ(m_device->GetCreationParameters(&created), D3D_OK);
  EXPECT_EQ(created.hFocusWindow, GetDesktopWindow());
  EXPECT_TRUE(created.BehaviorFlags & D3DCREATE_HARDWARE_VERTEXPROCESSING);
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
  m_device->Release();
  m_d3d->Release();
  m_device = nullptr;
  m_d3d = nullptr;

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
  int drawn = 0;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    EXPECT_EQ(pixels[i] >> 24, 0xFFu);
    const bool changed = pixels[i] != 0xFF204060;
    EXPECT_FALSE(changed && i < 400) << "above the cursor";
    drawn += changed;
  }
  EXPECT_GT(drawn, 20);
}

}  // namespace
}  // namespace qx::test
