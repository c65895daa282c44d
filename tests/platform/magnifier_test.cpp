// Magnification.dll: what a render shows, whom it waits for, and what can go wrong.
#include <d3d9.h>
#include <magnification.h>
#include <virtual_windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "platform/control/Ledger.h"
#include "platform/control/Magnification.h"
#include "platform/control/Modules.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

constexpr std::uint32_t kOpaque = 0xFF000000;

struct Functions {
  template <typename Function>
  static Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  }
  explicit Functions(HMODULE module)
      : Initialize(Find<BOOL(WINAPI*)()>(module, "MagInitialize")),
        Uninitialize(Find<BOOL(WINAPI*)()>(module, "MagUninitialize")),
        SetSource(Find<BOOL(WINAPI*)(HWND, RECT)>(module, "MagSetWindowSource")),
        SetFilterList(
            Find<BOOL(WINAPI*)(HWND, DWORD, int, HWND*)>(module, "MagSetWindowFilterList")),
        SetColorEffect(Find<BOOL(WINAPI*)(HWND, MAGCOLOREFFECT*)>(module, "MagSetColorEffect")) {}

  BOOL(WINAPI* Initialize)();
  BOOL(WINAPI* Uninitialize)();
  BOOL(WINAPI* SetSource)(HWND, RECT);
  BOOL(WINAPI* SetFilterList)(HWND, DWORD, int, HWND*);
  BOOL(WINAPI* SetColorEffect)(HWND, MAGCOLOREFFECT*);
};

// ----------------------------------------------------------- the detour's side

using StretchRect = HRESULT (*)(IDirect3DDevice9*, IDirect3DSurface9*, const RECT*,
                                IDirect3DSurface9*, const RECT*, D3DTEXTUREFILTERTYPE);
std::atomic<void*> g_realStretchRect = nullptr;
std::function<void(IDirect3DDevice9*, IDirect3DSurface9*)> g_seen;

HRESULT detour(IDirect3DDevice9* device, IDirect3DSurface9* source, const RECT*, IDirect3DSurface9*,
               const RECT*, D3DTEXTUREFILTERTYPE) {
  if (g_seen) g_seen(device, source);
  return D3DERR_INVALIDCALL;
}

IDirect3DDevice9Ex* makeDevice() {
  const HMODULE module = LoadLibraryA("d3d9.dll");
  const auto create = Functions::Find<decltype(&Direct3DCreate9Ex)>(module, "Direct3DCreate9Ex");
  IDirect3D9Ex* d3d = nullptr;
  EXPECT_EQ(create(D3D_SDK_VERSION, &d3d), D3D_OK);
  D3DPRESENT_PARAMETERS parameters{};
  parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
  parameters.Windowed = TRUE;
  IDirect3DDevice9Ex* device = nullptr;
  EXPECT_EQ(d3d->CreateDeviceEx(0, D3DDEVTYPE_HAL, GetDesktopWindow(),
                                D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, nullptr, &device),
            D3D_OK);
  d3d->Release();
  FreeLibrary(module);
  return device;
}

// By way of a device that is thrown away again.
void redirectStretchRect() {
  if (g_realStretchRect) return;
  IDirect3DDevice9Ex* const device = makeDevice();
  g_realStretchRect = (*reinterpret_cast<void***>(device))[34];
  EXPECT_TRUE(vwin::Redirect(g_realStretchRect, reinterpret_cast<void*>(&detour)));
  device->Release();
}

class Magnifiers : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    m_module = LoadLibraryA("Magnification.dll");
    ASSERT_TRUE(m_module);
    m_mag.emplace(m_module);
    ASSERT_TRUE(m_mag->Initialize());
    redirectStretchRect();
    g_seen = [this](IDirect3DDevice9* device, IDirect3DSurface9* source) { look(device, source); };
  }
  void TearDown() override {
    g_seen = {};
    ClearFaults();
    EXPECT_TRUE(m_mag->Uninitialize());
    FreeLibrary(m_module);
    DesktopTest::TearDown();
  }

  static HWND makeWindow() {
    return CreateWindowExW(WS_EX_LAYERED, L"Magnifier", L"", WS_POPUP, 0, 0, 50, 40, nullptr,
                           nullptr, nullptr, nullptr);
  }
  bool setFilterList(HWND window, std::vector<HWND> list) {
    return m_mag->SetFilterList(window, MW_FILTERMODE_EXCLUDE, static_cast<int>(list.size()),
                                list.data());
  }
  std::uint32_t seenAt(int x, int y) const {
    return m_seen.at(static_cast<std::size_t>(y * m_width + x));
  }

  HMODULE m_module = nullptr;
  std::optional<Functions> m_mag;
  int m_calls = 0;
  HWND m_focus = nullptr;
  DWORD m_thread = 0;

 private:
  void look(IDirect3DDevice9* device, IDirect3DSurface9* source) {
    ++m_calls;
    m_thread = GetCurrentThreadId();
    D3DDEVICE_CREATION_PARAMETERS created{};
    EXPECT_EQ(device->GetCreationParameters(&created), D3D_OK);
    m_focus = created.hFocusWindow;
    D3DSURFACE_DESC desc{};
    EXPECT_EQ(source->GetDesc(&desc), D3D_OK);
    IDirect3DSurface9* copy = nullptr;
    ASSERT_EQ(device->CreateOffscreenPlainSurface(desc.Width, desc.Height, desc.Format,
                                                  D3DPOOL_SYSTEMMEM, &copy, nullptr),
              D3D_OK);
    EXPECT_EQ(device->GetRenderTargetData(source, copy), D3D_OK);
    D3DLOCKED_RECT locked{};
    EXPECT_EQ(copy->LockRect(&locked, nullptr, 0), D3D_OK);
    EXPECT_GT(locked.Pitch, static_cast<int>(desc.Width) * 4);
    m_width = static_cast<int>(desc.Width);
    m_seen.clear();
    for (int y = 0; y < static_cast<int>(desc.Height); ++y) {
      const auto* row = reinterpret_cast<const std::uint32_t*>(
          static_cast<const char*>(locked.pBits) + y * locked.Pitch);
      m_seen.insert(m_seen.end(), row, row + m_width);
    }
    copy->UnlockRect();
    copy->Release();
  }

  int m_width = 0;
  std::vector<std::uint32_t> m_seen;
};

// A window beyond the monitors that nobody sees: how a picture of another window is got.
TEST_F(Magnifiers, SeeAThumbnailBeyondTheMonitors) {
  const HWND source = open({.rect = {10, 10, 30, 30}, .color = kGreen});
  const HWND window = makeWindow();
  TestWindow host({-20, -20, 0, 0}, kRed, WS_EX_LAYERED);
  host.Show();
  HTHUMBNAIL thumbnail = nullptr;
  ASSERT_EQ(DwmRegisterThumbnail(host, source, &thumbnail), S_OK);
  const DWM_THUMBNAIL_PROPERTIES properties{
      DWM_TNP_RECTDESTINATION | DWM_TNP_VISIBLE, {5, 5, 20, 20}, {}, 0, TRUE, FALSE};
  ASSERT_EQ(DwmUpdateThumbnailProperties(thumbnail, &properties), S_OK);
  ASSERT_TRUE(m_mag->SetSource(window, {-20, -20, 10, 10}));
  EXPECT_EQ(seenAt(5, 19), kOpaque | kGreenPixel);
  EXPECT_EQ(seenAt(4, 19), kOpaque) << "a layered window without attributes has no picture";
  EXPECT_EQ(seenAt(20, 20), kOpaque | kDesktopPixel);
  SetLayeredWindowAttributes(host, 0, 255, LWA_ALPHA);
  ASSERT_TRUE(m_mag->SetSource(window, {-20, -20, 10, 10}));
  EXPECT_EQ(seenAt(4, 19), kOpaque | kRedPixel);
  EXPECT_EQ(DwmUnregisterThumbnail(thumbnail), S_OK);
  EXPECT_TRUE(DestroyWindow(window));
}

TEST_F(Magnifiers, LeaveOutTheWindowsOnTheirListAndThemselves) {
  const HWND shown = open({.rect = {10, 10, 50, 50}, .color = kGreen});
  const HWND excluded = open({.rect = {30, 10, 90, 50}, .color = kRed});
  const HWND window = makeWindow();
  SetLayeredWindowAttributes(window, 0, 255, LWA_ALPHA);
  ShowWindow(window, SW_SHOWNOACTIVATE);
  const HWND dead = open({});
  Close(dead);
  std::vector<HWND> list(2000, dead);
  list.push_back(excluded);
  list.push_back(excluded);
  ASSERT_TRUE(setFilterList(window, list));
  ASSERT_EQ(vwin::control::Magnifiers().size(), 1u);
  EXPECT_EQ(vwin::control::Magnifiers()[0].filterList, list);

  // Partly off the screen, which is black there.
  ASSERT_TRUE(m_mag->SetSource(window, {-10, 0, 100, 100}));
  EXPECT_EQ(m_calls, 1);
  EXPECT_EQ(m_focus, window);
  EXPECT_EQ(seenAt(0, 50), kOpaque);
  EXPECT_EQ(seenAt(10, 0), kOpaque | kDesktopPixel) << "not the magnifier";
  EXPECT_EQ(seenAt(45, 20), kOpaque | kGreenPixel) << "not the excluded window above it";
  EXPECT_EQ(seenAt(70, 20), kOpaque | kDesktopPixel);

  ASSERT_TRUE(setFilterList(window, {}));
  ASSERT_TRUE(m_mag->SetSource(window, {0, 0, 100, 100}));
  EXPECT_EQ(seenAt(35, 20), kOpaque | kRedPixel);
  EXPECT_EQ(seenAt(20, 20), kOpaque | kGreenPixel);

  // What the library wants: red goes up by one step of 255, and no further than white.
  MAGCOLOREFFECT effect{};
  for (int i = 0; i < 5; ++i) effect.transform[i][i] = 1;
  effect.transform[4][0] = 0.004f;
  ASSERT_TRUE(m_mag->SetColorEffect(window, &effect));
  Fill(shown, {0, 0, 5, 5}, RGB(255, 254, 0));
  ASSERT_TRUE(m_mag->SetSource(window, {0, 0, 100, 100}));
  EXPECT_EQ(seenAt(35, 20), kOpaque | (kRedPixel + 0x00010000));
  EXPECT_EQ(seenAt(12, 12), 0xFFFFFE00);
  // Grey by the mean of red and green.
  effect = {};
  for (int to = 0; to < 3; ++to) effect.transform[0][to] = effect.transform[1][to] = 0.5f;
  effect.transform[3][3] = 1;
  ASSERT_TRUE(m_mag->SetColorEffect(window, &effect));
  ASSERT_TRUE(m_mag->SetSource(window, {0, 0, 100, 100}));
  EXPECT_EQ(seenAt(35, 20), 0xFF737373);  // (200 + 30) / 2
  EXPECT_TRUE(DestroyWindow(window));
}

TEST_F(Magnifiers, RefuseWhatIsNoneAndChildren) {
  const HWND window = makeWindow();
  const HWND other = open({});
  const HWND child = open({.rect = {100, 100, 110, 110}, .parent = other});
  EXPECT_FALSE(setFilterList(window, {other, child}));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_FALSE(setFilterList(other, {}));
  EXPECT_FALSE(m_mag->SetFilterList(window, MW_FILTERMODE_INCLUDE, 0, nullptr));
  EXPECT_FALSE(m_mag->SetSource(other, {0, 0, 10, 10}));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_FALSE(m_mag->SetSource(window, {0, 0, 10, 10}));
  EXPECT_EQ(m_calls, 0);
}

TEST_F(Magnifiers, ExistOnlyWhileTheModuleIsStarted) {
  EXPECT_TRUE(m_mag->Initialize());
  EXPECT_TRUE(m_mag->Uninitialize());
  const HWND window = makeWindow();
  EXPECT_TRUE(window) << "two starts, one end";
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_TRUE(m_mag->Uninitialize());
  EXPECT_FALSE(makeWindow());
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CANNOT_FIND_WND_CLASS});
  EXPECT_FALSE(m_mag->Uninitialize());
  EXPECT_TRUE(m_mag->Initialize());
}

// The window is on a thread of its own; renders take their time there.
TEST_F(Magnifiers, RenderOnTheirThreadWhileTheCallerAnswersWhatIsSentToIt) {
  OwnClock();
  HWND window = nullptr;
  TestEvent ready;
  TestWindow asked({100, 50, 110, 60});
  asked.onMessage = [](UINT, WPARAM, LPARAM) { return LRESULT{5}; };
  TestThread thread([&] {
    window = makeWindow();
    ready.Set();
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    EXPECT_TRUE(DestroyWindow(window));
  });
  ready.Wait();
  LRESULT answer = 0;
  const auto look = g_seen;
  g_seen = [&](IDirect3DDevice9* device, IDirect3DSurface9* source) {
    answer = SendMessageW(asked, WM_USER, 0, 0);
    look(device, source);
  };
  SetRenderTime(80ms);
  const auto began = Now();
  EXPECT_TRUE(m_mag->SetSource(window, {0, 0, 10, 10}));
  EXPECT_EQ(Now() - began, 80ms);
  EXPECT_EQ(m_thread, thread.id());
  EXPECT_EQ(answer, 5);
  EXPECT_EQ(m_calls, 1);

  g_seen = look;
  // One that hangs is over when the test says so, and asks nobody else meanwhile.
  SetRenderTime(std::nullopt);
  TestThread caller([&] { EXPECT_TRUE(m_mag->SetSource(window, {0, 0, 10, 10})); });
  Settle();
  DWORD_PTR result = 0;
  EXPECT_FALSE(SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_BLOCK, 1000, &result));
  EXPECT_EQ(m_calls, 1);
  SetRenderTime(0ms);
  caller.Join();
  EXPECT_EQ(m_calls, 2);
  PostThreadMessageW(thread.id(), WM_QUIT, 0, 0);
}

TEST_F(Magnifiers, DrawWhatAFaultyDriverDraws) {
  const HWND window = makeWindow();
  SetStretchRectCalls(0);
  EXPECT_TRUE(m_mag->SetSource(window, {0, 0, 20, 20}));
  EXPECT_EQ(m_calls, 0);
  SetStretchRectCalls(3);
  SetBlackMagnifier(true);
  EXPECT_TRUE(m_mag->SetSource(window, {0, 0, 20, 20}));
  EXPECT_EQ(m_calls, 3);
  EXPECT_EQ(seenAt(5, 5), 0u) << "transparent, as no picture of the desktop is";
  EXPECT_EQ(vwin::control::Magnifiers()[0].renders, 2u);
  SetBlackMagnifier(false);
  SetStretchRectCalls(1);
  EXPECT_TRUE(DestroyWindow(window));
}

TEST_F(Magnifiers, WithoutADeviceDrawNothing) {
  for (const char* function : {"Direct3DCreate9Ex", "IDirect3D9Ex::CreateDeviceEx"}) {
    FailNth(function, 1);
    const HWND window = makeWindow();
    ASSERT_TRUE(window) << function;
    EXPECT_FALSE(vwin::control::Magnifiers()[0].hasDevice);
    EXPECT_TRUE(m_mag->SetSource(window, {0, 0, 20, 20}));
    EXPECT_TRUE(DestroyWindow(window));
  }
  EXPECT_EQ(m_calls, 0);
}

TEST_F(Magnifiers, OtherFaultsOfTheModuleAndTheCard) {
  RaiseInMagnification();
  EXPECT_THROW(m_mag->SetColorEffect(nullptr, nullptr), vwin::StructuredException);
  ClearFaults();
  FailNth("MagSetWindowFilterList", 1, {ERROR_ACCESS_DENIED, 0});
  EXPECT_FALSE(setFilterList(nullptr, {}));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});

  RemoveExport("Magnification.dll", "MagSetColorEffect");
  EXPECT_FALSE(GetProcAddress(m_module, "MagSetColorEffect"));
  EXPECT_TRUE(GetProcAddress(m_module, "MagInitialize"));
  EXPECT_FALSE(GetModuleHandleA("d3d9on12.dll"));
  LoadModule("d3d9on12.dll");
  EXPECT_TRUE(GetModuleHandleA("d3d9on12.dll"));
  RemoveModule("d3d12.dll");
  EXPECT_FALSE(LoadLibraryA("d3d12.dll"));

  IDirect3DDevice9Ex* const device = makeDevice();
  IDirect3DSurface9* surface = nullptr;
  SetD3D9DeviceState(D3DERR_DEVICEHUNG);
  EXPECT_EQ(device->CreateOffscreenPlainSurface(4, 4, D3DFMT_A8R8G8B8, D3DPOOL_SYSTEMMEM, &surface,
                                                nullptr),
            D3DERR_DEVICEHUNG);
  EXPECT_FALSE(surface);
  SetD3D9DeviceState(S_OK);
  TestThread stranger([&] { device->ColorFill(nullptr, nullptr, 0); });
  stranger.Join();
  EXPECT_EQ(TakeMisuses().size(), 1u) << "the device is not for all threads";
  device->Release();
  device->Release();
  EXPECT_EQ(TakeMisuses().size(), 1u);
}

}  // namespace
}  // namespace qx::test
