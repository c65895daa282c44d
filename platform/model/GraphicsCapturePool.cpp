#include "platform/model/GraphicsCapturePool.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/model/D3D11Device.h"
#include "platform/model/GraphicsCaptureFrame.h"
#include "platform/model/GraphicsCapturePicture.h"
#include "platform/model/GraphicsCaptureSession.h"
#include "platform/model/Inspectable.h"

namespace vwin::capture {
namespace {

HRESULT notProvided(const char* function) {
  NotProvided(function);
  return E_NOTIMPL;
}

// What a pool is made of.
struct PoolSpec {
  ID3D11Device* device;  // borrowed
  std::int32_t buffers;
  SIZE size;
};

HRESULT readSpec(wgc::IDirect3DDevice* device, wgc::DirectXPixelFormat format, std::int32_t buffers,
                 wgc::SizeInt32 size, const char* call, PoolSpec& wanted) {
  constexpr std::int32_t kMost = D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION;
  wanted = {DeviceBehind(device, call), buffers, {size.width, size.height}};
  const bool possible = wanted.device != nullptr &&
                        format == wgc::DirectXPixelFormat::B8G8R8A8UIntNormalized && buffers >= 1 &&
                        size.width > 0 && size.height > 0 && size.width <= kMost &&
                        size.height <= kMost;
  return possible ? d3d11::StateOf(wanted.device) : E_INVALIDARG;
}

std::vector<std::shared_ptr<Buffer>> makeBuffers(const PoolSpec& wanted) {
  D3D11_TEXTURE2D_DESC desc{};
  desc.Width = static_cast<UINT>(wanted.size.cx);
  desc.Height = static_cast<UINT>(wanted.size.cy);
  desc.MipLevels = 1;
  desc.ArraySize = 1;
  desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
  desc.SampleDesc = {1, 0};
  desc.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
  std::vector<std::shared_ptr<Buffer>> buffers;
  for (std::int32_t i = 0; i < wanted.buffers; ++i) {
    buffers.push_back(std::make_shared<Buffer>());
    buffers.back()->texture = std::make_shared<d3d11::TextureContent>(desc);
  }
  return buffers;
}

class Pool final : public Inspectable<wgc::IDirect3D11CaptureFramePool, wgc::IClosable> {
 public:
  explicit Pool(const PoolSpec& wanted)
      : Inspectable("Direct3D11CaptureFramePool",
                    "IDirect3D11CaptureFramePoolStatics2::CreateFreeThreaded"),
        m_device(wanted.device),
        m_size(wanted.size),
        m_buffers(makeBuffers(wanted)) {
    m_device->AddRef();
  }

  HRESULT STDMETHODCALLTYPE Recreate(wgc::IDirect3DDevice* device, wgc::DirectXPixelFormat format,
                                     std::int32_t buffers, wgc::SizeInt32 size) override {
    VWIN_METHOD(IDirect3D11CaptureFramePool::Recreate);
    if (fault) return fault->hresult;
    PoolSpec wanted;
    const HRESULT read =
        readSpec(device, format, buffers, size, "IDirect3D11CaptureFramePool::Recreate", wanted);
    if (FAILED(read)) return read;
    auto made = makeBuffers(wanted);
    ID3D11Device* unused = wanted.device;
    unused->AddRef();
    HRESULT result = RO_E_CLOSED;
    {
      Lock lock;
      if (!m_closed) {
        std::swap(m_device, unused);
        m_size = wanted.size;
        m_buffers.swap(made);
        if (m_session) {
          m_session->poolSize = m_size;
          m_session->fresh = true;
        }
        result = S_OK;
      }
    }
    unused->Release();
    return result;
  }

  HRESULT STDMETHODCALLTYPE TryGetNextFrame(wgc::IDirect3D11CaptureFrame** frame) override {
    VWIN_METHOD(IDirect3D11CaptureFramePool::TryGetNextFrame);
    if (frame == nullptr) return E_POINTER;
    *frame = nullptr;
    if (fault) return fault->hresult;
    FrameFacts facts;
    ID3D11Device* device = nullptr;
    {
      Lock lock;
      if (m_closed) return RO_E_CLOSED;
      if (const HRESULT state = d3d11::StateOf(lock, m_device); FAILED(state)) return state;
      facts.buffer = freeBuffer();
      if (!facts.buffer || !hasNews(lock)) return S_OK;
      m_shown.CopyTo(facts.buffer->texture->image());
      facts.buffer->out = true;
      facts.content = m_shown.content;
      // Times differ from frame to frame, even when the clock stands still.
      m_lastTime = std::max(scheduler::PerformanceCounter(lock), m_lastTime + 1);
      facts.time = m_lastTime;
      device = m_device;
      device->AddRef();
    }
    const HRESULT result = MakeFrame(device, facts, frame);
    device->Release();
    return result;
  }

  HRESULT STDMETHODCALLTYPE add_FrameArrived(IUnknown*, wgc::EventRegistrationToken*) override {
    return notProvided("IDirect3D11CaptureFramePool::add_FrameArrived");
  }
  HRESULT STDMETHODCALLTYPE remove_FrameArrived(wgc::EventRegistrationToken) override {
    return notProvided("IDirect3D11CaptureFramePool::remove_FrameArrived");
  }

  HRESULT STDMETHODCALLTYPE CreateCaptureSession(wgc::IGraphicsCaptureItem* item,
                                                 wgc::IGraphicsCaptureSession** session) override {
    VWIN_METHOD(IDirect3D11CaptureFramePool::CreateCaptureSession);
    if (session == nullptr) return E_POINTER;
    *session = nullptr;
    if (fault) return fault->hresult;
    const auto state = std::make_shared<SessionState>();
    state->source = SourceOf(item, "IDirect3D11CaptureFramePool::CreateCaptureSession");
    if (!state->source) return E_INVALIDARG;
    {
      Lock lock;
      if (m_closed) return RO_E_CLOSED;
      if (m_session && !m_session->ended) return E_ILLEGAL_METHOD_CALL;  // it has one
      state->poolSize = m_size;
      m_session = state;
    }
    return MakeSession(item, state, session);
  }
  HRESULT STDMETHODCALLTYPE get_DispatcherQueue(wgc::IInspectable**) override {
    return notProvided("IDirect3D11CaptureFramePool::get_DispatcherQueue");
  }

  HRESULT STDMETHODCALLTYPE Close() override {
    VWIN_METHOD(IClosable::Close);
    Lock lock;
    m_closed = true;
    m_buffers.clear();
    // It is closed, whatever the answer is.
    return fault ? fault->hresult : S_OK;
  }

 private:
  void afterLastRelease() override {
    m_buffers.clear();
    m_shown = {};
    m_next = {};
    m_device->Release();
  }

  // Null while all are out.
  std::shared_ptr<Buffer> freeBuffer() const {
    const auto found = std::find_if(m_buffers.begin(), m_buffers.end(),
                                    [](const auto& buffer) { return !buffer->out; });
    return found == m_buffers.end() ? nullptr : *found;
  }

  // Leaves the new picture in `m_shown`.
  bool hasNews(Lock& lock) {
    if (!m_session || !m_session->isRunning()) return false;
    if (!Draw(lock, *m_session->source, m_session->cursor, m_size, m_next)) return false;
    if (!std::exchange(m_session->fresh, false) && m_next.IsSameAs(m_shown)) return false;
    std::swap(m_shown, m_next);
    return true;
  }

  ID3D11Device* m_device;
  SIZE m_size;
  std::vector<std::shared_ptr<Buffer>> m_buffers;
  bool m_closed = false;
  std::shared_ptr<SessionState> m_session;
  Picture m_shown;  // in the last frame
  Picture m_next;
  std::int64_t m_lastTime = 0;
};

class PoolFactory final : public Inspectable<wgc::IDirect3D11CaptureFramePoolStatics,
                                             wgc::IDirect3D11CaptureFramePoolStatics2> {
 public:
  PoolFactory() : Inspectable("Direct3D11CaptureFramePool's factory", "RoGetActivationFactory") {}

  // Its frames come by a dispatcher queue.
  HRESULT STDMETHODCALLTYPE Create(wgc::IDirect3DDevice*, wgc::DirectXPixelFormat, std::int32_t,
                                   wgc::SizeInt32, wgc::IDirect3D11CaptureFramePool**) override {
    return notProvided("IDirect3D11CaptureFramePoolStatics::Create");
  }
  HRESULT STDMETHODCALLTYPE CreateFreeThreaded(wgc::IDirect3DDevice* device,
                                               wgc::DirectXPixelFormat format, std::int32_t buffers,
                                               wgc::SizeInt32 size,
                                               wgc::IDirect3D11CaptureFramePool** pool) override {
    VWIN_METHOD(IDirect3D11CaptureFramePoolStatics2::CreateFreeThreaded);
    if (pool == nullptr) return E_POINTER;
    *pool = nullptr;
    if (fault) return fault->hresult;
    PoolSpec wanted;
    const HRESULT read =
        readSpec(device, format, buffers, size,
                 "IDirect3D11CaptureFramePoolStatics2::CreateFreeThreaded", wanted);
    if (FAILED(read)) return read;
    return Pool::Make<Pool>(wgc::IID_IDirect3D11CaptureFramePool, reinterpret_cast<void**>(pool),
                            wanted);
  }
};

}  // namespace

HRESULT MakePoolFactory(REFIID iid, void** factory) {
  return PoolFactory::Make<PoolFactory>(iid, factory);
}

}  // namespace vwin::capture
