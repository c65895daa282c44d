#include "win/engine/wgc/CaptureSession.h"

#include <dxgi.h>

#include <utility>

#include "common/Logging.h"
#include "win/engine/wgc/CaptureLibrary.h"
#include "win/util/RunClosed.h"
#include "win/util/StructuredGuard.h"

namespace qx {
namespace {

constexpr wchar_t kItemClass[] = L"Windows.Graphics.Capture.GraphicsCaptureItem";
constexpr wchar_t kPoolClass[] = L"Windows.Graphics.Capture.Direct3D11CaptureFramePool";
constexpr auto kFormat = wgc::DirectXPixelFormat::B8G8R8A8UIntNormalized;
constexpr std::int32_t kBuffers = 1;

bool Done(HRESULT hr, const char* what) {
  if (FAILED(hr)) {
    QX_LOG_ERROR("Failed to {}:{}", what, static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

// Nor is a success without its object one.
template <typename T>
bool Got(HRESULT hr, const ComPtr<T>& object, const char* what) {
  return Done(SUCCEEDED(hr) && !object ? E_FAIL : hr, what);
}

template <typename T>
void Close(const ComPtr<T>& object) {
  ComPtr<wgc::IClosable> closable;
  if (object && SUCCEEDED(object.As(wgc::IID_IClosable, closable)) && closable) {
    static_cast<void>(closable->Close());
  }
}

}  // namespace

CaptureSession::CaptureSession(const CaptureSource& source, ComPtr<ID3D11Device> device,
                               bool showCursor)
    : m_source(source),
      m_device(std::move(device)),
      m_showCursor(showCursor),
      m_handler(new ItemClosedHandler) {}

void CaptureSession::Start() {
  if (open()) {
    m_started = true;
  } else {
    Stop();
  }
}

bool CaptureSession::open() {
  createItem();
  if (!m_device || !m_item) {
    return false;
  }
  return watchItem() && wrapDevice() && createPool() && createSession() &&
         Done(m_session->StartCapture(), "StartCapture");
}

// Without the functions, or for something that can't be captured, there is none.
void CaptureSession::createItem() {
  ComPtr<wgc::IGraphicsCaptureItemInterop> interop;
  if (!CaptureLibrary::LoadCaptureFunctions() ||
      FAILED(CaptureLibrary::GetActivationFactory(kItemClass, wgc::IID_IGraphicsCaptureItemInterop,
                                                  interop.PutVoid())) ||
      !interop) {
    return;
  }
  const char* const failure =
      m_source.window ? "CreateForWindow throw a exception" : "CreateForMonitor throw a exception";
  const IID& iid = wgc::IID_IGraphicsCaptureItem;
  bool raised = false;
  HRESULT hr = E_FAIL;
  RunClosed(failure, [&] {
    raised = !RunGuarded([&] {
      hr = m_source.window ? interop->CreateForWindow(m_source.window, iid, m_item.PutVoid())
                           : interop->CreateForMonitor(m_source.monitor, iid, m_item.PutVoid());
    });
  });
  if (raised) {
    QX_LOG_ERROR("{}", failure);
  }
  if (FAILED(hr)) {
    m_item.Reset();
  }
}

bool CaptureSession::watchItem() {
  m_watched = Done(m_item->add_Closed(m_handler.Get(), &m_token), "add_Closed");
  return m_watched;
}

// Around a device that is just being removed the system has been seen to make an object whose
// functions raise. Release is one of them.
bool CaptureSession::wrapDevice() {
  ComPtr<IDXGIDevice> dxgiDevice;
  if (!Got(m_device.As(IID_IDXGIDevice, dxgiDevice), dxgiDevice, "get IDXGIDevice")) {
    return false;
  }
  ComPtr<wgc::IInspectable> inspectable;
  HRESULT hr = E_FAIL;
  const bool returned = RunGuarded([&] {
    hr = CaptureLibrary::CreateDirect3D11DeviceFromDXGIDevice(dxgiDevice.Get(), inspectable.Put());
    if (SUCCEEDED(hr) && inspectable) {
      hr = inspectable.As(wgc::IID_IDirect3DDevice, m_direct3dDevice);
    }
  });
  static_cast<void>(RunGuarded([&] { inspectable.Reset(); }));
  return Got(returned ? hr : E_FAIL, m_direct3dDevice, "get Direct3dDevice");
}

bool CaptureSession::createPool() {
  ComPtr<wgc::IDirect3D11CaptureFramePoolStatics> statics;
  if (!Got(CaptureLibrary::GetActivationFactory(
               kPoolClass, wgc::IID_IDirect3D11CaptureFramePoolStatics, statics.PutVoid()),
           statics, "get IDirect3D11CaptureFramePoolStatics")) {
    return false;
  }
  ComPtr<wgc::IDirect3D11CaptureFramePoolStatics2> statics2;
  return Got(statics.As(wgc::IID_IDirect3D11CaptureFramePoolStatics2, statics2), statics2,
             "get IDirect3D11CaptureFramePoolStatics2") &&
         Done(m_item->get_Size(&m_contentSize), "get SizeInt32") &&
         Got(statics2->CreateFreeThreaded(m_direct3dDevice.Get(), kFormat, kBuffers, m_contentSize,
                                          m_framePool.Put()),
             m_framePool, "get IDirect3D11CaptureFramePool");
}

bool CaptureSession::createSession() {
  if (!Got(m_framePool->CreateCaptureSession(m_item.Get(), m_session.Put()), m_session,
           "get IGraphicsCaptureSession")) {
    return false;
  }
  ComPtr<wgc::IGraphicsCaptureSession2> session2;
  if (!Got(m_session.As(wgc::IID_IGraphicsCaptureSession2, session2), session2,
           "get IGraphicsCaptureSession2")) {
    return false;
  }
  const HRESULT hr = session2->put_IsCursorCaptureEnabled(m_showCursor);
  // It is on by itself; what is to be hidden must be.
  if (!m_showCursor && !Done(hr, "put IsCursorCaptureEnabled")) {
    return false;
  }
  ComPtr<wgc::IGraphicsCaptureSession3> session3;
  if (!Got(session2.As(wgc::IID_IGraphicsCaptureSession3, session3), session3,
           "get IGraphicsCaptureSession3")) {
    return false;
  }
  // A border that the system insists on costs nothing but its look.
  static_cast<void>(session3->put_IsBorderRequired(false));
  return true;
}

// Where a thread of the system has the handler in hand even now, the library stays loaded
// for good: nobody tells when that thread has left it.
void CaptureSession::Stop() {
  m_started = false;
  Close(m_session);
  Close(m_framePool);
  if (m_watched) {
    static_cast<void>(m_item->remove_Closed(m_token));
  }
  m_session.Reset();
  m_framePool.Reset();
  m_direct3dDevice.Reset();
  m_item.Reset();
  if (std::exchange(m_watched, false) && m_handler->IsHeld()) {
    static const int inLibrary = 0;
    HMODULE library = nullptr;
    static_cast<void>(
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           reinterpret_cast<LPCWSTR>(&inLibrary), &library));
  }
}

HRESULT CaptureSession::TryGetNextFrame(ComPtr<wgc::IDirect3D11CaptureFrame>& frame) {
  return m_framePool->TryGetNextFrame(frame.Put());
}

HRESULT CaptureSession::Resize(const wgc::SizeInt32& size) {
  const HRESULT hr = m_framePool->Recreate(m_direct3dDevice.Get(), kFormat, kBuffers, size);
  if (SUCCEEDED(hr)) {
    m_contentSize = size;
  }
  return hr;
}

bool CaptureSession::ShowCursor(bool show) {
  ComPtr<wgc::IGraphicsCaptureSession2> session2;
  const HRESULT hr = m_session.As(wgc::IID_IGraphicsCaptureSession2, session2);
  if (FAILED(hr) || !session2) {
    QX_LOG_ERROR("Failed to get IID_IGraphicsCaptureSession2:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return SUCCEEDED(session2->put_IsCursorCaptureEnabled(show));
}

}  // namespace qx
