// Magnification.dll: what a render shows, whom it waits for, and what it refuses.
#include <magnification.h>
#include <virtual_windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/control/Clock.h"
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
    EXPECT_TRUE(MagUninitialize());
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
  DWORD m_thread = 0;

 private:
  void look(IDirect3DDevice9* device, IDirect3DSurface9* source) {
    ++m_calls;
    m_thread = GetCurrentThreadId();
    D3DSURFACE_DESC desc{};
    EXPECT_EQ(source->GetDesc(&desc), D3D_OK);
    m_width = static_cast<int>(desc.Width);
    m_seen = PixelsOf(device, source);
  }

  int m_width = 0;
  std::vector<std::uint32_t> m_seen;
};

TEST_F(Magnifiers, LeaveOutThemselvesAndTheWindowsOnAListOfAnyLength) {
  const HWND excluded = OpenWindow({.rect = {10, 10, 90, 50}, .color = kRed});
  Fill(excluded, {0, 0, 5, 5}, RGB(255, 254, 0));
  const HWND window = makeWindow();
  SetLayeredWindowAttributes(window, 0, 255, LWA_ALPHA);
  ShowWindow(window, SW_SHOWNOACTIVATE);
  const HWND dead = OpenWindow({});
  Close(dead);
  std::vector<HWND> list(2000, dead);
  list.insert(list.end(), 2, excluded);
  ASSERT_TRUE(setFilterList(window, list));
  draw(window, -10);
  EXPECT_EQ(m_calls, 1);
  EXPECT_EQ(seenAt(0, 50), kOpaque) << "black off the screen";
  EXPECT_EQ(seenAt(10, 0), kOpaque | kDesktopPixel) << "not the magnifier";
  EXPECT_EQ(seenAt(45, 20), kOpaque | kDesktopPixel) << "not the excluded window";

  // What the library wants: red goes up by one step of 255, and no further than white.
  MAGCOLOREFFECT effect{};
  for (int i = 0; i < 5; ++i) effect.transform[i][i] = 1;
  effect.transform[4][0] = 0.004f;
  ASSERT_TRUE(MagSetColorEffect(window, &effect));
  ASSERT_TRUE(setFilterList(window, {}));
  SetStretchRectCalls(3);
  draw(window);
  EXPECT_EQ(m_calls, 4);
  EXPECT_EQ(seenAt(35, 20), kOpaque | (kRedPixel + 0x00010000));
  EXPECT_EQ(seenAt(12, 12), 0xFFFFFE00);
  EXPECT_TRUE(DestroyWindow(window));
}

TEST_F(Magnifiers, RefuseOthersAndChildrenAndExistOnlyWhileTheModuleIsStarted) {
  EXPECT_TRUE(MagInitialize());
  EXPECT_TRUE(MagUninitialize());
  const HWND window = makeWindow();
  EXPECT_TRUE(window) << "two starts, one end";
  const HWND other = OpenWindow({});
  const HWND child = OpenWindow({.rect = {100, 100, 110, 110}, .parent = other});
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

}  // namespace
}  // namespace qx::test
