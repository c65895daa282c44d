#include "platform/model/Magnifier.h"

#include <d3d9.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/model/ColorEffect.h"
#include "platform/model/Compositor.h"
#include "platform/model/D3D9Device.h"
#include "platform/model/Desktop.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Modules.h"
#include "platform/model/OwnWindows.h"
#include "platform/model/Rects.h"
#include "platform/model/SentMessages.h"

namespace vwin::magnifier {
namespace {

constexpr const char* kLedgerKind = "start of Magnification.dll";
constexpr UINT kSetSource = WM_USER + 1;  // lParam: the rectangle
constexpr int kMostPixels = 16384;        // in a row or a column

struct Magnifier {
  HWND window = nullptr;
  std::vector<HWND> filterList;  // windows that are left out
  std::optional<MAGCOLOREFFECT> effect;
  IDirect3DDevice9Ex* device = nullptr;
  IDirect3DSurface9* picture = nullptr;     // as large as the source
  IDirect3DSurface9* backBuffer = nullptr;  // as large as the window
};

struct Everything {
  int starts = 0;
  std::map<HWND, std::shared_ptr<Magnifier>> magnifiers;
};

Everything& Get(Lock&) {
  static auto* const everything = new Everything;
  return *everything;
}

std::shared_ptr<Magnifier> find(Lock& lock, HWND window) {
  const auto found = Get(lock).magnifiers.find(window);
  return found == Get(lock).magnifiers.end() ? nullptr : found->second;
}

template <typename Interface>
void release(Interface*& object) {
  if (Interface* const last = std::exchange(object, nullptr)) last->Release();
}

// Through the function that the process has, so that what redirects it takes part.
IDirect3DDevice9Ex* makeDevice(HWND window) {
  FARPROC entry = nullptr;
  {
    Lock lock;
    entry = modules::SystemExport(lock, "d3d9.dll", "Direct3DCreate9Ex");
  }
  const auto create =
      reinterpret_cast<decltype(&Direct3DCreate9Ex)>(reinterpret_cast<void*>(entry));
  IDirect3D9Ex* d3d = nullptr;
  if (!create || FAILED(create(D3D_SDK_VERSION, &d3d)) || !d3d) return nullptr;
  D3DPRESENT_PARAMETERS parameters{};
  parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
  parameters.hDeviceWindow = window;
  parameters.Windowed = TRUE;
  IDirect3DDevice9Ex* device = nullptr;
  const HRESULT result =
      d3d->CreateDeviceEx(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, window,
                          D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, nullptr, &device);
  d3d->Release();
  return FAILED(result) ? nullptr : device;
}

void begin(HWND window) {
  auto magnifier = std::make_shared<Magnifier>();
  magnifier->device = makeDevice(window);
  magnifier->window = window;
  Lock lock;
  Get(lock).magnifiers[window] = std::move(magnifier);
}

void end(HWND window) {
  std::shared_ptr<Magnifier> magnifier;
  {
    Lock lock;
    magnifier = find(lock, window);
    Get(lock).magnifiers.erase(window);
  }
  if (!magnifier) return;
  release(magnifier->picture);
  release(magnifier->backBuffer);
  release(magnifier->device);
}

// Null when it can't be made.
std::shared_ptr<d3d9::SurfaceContent> sized(Magnifier& magnifier, IDirect3DSurface9*& surface,
                                            int width, int height) {
  const auto present = d3d9::ContentOf(surface);
  if (present && present->width() == width && present->height() == height) return present;
  release(surface);
  surface = d3d9::MakeRenderTarget(magnifier.device, width, height);
  return d3d9::ContentOf(surface);
}

void draw(Lock& lock, const Magnifier& magnifier, const RECT& source,
          d3d9::SurfaceContent& picture) {
  if (TheMachine(lock).blackMagnifier) {
    std::fill(picture.pixels.begin(), picture.pixels.end(), 0u);
    return;
  }
  std::vector<HWND> leftOut = magnifier.filterList;
  leftOut.push_back(magnifier.window);
  compositor::Compose(lock, source, picture.pixels.data(), picture.stride,
                      {.beyondMonitors = true, .layered = true, .leaveOut = &leftOut});
  for (std::uint32_t& pixel : picture.pixels) pixel |= 0xFF000000;
  if (magnifier.effect) Apply(*magnifier.effect, picture.pixels);
}

// On the window's thread.
bool render(HWND window, const RECT& source) {
  std::shared_ptr<Magnifier> magnifier;
  RECT shown{};
  int calls = 0;
  {
    Lock lock;
    magnifier = find(lock, window);
    const auto found = desktop::FindWindow(lock, window);
    if (!magnifier || !found) return false;
    SpendTime(lock, "a magnifier's render", &Machine::magnifierTakes);
    shown = found->wholeClient();
    // Another desktop has the screen.
    calls = TheMachine(lock).secureDesktop ? 0 : TheMachine(lock).magnifierStretches;
  }
  const int width = WidthOf(source);
  const int height = HeightOf(source);
  if (!magnifier->device || IsEmpty(source) || width > kMostPixels || height > kMostPixels)
    return true;
  const auto picture = sized(*magnifier, magnifier->picture, width, height);
  const auto target = sized(*magnifier, magnifier->backBuffer, std::max(WidthOf(shown), 1),
                            std::max(HeightOf(shown), 1));
  if (!picture || !target) return true;
  {
    Lock lock;
    draw(lock, *magnifier, source, *picture);
  }
  for (int i = 0; i < calls; ++i) {
    // Whether it works is nobody's concern here.
    (void)magnifier->device->StretchRect(magnifier->picture, nullptr, magnifier->backBuffer,
                                         nullptr, D3DTEXF_LINEAR);
  }
  return true;
}

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      begin(window);
      return 0;
    case WM_NCDESTROY:
      end(window);
      return 0;
    case kSetSource:
      return render(window, *reinterpret_cast<const RECT*>(lParam));
    default:
      return own_windows::DefaultProcedure(window, message, wParam, lParam);
  }
}

}  // namespace

void Start(Lock& lock) {
  ledger::Take(lock, kLedgerKind, 0, "MagInitialize");
  if (Get(lock).starts++ != 0) return;
  auto made = std::make_shared<WindowClass>();
  made->name = L"Magnifier";
  made->procedure = &procedure;
  desktop::Get(lock).systemClasses.push_back(std::move(made));
}

bool End(Lock& lock) {
  if (Get(lock).starts == 0) return false;
  ledger::Return(lock, kLedgerKind, 0);
  if (--Get(lock).starts == 0) desktop::Get(lock).systemClasses.clear();
  return true;
}

bool SetFilterList(Lock& lock, HWND window, std::vector<HWND> list) {
  const auto magnifier = find(lock, window);
  const bool hasChild = std::any_of(list.begin(), list.end(), [&](HWND listed) {
    const auto known = desktop::FindWindow(lock, listed);
    return known && known->isChild();
  });
  if (!magnifier || hasChild) return false;
  magnifier->filterList = std::move(list);
  return true;
}

bool SetColorEffect(Lock& lock, HWND window, const MAGCOLOREFFECT* effect) {
  const auto magnifier = find(lock, window);
  if (!magnifier) return false;
  magnifier->effect = effect ? std::optional(*effect) : std::nullopt;
  return true;
}

bool SetSource(HWND window, const RECT& source) {
  {
    Lock lock;
    if (!find(lock, window)) return false;
  }
  return messages::Send(window, kSetSource, 0, reinterpret_cast<LPARAM>(&source)) != 0;
}

}  // namespace vwin::magnifier
