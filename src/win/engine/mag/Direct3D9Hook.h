#pragma once

#include <d3d9.h>
#include <windows.h>

#include <atomic>

#include "common/Singleton.h"

namespace qx {

// Redirects two functions of Direct3D 9, each from the first engine that needs it on to
// the end of the process. Any thread; who comes while another one is at it gets false.
//
// - Direct3DCreate9Ex, by which the magnifier makes its device: a fault in the graphics
//   driver becomes an error there instead of the end of the host.
// - IDirect3DDevice9::StretchRect, where the magnifier's pictures are to be had. The
//   detour runs for all devices of the process.
class Direct3D9Hook : public Singleton<Direct3D9Hook> {
 public:
  using StretchRectFunction = HRESULT(STDMETHODCALLTYPE*)(
      IDirect3DDevice9* device, IDirect3DSurface9* source, const RECT* sourceRect,
      IDirect3DSurface9* dest, const RECT* destRect, D3DTEXTUREFILTERTYPE filter);

  // True also when the hook is in place already. Failures are logged.
  bool HookDirect3DCreate9Ex();
  // The first detour stays. Makes a device for a moment, to find the function.
  bool HookStretchRect(StretchRectFunction detour);
  bool IsHookingStretchRect() const { return m_stretchRectHooking; }

  // Keeps d3d12.dll in the process if Direct3D 9 turns out to work by way of it. Counts
  // when it comes before StretchRect is hooked.
  void EnableD3D12CompatibleFix() { m_d3d12CompatibleFix = true; }

  // Whether the latest Direct3DCreate9Ex of the process faulted.
  bool IsD3D9Exception() const { return m_exception; }

  // The function as it was; null before it is hooked.
  StretchRectFunction GetStretchRectOriginal() const {
    return reinterpret_cast<StretchRectFunction>(stretchRectOriginal.load());
  }

 private:
  friend class Singleton<Direct3D9Hook>;
  Direct3D9Hook() = default;

  static HRESULT WINAPI Direct3DCreate9ExHook(UINT sdkVersion, IDirect3D9Ex** out) noexcept;
  HRESULT createUnlessFaulty(UINT sdkVersion, IDirect3D9Ex** out) noexcept;
  void initOriginalFunc();
  void CheckD3D9On12Feature();

  std::atomic<void*> Direct3DCreate9ExOrigin = nullptr;
  std::atomic<bool> m_create9ExHooking = false;
  std::atomic<bool> m_exception = false;
  std::atomic<void*> stretchRectOriginal = nullptr;
  std::atomic<bool> m_stretchRectHooking = false;
  std::atomic<bool> m_d3d12CompatibleFix = false;
  std::atomic<bool> m_d3d12Pinned = false;
  std::atomic<bool> m_d3d9On12Checked = false;
};

}  // namespace qx
