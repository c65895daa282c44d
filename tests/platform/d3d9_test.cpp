// Direct3D 9: what Windows refuses, and Wine doesn't; what is noted as misuse.
#include "platform/control/Ledger.h"
#include "platform/control/Magnification.h"
#include "tests/platform/Direct3D9Test.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

TEST_F(Direct3D9, RefusesSurfacesThatDoNotFitTheCall) {
  IDirect3DSurface9* const source = target(16, 8);
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
  EXPECT_EQ(stretch(source, nullptr, source), D3DERR_INVALIDCALL);
  EXPECT_EQ(stretch(source, &beyond, other), D3DERR_INVALIDCALL);
  EXPECT_EQ(m_device->ColorFill(memory, nullptr, 0xFFC81E0A), D3DERR_INVALIDCALL);

  IDirect3DSurface9* none = nullptr;
  EXPECT_EQ(
      m_device->CreateRenderTarget(0, 8, kFormat, D3DMULTISAMPLE_NONE, 0, FALSE, &none, nullptr),
      D3DERR_INVALIDCALL);
  EXPECT_FALSE(none);

  vwin::control::SetD3D9DeviceState(D3DERR_DEVICEHUNG);
  EXPECT_EQ(m_device->CreateOffscreenPlainSurface(4, 4, kFormat, D3DPOOL_SYSTEMMEM, &none, nullptr),
            D3DERR_DEVICEHUNG);
  EXPECT_FALSE(none);
  vwin::control::SetD3D9DeviceState(S_OK);
}

TEST_F(Direct3D9, IsForOneThreadAndHandsOutGapsAndGarbage) {
  D3DLOCKED_RECT locked{};
  IDirect3DSurface9* const memory = readable(16, 8);
  EXPECT_EQ(memory->LockRect(&locked, nullptr, 0), D3D_OK);
  EXPECT_GT(locked.Pitch, 16 * 4);
  EXPECT_EQ(memory->UnlockRect(), D3D_OK);
  EXPECT_NE(pixelsOf(memory)[0], 0u) << "nothing clears what is new";
  EXPECT_NE(pixelsOf(target(1, 1))[0], 0u);
  TestThread stranger([this] { m_device->ColorFill(nullptr, nullptr, 0); });
  stranger.Join();
  EXPECT_EQ(vwin::control::TakeMisuses().size(), 1u);
  for (IDirect3DSurface9* surface : m_surfaces) surface->Release();
  m_surfaces.clear();
  m_device->Release();
  m_device->Release();
  EXPECT_EQ(vwin::control::TakeMisuses().size(), 1u) << "once too often";
  m_device = nullptr;
}

}  // namespace
}  // namespace qx::test
