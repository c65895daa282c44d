#include "CaptureSessionLoop.h"

#include <d3d11.h>
#include <dxgi.h>
#include <windows_graphics_capture.h>

#include <cwchar>
#include <stdexcept>

#include "Duplication.h"
#include "PacedLoop.h"
#include "PictureDrawing.h"

namespace {

using qx::ComPtr;

constexpr auto kFormat = wgc::DirectXPixelFormat::B8G8R8A8UIntNormalized;
constexpr UINT kMargin = 2;  // a window's border

template <typename Function>
Function Find(const wchar_t* library, const char* name) {
  const FARPROC function =
      GetProcAddress(LoadLibraryExW(library, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32), name);
  if (!function) {
    throw std::runtime_error("there is no Windows.Graphics.Capture");
  }
  return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

template <typename Factory>
void GetFactory(const wchar_t* className, REFIID iid, ComPtr<Factory>& factory) {
  static const auto create = Find<wgc::WindowsCreateString>(L"combase.dll", "WindowsCreateString");
  static const auto erase = Find<wgc::WindowsDeleteString>(L"combase.dll", "WindowsDeleteString");
  static const auto get =
      Find<wgc::RoGetActivationFactory>(L"combase.dll", "RoGetActivationFactory");
  wgc::HSTRING name = nullptr;
  Check(create(className, static_cast<UINT32>(std::wcslen(className)), &name));
  const HRESULT hr = get(name, iid, factory.PutVoid());
  erase(name);
  Check(hr);
}

HMONITOR PrimaryMonitor() { return MonitorFromWindow(nullptr, MONITOR_DEFAULTTOPRIMARY); }

// One that runs, without cursor and border.
class Session {
 public:
  explicit Session(HWND window) {
    Check(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr,
                            D3D11_CREATE_DEVICE_BGRA_SUPPORT, nullptr, 0, D3D11_SDK_VERSION,
                            device.Put(), nullptr, nullptr));
    const ComPtr<wgc::IGraphicsCaptureItem> item = makeItem(window);
    makePool(*item.Get());
    Check(pool->CreateCaptureSession(item.Get(), m_session.Put()));
    ComPtr<wgc::IGraphicsCaptureSession2> session2;
    ComPtr<wgc::IGraphicsCaptureSession3> session3;
    Check(m_session.As(wgc::IID_IGraphicsCaptureSession2, session2));
    Check(session2->put_IsCursorCaptureEnabled(0));
    Check(m_session.As(wgc::IID_IGraphicsCaptureSession3, session3));
    Check(session3->put_IsBorderRequired(0));
    Check(m_session->StartCapture());
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    close(m_session);
    close(pool);
  }

  ComPtr<ID3D11Device> device;
  ComPtr<wgc::IDirect3D11CaptureFramePool> pool;

 private:
  static ComPtr<wgc::IGraphicsCaptureItem> makeItem(HWND window) {
    ComPtr<wgc::IGraphicsCaptureItemInterop> interop;
    GetFactory(L"Windows.Graphics.Capture.GraphicsCaptureItem",
               wgc::IID_IGraphicsCaptureItemInterop, interop);
    ComPtr<wgc::IGraphicsCaptureItem> item;
    const IID& iid = wgc::IID_IGraphicsCaptureItem;
    Check(window ? interop->CreateForWindow(window, iid, item.PutVoid())
                 : interop->CreateForMonitor(PrimaryMonitor(), iid, item.PutVoid()));
    return item;
  }

  void makePool(wgc::IGraphicsCaptureItem& item) {
    static const auto wrap = Find<wgc::CreateDirect3D11DeviceFromDXGIDevice>(
        L"d3d11.dll", "CreateDirect3D11DeviceFromDXGIDevice");
    ComPtr<IDXGIDevice> dxgiDevice;
    ComPtr<wgc::IInspectable> wrapped;
    ComPtr<wgc::IDirect3DDevice> direct3dDevice;
    Check(device.As(IID_IDXGIDevice, dxgiDevice));
    Check(wrap(dxgiDevice.Get(), wrapped.Put()));
    Check(wrapped.As(wgc::IID_IDirect3DDevice, direct3dDevice));
    ComPtr<wgc::IDirect3D11CaptureFramePoolStatics2> statics;
    GetFactory(L"Windows.Graphics.Capture.Direct3D11CaptureFramePool",
               wgc::IID_IDirect3D11CaptureFramePoolStatics2, statics);
    wgc::SizeInt32 size = {};
    Check(item.get_Size(&size));
    Check(statics->CreateFreeThreaded(direct3dDevice.Get(), kFormat, 1, size, pool.Put()));
  }

  template <typename T>
  static void close(const ComPtr<T>& object) {
    ComPtr<wgc::IClosable> closable;
    if (object && SUCCEEDED(object.As(wgc::IID_IClosable, closable))) {
      closable->Close();
    }
  }

  ComPtr<wgc::IGraphicsCaptureSession> m_session;
};

class DrawingLoop {
 public:
  explicit DrawingLoop(const Round& round)
      : m_session(round.window),
        m_drawing(m_session.device, round.picture, round.window != nullptr) {
    if (round.window) {
      makePart(round.rect);
    }
  }

  // False also when there is no new picture.
  bool Capture() {
    ComPtr<wgc::IDirect3D11CaptureFrame> frame;
    ComPtr<wgc::IDirect3DSurface> surface;
    ComPtr<wgc::IDirect3DDxgiInterfaceAccess> access;
    ComPtr<ID3D11Texture2D> texture;
    if (FAILED(m_session.pool->TryGetNextFrame(frame.Put())) || !frame ||
        FAILED(frame->get_Surface(surface.Put())) ||
        FAILED(surface.As(wgc::IID_IDirect3DDxgiInterfaceAccess, access)) ||
        FAILED(access->GetInterface(IID_ID3D11Texture2D, texture.PutVoid()))) {
      return false;
    }
    if (!m_part) {
      return m_drawing.Draw(texture.Get());
    }
    m_context->CopySubresourceRegion(m_part.Get(), 0, 0, 0, 0, texture.Get(), 0, &m_box);
    return m_drawing.Draw(m_part.Get());
  }

 private:
  void makePart(const RECT& window) {
    m_box = {kMargin,
             kMargin,
             0,
             static_cast<UINT>(window.right - window.left) - kMargin,
             static_cast<UINT>(window.bottom - window.top) - kMargin,
             1};
    D3D11_TEXTURE2D_DESC desc = {};
    desc.Width = m_box.right - m_box.left;
    desc.Height = m_box.bottom - m_box.top;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc = {1, 0};
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    Check(m_session.device->CreateTexture2D(&desc, nullptr, m_part.Put()));
    m_session.device->GetImmediateContext(m_context.Put());
  }

  Session m_session;
  PictureDrawing m_drawing;
  ComPtr<ID3D11DeviceContext> m_context;
  ComPtr<ID3D11Texture2D> m_part;  // of a window
  D3D11_BOX m_box = {};
};

// Asks as a share does, by what virtual Windows logs of one.
class Watch {
 public:
  explicit Watch(HWND window) : m_neighbour(window ? 50 : 10), m_window(window) {}

  void Look() const {
    if (m_window) {
      LookAtWindow(m_window);
    } else {
      WatchMonitor(m_monitor);
    }
  }

  void LookAgain() const {
    if (m_window) {
      LookAtWindowAgain(m_window);
    }
  }

  // Changes below other windows are not on the screen.
  bool IsUncovered() const {
    if (!m_window) {
      return true;
    }
    const HWND desktop = GetDesktopWindow();
    HWND above = nullptr;
    do {
      above = FindWindowExW(desktop, above, nullptr, nullptr);
    } while (above && above != m_window &&
             (GetWindow(above, GW_OWNER) == m_window || !IsWindowVisible(above)));
    return above == m_window;
  }

 private:
  const Neighbour m_neighbour;
  const HWND m_window;
  const HMONITOR m_monitor = PrimaryMonitor();
};

class EmptyPoolLoop {
 public:
  explicit EmptyPoolLoop(const Round& round) : m_watch(round.window), m_session(round.window) {}

  // The first time there is a picture.
  bool Capture() {
    m_watch.Look();
    ComPtr<wgc::IDirect3D11CaptureFrame> frame;
    const HRESULT hr = m_session.pool->TryGetNextFrame(frame.Put());
    m_watch.LookAgain();
    return SUCCEEDED(hr);
  }

 private:
  const Watch m_watch;
  Session m_session;
};

class StillLoop {
 public:
  explicit StillLoop(const Round& round) : m_watch(round.window) {}

  // The first time there is a picture.
  bool Capture() {
    m_watch.Look();
    if (!m_watch.IsUncovered()) {
      return false;
    }
    DXGI_OUTDUPL_FRAME_INFO info = {};
    ComPtr<IDXGIResource> resource;
    const HRESULT hr = m_screen.duplication->AcquireNextFrame(0, &info, resource.Put());
    if (SUCCEEDED(hr)) {
      m_screen.duplication->ReleaseFrame();
    }
    return SUCCEEDED(hr) || hr == DXGI_ERROR_WAIT_TIMEOUT;
  }

 private:
  const Watch m_watch;
  Duplication m_screen;
};

}  // namespace

double CaptureSessionLoopMicrosPerFrame(const Round& round) {
  return PacedMicrosPerFrame<DrawingLoop>(round);
}

double EmptyPoolLoopMicrosPerFrame(const Round& round) {
  return PacedMicrosPerFrame<EmptyPoolLoop>(round);
}

double StillSessionLoopMicrosPerFrame(const Round& round) {
  return PacedMicrosPerFrame<StillLoop>(round);
}
