#include "win/engine/mag/Direct3D9Hook.h"

#include <cstdint>
#include <string>

#include "common/Logging.h"
#include "win/util/ComPtr.h"
#include "win/util/InlinePatch.h"
#include "win/util/RunClosed.h"
#include "win/util/StructuredGuard.h"

namespace qx {
namespace {

using CreateFunction = HRESULT(WINAPI*)(UINT sdkVersion, IDirect3D9Ex** out);

// Of IDirect3DDevice9, counted from QueryInterface.
constexpr int kStretchRectSlot = 34;

// Lets one thread at a time hook a function.
class HookingGuard {
 public:
  explicit HookingGuard(std::atomic<bool>& hooking)
      : m_hooking(hooking), m_entered(!hooking.exchange(true)) {
    if (!m_entered) {
      QX_LOG_WARN("is hooking");
    }
  }
  HookingGuard(const HookingGuard&) = delete;
  HookingGuard& operator=(const HookingGuard&) = delete;
  ~HookingGuard() {
    if (m_entered) {
      m_hooking = false;
    }
  }

  explicit operator bool() const { return m_entered; }

 private:
  std::atomic<bool>& m_hooking;
  const bool m_entered;
};

// A function that can't be redirected is as good as not found.
bool Patch(const char* name, std::atomic<void*>& function, void* detour) {
  const std::string reason = Redirect(function, detour);
  if (reason.empty()) {
    return true;
  }
  function = nullptr;
  QX_LOG_ERROR("{} can't be hooked:{}", name, reason);
  return false;
}

// False when it faulted, however that showed. `out` is null then.
bool CreateGuarded(CreateFunction create, UINT sdkVersion, IDirect3D9Ex** out,
                   HRESULT& hr) noexcept {
  bool completed = false;
  RunClosed("Direct3DCreate9Ex",
            [&] { completed = RunGuarded([&] { hr = create(sdkVersion, out); }); });
  if (!completed) {
    hr = E_FAIL;
    if (out) {
      *out = nullptr;
    }
  }
  return completed;
}

}  // namespace

bool Direct3D9Hook::HookDirect3DCreate9Ex() {
  QX_TRACE("Direct3D9Hook::HookDirect3DCreate9Ex");
  const HookingGuard guard(m_create9ExHooking);
  if (!guard) {
    return false;
  }
  if (Direct3DCreate9ExOrigin) {
    QX_LOG_INFO("already hooked");
    return true;
  }
  Direct3DCreate9ExOrigin = FindSystemFunction(L"d3d9.dll", "Direct3DCreate9Ex");
  if (!Direct3DCreate9ExOrigin) {
    QX_LOG_ERROR("find Direct3DCreate9ExOrigin failed");
    return false;
  }
  return Patch("Direct3DCreate9Ex", Direct3DCreate9ExOrigin,
               reinterpret_cast<void*>(&Direct3DCreate9ExHook));
}

bool Direct3D9Hook::HookStretchRect(StretchRectFunction detour) {
  QX_TRACE("Direct3D9Hook::HookStretchRect");
  if (!detour) {
    QX_LOG_ERROR("invalid param:nullptr");
    return false;
  }
  const HookingGuard guard(m_stretchRectHooking);
  if (!guard) {
    return false;
  }
  if (stretchRectOriginal) {
    QX_LOG_INFO("already hooked");
    return true;
  }
  initOriginalFunc();
  if (!stretchRectOriginal) {
    QX_LOG_ERROR("get stretchRectOriginal failed");
    return false;
  }
  return Patch("StretchRect", stretchRectOriginal, reinterpret_cast<void*>(detour));
}

// The code behind a device's function is shared by all devices of the runtime, so that of
// one that is thrown away again will do.
void Direct3D9Hook::initOriginalFunc() {
  QX_TRACE("Direct3D9Hook::initOriginalFunc");
  const auto create =
      reinterpret_cast<CreateFunction>(FindSystemFunction(L"d3d9.dll", "Direct3DCreate9Ex"));
  ComPtr<IDirect3D9Ex> d3d;
  HRESULT hr = E_FAIL;
  // Without the other hook nobody else would catch a fault.
  if (create) {
    static_cast<void>(CreateGuarded(create, D3D_SDK_VERSION, d3d.Put(), hr));
  }
  if (FAILED(hr) || !d3d) {
    QX_LOG_ERROR("Direct3DCreate9Ex failed:{}", static_cast<std::int32_t>(hr));
    return;
  }
  if (m_d3d12CompatibleFix) {
    CheckD3D9On12Feature();
  }
  D3DPRESENT_PARAMETERS parameters = {};
  parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
  parameters.Windowed = TRUE;
  ComPtr<IDirect3DDevice9Ex> device;
  hr = d3d->CreateDeviceEx(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, GetDesktopWindow(),
                           D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, nullptr, device.Put());
  if (FAILED(hr) || !device) {
    QX_LOG_ERROR("CreateDeviceEx failed:{}", static_cast<std::int32_t>(hr));
    return;
  }
  void* const* const functions = *reinterpret_cast<void* const* const*>(device.Get());
  stretchRectOriginal = functions[kStretchRectSlot];
}

void Direct3D9Hook::CheckD3D9On12Feature() {
  if (m_d3d9On12Checked.exchange(true)) {
    return;
  }
  QX_TRACE("Direct3D9Hook::CheckD3D9On12Feature");
  if (m_d3d12Pinned || !GetModuleHandleA("d3d9on12.dll")) {
    QX_LOG_INFO("CheckD3D9On12Feature pin d3d12 module skipped.");
    return;
  }
  HMODULE module = nullptr;
  m_d3d12Pinned = GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, L"d3d12.dll", &module) != FALSE;
  const auto error = static_cast<std::uint32_t>(GetLastError());
  if (m_d3d12Pinned) {
    QX_LOG_INFO("CheckD3D9On12Feature successfully pinned d3d12 module.");
  } else {
    QX_LOG_ERROR("CheckD3D9On12Feature pin d3d12 module failed, error: {}", error);
  }
}

HRESULT WINAPI Direct3D9Hook::Direct3DCreate9ExHook(UINT sdkVersion, IDirect3D9Ex** out) noexcept {
  return Instance().createUnlessFaulty(sdkVersion, out);
}

HRESULT Direct3D9Hook::createUnlessFaulty(UINT sdkVersion, IDirect3D9Ex** out) noexcept {
  const auto original = reinterpret_cast<CreateFunction>(Direct3DCreate9ExOrigin.load());
  if (!original) {
    if (out) {
      *out = nullptr;
    }
    return E_FAIL;
  }
  HRESULT hr = E_FAIL;
  const bool completed = CreateGuarded(original, sdkVersion, out, hr);
  if (!completed) {
    QX_LOG_ERROR("Direct3DCreate9Ex throw a exception");
  }
  m_exception = !completed;
  return hr;
}

}  // namespace qx
