// Direct3D 9: surfaces in memory.
#include <algorithm>

#include "tests/platform/Direct3D9Test.h"

namespace qx::test {
namespace {

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
