// Direct3D 9: surfaces in memory.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <d3d9.h>

#include <algorithm>
#include <cstdint>

namespace qx::test {
namespace {

// A device of the first card, made by its place in the table, which is what the library goes by.
IDirect3DDevice9Ex* MakeDevice(IDirect3D9Ex* d3d) {
  using CreateDeviceEx =
      HRESULT(STDMETHODCALLTYPE*)(IDirect3D9Ex*, UINT, D3DDEVTYPE, HWND, DWORD,
                                  D3DPRESENT_PARAMETERS*, D3DDISPLAYMODEEX*, IDirect3DDevice9Ex**);
  const auto create = reinterpret_cast<CreateDeviceEx>((*reinterpret_cast<void***>(d3d))[20]);
  D3DPRESENT_PARAMETERS parameters{};
  parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
  parameters.Windowed = TRUE;
  IDirect3DDevice9Ex* device = nullptr;
  EXPECT_EQ(create(d3d, D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, GetDesktopWindow(),
                   D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, nullptr, &device),
            D3D_OK);
  return device;
}

TEST(Direct3D9, MemoryIsLockedOrDrawnOnByOneAtATimeAndKeepsItsDevice) {
  const HMODULE module = LoadLibraryA("d3d9.dll");
  const auto create = reinterpret_cast<decltype(&Direct3DCreate9Ex)>(
      reinterpret_cast<void*>(GetProcAddress(module, "Direct3DCreate9Ex")));
  ASSERT_TRUE(create);
  IDirect3D9Ex* d3d = nullptr;
  ASSERT_EQ(create(D3D_SDK_VERSION, &d3d), D3D_OK);
  IDirect3DDevice9Ex* const device = MakeDevice(d3d);
  ASSERT_TRUE(device);
  D3DDEVICE_CREATION_PARAMETERS created{};
  ASSERT_EQ(device->GetCreationParameters(&created), D3D_OK);
  EXPECT_EQ(created.hFocusWindow, GetDesktopWindow());
  EXPECT_TRUE(created.BehaviorFlags & D3DCREATE_HARDWARE_VERTEXPROCESSING);
  IDirect3DSurface9* memory = nullptr;
  ASSERT_EQ(device->CreateOffscreenPlainSurface(40, 40, D3DFMT_A8R8G8B8, D3DPOOL_SYSTEMMEM, &memory,
                                                nullptr),
            D3D_OK);
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
  IDirect3DSurface9* target = nullptr;
  ASSERT_EQ(device->CreateRenderTarget(8, 8, D3DFMT_A8R8G8B8, D3DMULTISAMPLE_NONE, 0, FALSE,
                                       &target, nullptr),
            D3D_OK);
  EXPECT_EQ(target->LockRect(&locked, nullptr, 0), D3DERR_INVALIDCALL);
  target->Release();
  device->Release();
  d3d->Release();

  const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
  ASSERT_EQ(memory->GetDC(&dc), D3D_OK);
  EXPECT_EQ(memory->LockRect(&locked, nullptr, 0), D3DERR_INVALIDCALL);
  HDC second = nullptr;
  EXPECT_EQ(memory->GetDC(&second), D3DERR_INVALIDCALL);
  // Partly outside.
  EXPECT_TRUE(DrawIconEx(dc, -2, 10, arrow, 32, 32, 0, nullptr, DI_NORMAL | DI_COMPAT));
  EXPECT_EQ(memory->ReleaseDC(dc), D3D_OK);
  EXPECT_EQ(memory->ReleaseDC(dc), D3DERR_INVALIDCALL);

  ASSERT_EQ(memory->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
  int drawn = 0;
  for (int y = 0; y < 40; ++y) {
    const auto* const row = reinterpret_cast<const std::uint32_t*>(
        static_cast<const char*>(locked.pBits) + y * locked.Pitch);
    for (int x = 0; x < 40; ++x) {
      EXPECT_EQ(row[x] >> 24, 0xFFu);
      const bool changed = row[x] != 0xFF204060;
      EXPECT_FALSE(changed && y < 10) << "above the cursor";
      drawn += changed;
    }
  }
  EXPECT_GT(drawn, 20);
  EXPECT_EQ(memory->UnlockRect(), D3D_OK);
  memory->Release();
  FreeLibrary(module);
}

}  // namespace
}  // namespace qx::test
