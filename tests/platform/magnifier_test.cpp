// Magnification.dll: what a render shows, whom it waits for, and what can go wrong.
#include <magnification.h>
#include <virtual_windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "platform/control/Magnification.h"
#include "platform/model/Modules.h"
#include "tests/platform/DesktopTest.h"
#include "tests/platform/Direct3D9Test.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

std::function<void(IDirect3DDevice9*, IDirect3DSurface9*)> g_seen;

HRESULT detour(IDirect3DDevice9* device, IDirect3DSurface9* source, const RECT*, IDirect3DSurface9*,
               const RECT*, D3DTEXTUREFILTERTYPE) {
  if (g_seen) g_seen(device, source);
  return D3DERR_INVALIDCALL;
}

// By way of a device that is thrown away again.
void redirectStretchRect() {
  static std::atomic<void*> real = nullptr;
  if (real) return;
  Direct3D9Device card;
  card.Open();
  real = entryOf<void*>(card.m_device, 34);
  EXPECT_TRUE(vwin::Redirect(real, reinterpret_cast<void*>(&detour)));
  card.Close();
}

class Magnifiers : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    ASSERT_TRUE(MagInitialize());
    redirectStretchRect();
    g_seen = [this](IDirect3DDevice9* device, IDirect3DSurface9* source) { look(device, source); };
  }
  void TearDown() override {
    g_seen = {};
    ClearFaults();
    EXPECT_TRUE(MagUninitialize());
    DesktopTest::TearDown();
  }

  static HWND makeWindow() {
    return CreateWindowExW(WS_EX_LAYERED, L"Magnifier", L"", WS_POPUP, 0, 0, 50, 40, nullptr,
                           nullptr, nullptr, nullptr);
  }
  static bool setFilterList(HWND window, std::vector<HWND> list) {
    return MagSetWindowFilterList(window, MW_FILTERMODE_EXCLUDE, static_cast<int>(list.size()),
                                  list.data());
  }
  // All that there is to see, from a place a little left of the screen on.
  void draw(HWND window, int left = 0) {
    EXPECT_TRUE(MagSetWindowSource(window, {left, 0, 100, 100}));
  }
  std::uint32_t seenAt(int x, int y) const {
    return m_seen.at(static_cast<std::size_t>(y * m_width + x));
  }

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
    m_width = static_cast<int>(desc.Width);
    m_seen = PixelsOf(device, source);
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
  ASSERT_TRUE(MagSetWindowSource(window, {-20, -20, 10, 10}));
  EXPECT_EQ(seenAt(5, 19), kOpaque | kGreenPixel);
  EXPECT_EQ(seenAt(4, 19), kOpaque) << "a layered window without attributes has no picture";
  EXPECT_EQ(seenAt(20, 20), kOpaque | kDesktopPixel);
  SetLayeredWindowAttributes(host, 0, 255, LWA_ALPHA);
  ASSERT_TRUE(MagSetWindowSource(window, {-20, -20, 10, 10}));
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
  list.insert(list.end(), 2, excluded);
  ASSERT_TRUE(setFilterList(window, list));
  ASSERT_EQ(vwin::control::Magnifiers().size(), 1u);
  EXPECT_EQ(vwin::control::Magnifiers()[0].filterList, list);

  draw(window, -10);
  EXPECT_EQ(m_calls, 1);
  EXPECT_EQ(m_focus, window);
  EXPECT_EQ(seenAt(0, 50), kOpaque) << "black off the screen";
  EXPECT_EQ(seenAt(10, 0), kOpaque | kDesktopPixel) << "not the magnifier";
  EXPECT_EQ(seenAt(45, 20), kOpaque | kGreenPixel) << "not the excluded window above it";
  EXPECT_EQ(seenAt(70, 20), kOpaque | kDesktopPixel);
  ASSERT_TRUE(setFilterList(window, {}));
  draw(window);
  EXPECT_EQ(seenAt(35, 20), kOpaque | kRedPixel);
  EXPECT_EQ(seenAt(20, 20), kOpaque | kGreenPixel);

  // What the library wants: red goes up by one step of 255, and no further than white.
  MAGCOLOREFFECT effect{};
  for (int i = 0; i < 5; ++i) effect.transform[i][i] = 1;
  effect.transform[4][0] = 0.004f;
  ASSERT_TRUE(MagSetColorEffect(window, &effect));
  Fill(shown, {0, 0, 5, 5}, RGB(255, 254, 0));
  draw(window);
  EXPECT_EQ(seenAt(35, 20), kOpaque | (kRedPixel + 0x00010000));
  EXPECT_EQ(seenAt(12, 12), 0xFFFFFE00);
  // Grey by the mean of red and green.
  effect = {};
  for (int to = 0; to < 3; ++to) effect.transform[0][to] = effect.transform[1][to] = 0.5f;
  effect.transform[3][3] = 1;
  ASSERT_TRUE(MagSetColorEffect(window, &effect));
  draw(window);
  EXPECT_EQ(seenAt(35, 20), 0xFF737373);  // (200 + 30) / 2
  EXPECT_TRUE(DestroyWindow(window));
}

TEST_F(Magnifiers, RefuseOthersAndChildrenAndExistOnlyWhileTheModuleIsStarted) {
  EXPECT_TRUE(MagInitialize());
  EXPECT_TRUE(MagUninitialize());
  const HWND window = makeWindow();
  EXPECT_TRUE(window) << "two starts, one end";
  const HWND other = open({});
  const HWND child = open({.rect = {100, 100, 110, 110}, .parent = other});
  const RECT source = {0, 0, 10, 10};
  constexpr DWORD kInvalid = ERROR_INVALID_PARAMETER;
  EXPECT_TRUE(FailsWith(kInvalid, [&] { return setFilterList(window, {other, child}); }));
  EXPECT_TRUE(FailsWith(kInvalid, [&] { return setFilterList(other, {}); }));
  EXPECT_TRUE(FailsWith(kInvalid, [&] { return MagSetWindowSource(other, source); }));
  EXPECT_FALSE(MagSetWindowFilterList(window, MW_FILTERMODE_INCLUDE, 0, nullptr));
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_FALSE(MagSetWindowSource(window, source));
  EXPECT_EQ(m_calls, 0);
  EXPECT_TRUE(MagUninitialize());
  EXPECT_TRUE(FailsWith(ERROR_CANNOT_FIND_WND_CLASS, makeWindow));
  EXPECT_FALSE(MagUninitialize());
  EXPECT_TRUE(MagInitialize());
}

TEST_F(Magnifiers, RenderOnTheirThreadWhileTheCallerAnswersWhatIsSentToIt) {
  OwnClock();
  TestWindow asked({100, 50, 110, 60});
  asked.onMessage = [](UINT, WPARAM, LPARAM) { return LRESULT{5}; };
  HWND window = nullptr;
  WindowThread thread([&](TestWindow& other) {
    window = makeWindow();
    other.onMessage = [&](UINT, WPARAM, LPARAM) { return LRESULT{DestroyWindow(window)}; };
  });
  LRESULT answer = 0;
  const auto look = g_seen;
  g_seen = [&](IDirect3DDevice9* device, IDirect3DSurface9* source) {
    answer = SendMessageW(asked, WM_USER, 0, 0);
    look(device, source);
  };
  SetRenderTime(80ms);
  const auto began = Now();
  draw(window);
  EXPECT_EQ(Now() - began, 80ms);
  EXPECT_EQ(m_thread, GetWindowThreadProcessId(thread.handle(), nullptr));
  EXPECT_EQ(answer, 5);
  EXPECT_EQ(m_calls, 1);

  g_seen = look;
  // One that hangs is over when the test says so, and asks nobody else meanwhile.
  SetRenderTime(std::nullopt);
  TestThread caller([&] { draw(window); });
  Settle();
  DWORD_PTR result = 0;
  EXPECT_FALSE(SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_BLOCK, 1000, &result));
  EXPECT_EQ(m_calls, 1);
  SetRenderTime(0ms);
  caller.Join();
  EXPECT_EQ(m_calls, 2);
  EXPECT_TRUE(SendMessageW(thread.handle(), WM_USER, 0, 0));
}

TEST_F(Magnifiers, DrawWhatAFaultyDriverDrawsAndNothingWithoutADevice) {
  for (const char* function : {"Direct3DCreate9Ex", "IDirect3D9Ex::CreateDeviceEx"}) {
    FailNth(function, 1);
    const HWND window = makeWindow();
    ASSERT_TRUE(window) << function;
    EXPECT_FALSE(vwin::control::Magnifiers()[0].hasDevice);
    draw(window);
    EXPECT_TRUE(DestroyWindow(window));
  }
  const HWND window = makeWindow();
  SetStretchRectCalls(0);
  draw(window);
  EXPECT_EQ(m_calls, 0);
  SetStretchRectCalls(3);
  SetBlackMagnifier(true);
  draw(window);
  EXPECT_EQ(m_calls, 3);
  EXPECT_EQ(seenAt(5, 5), 0u) << "transparent, as no picture of the desktop is";
  EXPECT_EQ(vwin::control::Magnifiers()[0].renders, 2u);
  SetBlackMagnifier(false);
  SetStretchRectCalls(1);
  EXPECT_TRUE(DestroyWindow(window));
}

}  // namespace
}  // namespace qx::test
