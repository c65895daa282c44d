#include "platform/model/GraphicsCaptureFrame.h"

#include <utility>

#include "platform/model/Inspectable.h"

namespace vwin::capture {
namespace {

constexpr const char* kTakesFrame = "IDirect3D11CaptureFramePool::TryGetNextFrame";

class Direct3DDevice final : public Inspectable<wgc::IDirect3DDevice> {
 public:
  explicit Direct3DDevice(ID3D11Device* device)
      : Inspectable("IDirect3DDevice", "CreateDirect3D11DeviceFromDXGIDevice"), m_device(device) {
    m_device->AddRef();
  }

  ID3D11Device* device() const { return m_device; }
  void CheckUse(const char* call) { checkAlive(call); }

  HRESULT STDMETHODCALLTYPE Trim() override {
    VWIN_METHOD(IDirect3DDevice::Trim);
    return fault ? fault->hresult : S_OK;
  }

 private:
  void afterLastRelease() override { m_device->Release(); }

  ID3D11Device* const m_device;
};

class FrameSurface final
    : public Inspectable<wgc::IDirect3DSurface, wgc::IDirect3DDxgiInterfaceAccess> {
 public:
  // Takes over the reference to `texture`.
  explicit FrameSurface(d3d11::Texture* texture)
      : Inspectable("IDirect3DSurface", kTakesFrame), m_texture(texture) {}

  HRESULT STDMETHODCALLTYPE get_Description(wgc::Direct3DSurfaceDescription* description) override {
    VWIN_METHOD(IDirect3DSurface::get_Description);
    if (description == nullptr) return E_POINTER;
    *description = {};
    if (fault) return fault->hresult;
    const D3D11_TEXTURE2D_DESC& desc = m_texture->content()->desc;
    *description = {static_cast<std::int32_t>(desc.Width), static_cast<std::int32_t>(desc.Height),
                    wgc::DirectXPixelFormat::B8G8R8A8UIntNormalized, 1, 0};
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetInterface(REFIID iid, void** object) override {
    VWIN_METHOD(IDirect3DDxgiInterfaceAccess::GetInterface);
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return fault ? fault->hresult : m_texture->query(iid, object);
  }

 private:
  void afterLastRelease() override { m_texture->Release(); }

  d3d11::Texture* const m_texture;
};

class Frame final : public Inspectable<wgc::IDirect3D11CaptureFrame, wgc::IClosable> {
 public:
  // Each frame has a content of its own, with the buffer's pixels: what it gave stays
  // withdrawn when the next one has them.
  Frame(ID3D11Device* device, const FrameFacts& facts)
      : Inspectable("IDirect3D11CaptureFrame", kTakesFrame),
        m_facts(facts),
        m_lent(std::make_shared<d3d11::TextureContent>(*facts.buffer->texture)),
        m_surface(new FrameSurface(new d3d11::Texture(device, m_lent, kTakesFrame))) {}

  HRESULT STDMETHODCALLTYPE get_Surface(wgc::IDirect3DSurface** surface) override {
    VWIN_METHOD(IDirect3D11CaptureFrame::get_Surface);
    if (surface == nullptr) return E_POINTER;
    *surface = nullptr;
    if (fault) return fault->hresult;
    Lock lock;
    if (!m_lent) return RO_E_CLOSED;
    m_surface->AddRef();
    *surface = m_surface;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_SystemRelativeTime(std::int64_t* time) override {
    VWIN_METHOD(IDirect3D11CaptureFrame::get_SystemRelativeTime);
    if (time == nullptr) return E_POINTER;
    *time = 0;
    if (fault) return fault->hresult;
    Lock lock;
    if (!m_lent) return RO_E_CLOSED;
    *time = m_facts.time;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_ContentSize(wgc::SizeInt32* size) override {
    VWIN_METHOD(IDirect3D11CaptureFrame::get_ContentSize);
    if (size == nullptr) return E_POINTER;
    *size = {};
    if (fault) return fault->hresult;
    Lock lock;
    if (!m_lent) return RO_E_CLOSED;
    *size = {m_facts.content.cx, m_facts.content.cy};
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Close() override {
    VWIN_METHOD(IClosable::Close);
    Lock lock;
    end(lock);
    // It is closed, whatever the answer is.
    return fault ? fault->hresult : S_OK;
  }

 private:
  void onLastRelease(Lock& lock) override { end(lock); }
  void afterLastRelease() override { m_surface->Release(); }

  void end(Lock&) {
    if (!m_lent) return;
    m_lent->withdrawn = true;
    m_lent.reset();
    m_facts.buffer->out = false;
  }

  const FrameFacts m_facts;
  std::shared_ptr<d3d11::TextureContent> m_lent;
  FrameSurface* const m_surface;
};

}  // namespace

HRESULT MakeDirect3DDevice(ID3D11Device* device, wgc::IInspectable** direct3dDevice) {
  return Direct3DDevice::Make<Direct3DDevice>(wgc::IID_IInspectable,
                                              reinterpret_cast<void**>(direct3dDevice), device);
}

ID3D11Device* DeviceBehind(wgc::IDirect3DDevice* given, const char* call) {
  auto* const device = dynamic_cast<Direct3DDevice*>(given);
  if (device == nullptr) return nullptr;
  device->CheckUse(call);
  return device->device();
}

HRESULT MakeFrame(ID3D11Device* device, const FrameFacts& facts,
                  wgc::IDirect3D11CaptureFrame** frame) {
  return Frame::Make<Frame>(wgc::IID_IDirect3D11CaptureFrame, reinterpret_cast<void**>(frame),
                            device, facts);
}

}  // namespace vwin::capture
