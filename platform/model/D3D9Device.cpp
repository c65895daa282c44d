#include "platform/model/D3D9Device.h"

#include <algorithm>

#include "platform/model/Desktop.h"
#include "platform/model/Machine.h"
#include "platform/model/PatchPoints.h"
#include "platform/model/PictureMemory.h"
#include "platform/model/Rects.h"

namespace vwin {

VWIN_INTERFACE_IDS(IDirect3D9Ex, &IID_IDirect3D9, &IID_IDirect3D9Ex);
VWIN_INTERFACE_IDS(IDirect3DDevice9Ex, &IID_IDirect3DDevice9, &IID_IDirect3DDevice9Ex);

namespace d3d9 {
namespace {

constexpr UINT kMostPixels = 16384;  // in a row or a column
constexpr std::size_t kStretchRectEntry = 34;

HRESULT notProvided(const char* what) {
  NotProvided(what);
  return D3DERR_NOTAVAILABLE;
}

HRESULT checkSize(UINT width, UINT height) {
  if (width == 0 || height == 0 || width > kMostPixels || height > kMostPixels)
    return D3DERR_INVALIDCALL;
  return D3D_OK;
}

D3DSURFACE_DESC described(UINT width, UINT height, D3DFORMAT format, D3DPOOL pool, DWORD usage) {
  return {format, D3DRTYPE_SURFACE, usage, pool, D3DMULTISAMPLE_NONE, 0, width, height};
}

// `rect`, or all of `content`; empty when it isn't within.
RECT partOf(const SurfaceContent& content, const RECT* rect) {
  const RECT whole = content.bounds();
  if (!rect) return whole;
  return Covers(whole, *rect) ? *rect : RECT{};
}

bool canStretch(const SurfaceContent& from, const SurfaceContent& to) {
  return &from != &to && from.desc.Pool == D3DPOOL_DEFAULT && to.isRenderTarget() &&
         !from.isBusy() && !to.isBusy();
}

// ------------------------------------------------------------------------ device

class Device final : public ComImplementation<IDirect3DDevice9Ex> {
 public:
  Device(IDirect3D9Ex* d3d, const D3DDEVICE_CREATION_PARAMETERS& parameters)
      : ComImplementation("IDirect3DDevice9Ex", "CreateDeviceEx"),
        m_d3d(d3d),
        m_parameters(parameters),
        m_rule{scheduler::CurrentThreadId(),
               (parameters.BehaviorFlags & D3DCREATE_MULTITHREADED) != 0} {
    m_d3d->AddRef();
    stretchRectPoint();
  }

  const ThreadRule& rule() const { return m_rule; }

  HRESULT STDMETHODCALLTYPE
  GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* parameters) override {
    VWIN_METHOD(IDirect3DDevice9::GetCreationParameters);
    if (fault) return fault->hresult;
    if (!parameters) return D3DERR_INVALIDCALL;
    *parameters = m_parameters;
    return D3D_OK;
  }

  HRESULT STDMETHODCALLTYPE CreateRenderTarget(UINT width, UINT height, D3DFORMAT format,
                                               D3DMULTISAMPLE_TYPE multiSample, DWORD quality,
                                               BOOL lockable, IDirect3DSurface9** surface,
                                               HANDLE* sharedHandle) override {
    VWIN_METHOD(IDirect3DDevice9::CreateRenderTarget);
    if (surface) *surface = nullptr;
    if (fault) return fault->hresult;
    if (multiSample != D3DMULTISAMPLE_NONE || quality != 0)
      return notProvided("IDirect3DDevice9::CreateRenderTarget with several samples");
    return create("CreateRenderTarget",
                  described(width, height, format, D3DPOOL_DEFAULT, D3DUSAGE_RENDERTARGET),
                  lockable != FALSE, surface, sharedHandle);
  }

  HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT width, UINT height, D3DFORMAT format,
                                                        D3DPOOL pool, IDirect3DSurface9** surface,
                                                        HANDLE* sharedHandle) override {
    VWIN_METHOD(IDirect3DDevice9::CreateOffscreenPlainSurface);
    if (surface) *surface = nullptr;
    if (fault) return fault->hresult;
    if (pool != D3DPOOL_SYSTEMMEM && pool != D3DPOOL_DEFAULT) return D3DERR_INVALIDCALL;
    return create("CreateOffscreenPlainSurface", described(width, height, format, pool, 0), true,
                  surface, sharedHandle);
  }

  HRESULT STDMETHODCALLTYPE GetRenderTargetData(IDirect3DSurface9* source,
                                                IDirect3DSurface9* destination) override {
    VWIN_METHOD(IDirect3DDevice9::GetRenderTargetData);
    if (fault) return fault->hresult;
    const auto from = contentOf(source, "GetRenderTargetData");
    const auto to = contentOf(destination, "GetRenderTargetData");
    Lock lock;
    const HRESULT state = begin(lock, "IDirect3DDevice9::GetRenderTargetData");
    if (FAILED(state)) return state;
    if (!from || !to || !from->isRenderTarget() || to->desc.Pool != D3DPOOL_SYSTEMMEM ||
        from->desc.Format != to->desc.Format || !AreSame(from->bounds(), to->bounds()) ||
        from->isBusy() || to->isBusy()) {
      return D3DERR_INVALIDCALL;
    }
    std::copy(from->pixels.begin(), from->pixels.end(), to->pixels.begin());
    return D3D_OK;
  }

  HRESULT STDMETHODCALLTYPE StretchRect(IDirect3DSurface9* source, const RECT* sourceRect,
                                        IDirect3DSurface9* destination, const RECT* destinationRect,
                                        D3DTEXTUREFILTERTYPE filter) override {
    return stretchRectPoint().InForce<decltype(&stretchRectBody)>()(
        this, source, sourceRect, destination, destinationRect, filter);
  }

  HRESULT STDMETHODCALLTYPE ColorFill(IDirect3DSurface9* surface, const RECT* rect,
                                      D3DCOLOR color) override {
    VWIN_METHOD(IDirect3DDevice9::ColorFill);
    if (fault) return fault->hresult;
    const auto content = contentOf(surface, "ColorFill");
    Lock lock;
    const HRESULT state = begin(lock, "IDirect3DDevice9::ColorFill");
    if (FAILED(state)) return state;
    if (!content || content->desc.Pool != D3DPOOL_DEFAULT || content->isBusy())
      return D3DERR_INVALIDCALL;
    const RECT part = partOf(*content, rect);
    if (IsEmpty(part)) return D3DERR_INVALIDCALL;
    for (int y = part.top; y < part.bottom; ++y)
      std::fill_n(content->At(part.left, y), WidthOf(part), std::uint32_t{color});
    return D3D_OK;
  }

 private:
  static HRESULT STDMETHODCALLTYPE stretchRectBody(
      IDirect3DDevice9* device, IDirect3DSurface9* source, const RECT* sourceRect,
      IDirect3DSurface9* destination, const RECT* destinationRect, D3DTEXTUREFILTERTYPE filter) {
    return static_cast<Device*>(device)->stretch(source, sourceRect, destination, destinationRect,
                                                 filter);
  }

  // Its entry is what the first device has in its function table.
  const patches::PatchPoint& stretchRectPoint() {
    IDirect3DDevice9* const device = this;
    static const patches::PatchPoint point((*reinterpret_cast<void***>(device))[kStretchRectEntry],
                                           reinterpret_cast<void*>(&stretchRectBody));
    return point;
  }

  HRESULT stretch(IDirect3DSurface9* source, const RECT* sourceRect, IDirect3DSurface9* destination,
                  const RECT* destinationRect, D3DTEXTUREFILTERTYPE filter) {
    VWIN_METHOD(IDirect3DDevice9::StretchRect);
    if (fault) return fault->hresult;
    const auto from = contentOf(source, "StretchRect");
    const auto to = contentOf(destination, "StretchRect");
    Lock lock;
    const HRESULT state = begin(lock, "IDirect3DDevice9::StretchRect");
    if (FAILED(state)) return state;
    if (!from || !to || !canStretch(*from, *to) || filter > D3DTEXF_LINEAR)
      return D3DERR_INVALIDCALL;
    const RECT fromRect = partOf(*from, sourceRect);
    const RECT toRect = partOf(*to, destinationRect);
    if (IsEmpty(fromRect) || IsEmpty(toRect)) return D3DERR_INVALIDCALL;
    Scale(*from, fromRect, *to, toRect, filter == D3DTEXF_LINEAR);
    return D3D_OK;
  }

  // Of every call that needs the graphics card.
  HRESULT begin(Lock& lock, const char* call) const {
    m_rule.Check(lock, call);
    return TheMachine(lock).d3d9DeviceState;
  }

  HRESULT create(const char* call, const D3DSURFACE_DESC& desc, bool lockable,
                 IDirect3DSurface9** surface, const HANDLE* sharedHandle) {
    {
      Lock lock;
      const HRESULT state = begin(lock, call);
      if (FAILED(state)) return state;
    }
    const HRESULT size = checkSize(desc.Width, desc.Height);
    if (FAILED(size) || !surface) return D3DERR_INVALIDCALL;
    if (sharedHandle) return notProvided("a shared surface");
    if (desc.Format != D3DFMT_A8R8G8B8 && desc.Format != D3DFMT_X8R8G8B8)
      return notProvided("a surface of this format");
    auto content = std::make_shared<SurfaceContent>(desc, lockable);
    if (desc.Pool == D3DPOOL_SYSTEMMEM) {
      content =
          pictures::Count(content, std::size_t{desc.Width} * desc.Height * sizeof(std::uint32_t));
    }
    *surface = new Surface(this, m_rule, content, call);
    return D3D_OK;
  }

  // Null for another device's as well.
  std::shared_ptr<SurfaceContent> contentOf(IDirect3DSurface9* given, const char* call) {
    auto* const surface = dynamic_cast<Surface*>(given);
    if (!surface) return nullptr;
    surface->CheckUse(call);
    return surface->device() == this ? surface->content() : nullptr;
  }

  void afterLastRelease() override { m_d3d->Release(); }

  IDirect3D9Ex* const m_d3d;
  const D3DDEVICE_CREATION_PARAMETERS m_parameters;
  const ThreadRule m_rule;
};

// ------------------------------------------------------------------------ object

bool areUsable(DWORD behaviour, const D3DPRESENT_PARAMETERS& parameters, HWND focusWindow) {
  constexpr DWORD kProcessing = D3DCREATE_SOFTWARE_VERTEXPROCESSING |
                                D3DCREATE_HARDWARE_VERTEXPROCESSING |
                                D3DCREATE_MIXED_VERTEXPROCESSING;
  const DWORD processing = behaviour & kProcessing;
  const bool one = processing != 0 && (processing & (processing - 1)) == 0;
  return one && parameters.SwapEffect != 0 && (focusWindow || parameters.hDeviceWindow);
}

class Direct3D final : public ComImplementation<IDirect3D9Ex> {
 public:
  Direct3D() : ComImplementation("IDirect3D9Ex", "Direct3DCreate9Ex") {}

  HRESULT STDMETHODCALLTYPE CreateDeviceEx(UINT adapter, D3DDEVTYPE type, HWND focusWindow,
                                           DWORD behaviour, D3DPRESENT_PARAMETERS* parameters,
                                           D3DDISPLAYMODEEX* fullScreenMode,
                                           IDirect3DDevice9Ex** device) override {
    VWIN_METHOD(IDirect3D9Ex::CreateDeviceEx);
    if (device) *device = nullptr;
    if (fault) return fault->hresult;
    if (!device || !parameters || !areUsable(behaviour, *parameters, focusWindow))
      return D3DERR_INVALIDCALL;
    if (type != D3DDEVTYPE_HAL || !parameters->Windowed || fullScreenMode)
      return notProvided("IDirect3D9Ex::CreateDeviceEx of such a device");
    {
      Lock lock;
      if (adapter >= desktop::Get(lock).monitors.size()) return D3DERR_INVALIDCALL;
      for (const HWND window : {focusWindow, parameters->hDeviceWindow})
        if (window && !desktop::FindWindow(lock, window)) return D3DERR_INVALIDCALL;
      if (TheMachine(lock).adapters.empty()) return D3DERR_NOTAVAILABLE;
    }
    *device = new Device(this, {adapter, type, focusWindow, behaviour});
    return D3D_OK;
  }
};

}  // namespace

HRESULT MakeDirect3D(IDirect3D9Ex** d3d) {
  *d3d = new Direct3D;
  return D3D_OK;
}

IDirect3DSurface9* MakeRenderTarget(IDirect3DDevice9* device, int width, int height) {
  auto* const made = dynamic_cast<Device*>(device);
  if (!made) return nullptr;
  const auto desc = described(static_cast<UINT>(width), static_cast<UINT>(height), D3DFMT_A8R8G8B8,
                              D3DPOOL_DEFAULT, D3DUSAGE_RENDERTARGET);
  return new Surface(made, made->rule(), std::make_shared<SurfaceContent>(desc, false),
                     "MakeRenderTarget");
}

std::shared_ptr<SurfaceContent> ContentOf(IDirect3DSurface9* surface) {
  auto* const made = dynamic_cast<Surface*>(surface);
  return made ? made->content() : nullptr;
}

}  // namespace d3d9
}  // namespace vwin
