// Surfaces of Direct3D 9. The COM object is a shell around pixels that it shares with who
// draws on them.
#pragma once

#include <d3d9.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/model/ComObject.h"
#include "platform/model/Gdi.h"

namespace vwin {

VWIN_INTERFACE_IDS(IDirect3DSurface9, &IID_IDirect3DResource9, &IID_IDirect3DSurface9);

namespace d3d9 {

// Pixels of 0xAARRGGBB, which hold anything at first. Rows are wider than the picture.
struct SurfaceContent {
  SurfaceContent(const D3DSURFACE_DESC& wanted, bool canBeLocked);

  const D3DSURFACE_DESC desc;
  const bool lockable;
  const std::ptrdiff_t stride;  // in pixels
  std::vector<std::uint32_t> pixels;
  bool locked = false;
  HDC dc = nullptr;                // that is out
  std::shared_ptr<Bitmap> bitmap;  // that it draws on

  int width() const { return static_cast<int>(desc.Width); }
  int height() const { return static_cast<int>(desc.Height); }
  RECT bounds() const { return {0, 0, width(), height()}; }
  bool isRenderTarget() const { return (desc.Usage & D3DUSAGE_RENDERTARGET) != 0; }
  bool isBusy() const { return locked || dc; }
  std::uint32_t* At(int x, int y) { return pixels.data() + y * stride + x; }
};

// Copies a part of one to a part of the other, both within their surfaces and not empty.
void Scale(SurfaceContent& from, const RECT& fromRect, SurfaceContent& to, const RECT& toRect,
           bool linear);

// Who may call a device and its surfaces.
struct ThreadRule {
  std::uint32_t threadId = 0;
  bool anyThread = false;  // D3DCREATE_MULTITHREADED

  // A call by another thread is a misuse.
  void Check(Lock& lock, const char* call) const;
};

// Keeps its device.
class Surface final : public ComImplementation<IDirect3DSurface9> {
 public:
  Surface(IDirect3DDevice9* device, const ThreadRule& rule, std::shared_ptr<SurfaceContent> content,
          const char* call);

  IDirect3DDevice9* device() const { return m_device; }
  const std::shared_ptr<SurfaceContent>& content() const { return m_content; }
  // For another object's call that gets this one.
  void CheckUse(const char* call) { checkAlive(call); }

  HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC* desc) override;
  HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* locked, const RECT* rect,
                                     DWORD flags) override;
  HRESULT STDMETHODCALLTYPE UnlockRect() override;
  HRESULT STDMETHODCALLTYPE GetDC(HDC* dc) override;
  HRESULT STDMETHODCALLTYPE ReleaseDC(HDC dc) override;

 private:
  void onLastRelease(Lock& lock) override;
  void afterLastRelease() override;

  IDirect3DDevice9* const m_device;
  const ThreadRule m_rule;
  std::shared_ptr<SurfaceContent> m_content;
};

}  // namespace d3d9
}  // namespace vwin
