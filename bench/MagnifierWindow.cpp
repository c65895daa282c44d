#include "MagnifierWindow.h"

#include <d3d9.h>
#include <magnification.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "Duplication.h"

namespace {

using qx::ComPtr;

template <typename Function>
Function Find(const char* name) {
  static const HMODULE library =
      LoadLibraryExW(L"Magnification.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  const FARPROC function = GetProcAddress(library, name);
  if (!function) {
    throw std::runtime_error("there is no Magnification.dll");
  }
  return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

using Switch = BOOL(WINAPI*)();
using SetSource = BOOL(WINAPI*)(HWND window, RECT source);
using SetFilterList = BOOL(WINAPI*)(HWND window, DWORD mode, int count, HWND* windows);
using SetColorEffect = BOOL(WINAPI*)(HWND window, MAGCOLOREFFECT* effect);

struct Magnification {
  Switch initialize = Find<Switch>("MagInitialize");
  Switch uninitialize = Find<Switch>("MagUninitialize");
  SetSource setSource = Find<SetSource>("MagSetWindowSource");
  SetFilterList setFilterList = Find<SetFilterList>("MagSetWindowFilterList");
  SetColorEffect setColorEffect = Find<SetColorEffect>("MagSetColorEffect");
};

using StretchRect = HRESULT(STDMETHODCALLTYPE*)(IDirect3DDevice9*, IDirect3DSurface9*, const RECT*,
                                                IDirect3DSurface9*, const RECT*,
                                                D3DTEXTUREFILTERTYPE);

// Takes the place of StretchRect in the function table, until it goes.
class StretchRectPatch {
 public:
  explicit StretchRectPatch(StretchRect detour) {
    constexpr std::size_t kStretchRectSlot = 34;
    ComPtr<IDirect3D9Ex> d3d;
    ComPtr<IDirect3DDevice9Ex> device;
    Check(Direct3DCreate9Ex(D3D_SDK_VERSION, d3d.Put()));
    D3DPRESENT_PARAMETERS parameters = {};
    parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
    parameters.Windowed = TRUE;
    Check(d3d->CreateDeviceEx(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, GetDesktopWindow(),
                              D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, nullptr,
                              device.Put()));
    m_slot = *reinterpret_cast<void***>(device.Get()) + kStretchRectSlot;
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t page = reinterpret_cast<std::uintptr_t>(m_slot) & ~(pageSize - 1);
    if (mprotect(reinterpret_cast<void*>(page), pageSize, PROT_READ | PROT_WRITE) != 0) {
      throw std::runtime_error("the function table can't be written");
    }
    m_original = *m_slot;
    *m_slot = reinterpret_cast<void*>(detour);
  }
  StretchRectPatch(const StretchRectPatch&) = delete;
  StretchRectPatch& operator=(const StretchRectPatch&) = delete;
  ~StretchRectPatch() { *m_slot = m_original; }

  StretchRect Original() const { return reinterpret_cast<StretchRect>(m_original); }

 private:
  void** m_slot = nullptr;
  void* m_original = nullptr;
};

}  // namespace

class MagnifierWindow::Thread {
 public:
  Thread(const RECT& source, SIZE picture)
      : m_source(source),
        m_width(picture.cx),
        m_height(picture.cy),
        m_argb(std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(m_width) *
                                                static_cast<std::size_t>(m_height) * 4)) {
    g_thread = this;
    m_thread = CreateThread(nullptr, 0, run, this, 0, &m_id);
    WaitForSingleObject(m_started, INFINITE);
  }
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread() {
    PostThreadMessageW(m_id, WM_QUIT, 0, 0);
    WaitForSingleObject(m_thread, INFINITE);
    CloseHandle(m_thread);
    CloseHandle(m_started);
    g_thread = nullptr;
  }

  HWND Handle() const { return m_window; }

  bool Draw(std::vector<HWND>& leftOut) {
    m_magnification.setFilterList(m_window, MW_FILTERMODE_EXCLUDE, static_cast<int>(leftOut.size()),
                                  leftOut.data());
    m_arrived = false;
    m_wanted = true;
    m_magnification.setSource(m_window, m_source);
    m_wanted = false;
    return m_arrived;
  }

 private:
  static DWORD WINAPI run(void* self) {
    auto& thread = *static_cast<Thread*>(self);
    try {
      thread.serve();
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "  hand loop: %s\n", failure.what());
    }
    SetEvent(thread.m_started);
    return 0;
  }

  void serve() {
    m_magnification.initialize();
    const StretchRectPatch patch(onStretchRect);
    m_original = patch.Original();
    open();
    SetEvent(m_started);
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      DispatchMessageW(&message);
    }
    m_target.Reset();
    m_readable.Reset();
    DestroyWindow(m_window);
    m_magnification.uninitialize();
  }

  void open() {
    m_window = CreateWindowExW(WS_EX_LAYERED, L"Magnifier", L"", WS_POPUP, 0, 0, 1, 1, nullptr,
                               nullptr, nullptr, nullptr);
    SetLayeredWindowAttributes(m_window, 0, 255, LWA_ALPHA);
    MAGCOLOREFFECT effect = {};
    for (int i = 0; i < 5; ++i) {
      effect.transform[i][i] = 1.0F;
    }
    effect.transform[4][0] = 0.004F;  // without a change of colours StretchRect isn't called
    m_magnification.setColorEffect(m_window, &effect);
    SetWindowPos(m_window, HWND_TOP, m_source.left, m_source.top, m_source.right - m_source.left,
                 m_source.bottom - m_source.top, 0);
  }

  static HRESULT STDMETHODCALLTYPE onStretchRect(IDirect3DDevice9* device,
                                                 IDirect3DSurface9* source, const RECT*,
                                                 IDirect3DSurface9*, const RECT*,
                                                 D3DTEXTUREFILTERTYPE) {
    Thread* const thread = g_thread;
    if (thread && thread->m_wanted) {
      thread->m_arrived = thread->take(device, source);
    }
    return D3DERR_INVALIDCALL;
  }

  bool take(IDirect3DDevice9* device, IDirect3DSurface9* source) {
    if (!m_readable) {
      const auto width = static_cast<UINT>(m_width);
      const auto height = static_cast<UINT>(m_height);
      if (FAILED(device->CreateRenderTarget(width, height, D3DFMT_A8R8G8B8, D3DMULTISAMPLE_NONE, 0,
                                            FALSE, m_target.Put(), nullptr)) ||
          FAILED(device->CreateOffscreenPlainSurface(
              width, height, D3DFMT_A8R8G8B8, D3DPOOL_SYSTEMMEM, m_readable.Put(), nullptr))) {
        return false;
      }
    }
    const bool scaled =
        m_width != m_source.right - m_source.left || m_height != m_source.bottom - m_source.top;
    D3DLOCKED_RECT locked = {};
    if ((scaled &&
         FAILED(m_original(device, source, nullptr, m_target.Get(), nullptr, D3DTEXF_LINEAR))) ||
        FAILED(device->GetRenderTargetData(scaled ? m_target.Get() : source, m_readable.Get())) ||
        FAILED(m_readable->LockRect(&locked, nullptr, 0))) {
      return false;
    }
    const std::size_t rowBytes = static_cast<std::size_t>(m_width) * 4;
    const auto* from = static_cast<const std::uint8_t*>(locked.pBits);
    for (LONG row = 0; row < m_height; ++row) {
      std::memcpy(m_argb.get() + static_cast<std::size_t>(row) * rowBytes,
                  from + std::ptrdiff_t{locked.Pitch} * row, rowBytes);
    }
    m_readable->UnlockRect();
    return true;
  }

  static inline std::atomic<Thread*> g_thread = nullptr;

  const Magnification m_magnification;
  const RECT m_source;
  const LONG m_width;
  const LONG m_height;
  const std::unique_ptr<std::uint8_t[]> m_argb;
  const HANDLE m_started = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE m_thread = nullptr;
  DWORD m_id = 0;
  HWND m_window = nullptr;
  std::atomic<bool> m_wanted = false;
  std::atomic<bool> m_arrived = false;

  // Of the thread.
  StretchRect m_original = nullptr;
  ComPtr<IDirect3DSurface9> m_target;
  ComPtr<IDirect3DSurface9> m_readable;
};

MagnifierWindow::MagnifierWindow(const RECT& source, SIZE picture)
    : m_thread(std::make_unique<Thread>(source, picture)) {
  if (!m_thread->Handle()) {
    throw std::runtime_error("there is no magnifier");
  }
}

MagnifierWindow::~MagnifierWindow() = default;

HWND MagnifierWindow::Handle() const { return m_thread->Handle(); }

bool MagnifierWindow::Draw(std::vector<HWND>& leftOut) { return m_thread->Draw(leftOut); }
