// Magnification.dll: whom a render waits for, and what is refused.
#include <magnification.h>
#include <virtual_windows.h>

#include <atomic>
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

std::function<void()> g_drawn;

HRESULT detour(IDirect3DDevice9*, IDirect3DSurface9*, const RECT*, IDirect3DSurface9*, const RECT*,
               D3DTEXTUREFILTERTYPE) {
  if (g_drawn) g_drawn();
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
    g_drawn = [this] {
      ++m_calls;
      m_thread = GetCurrentThreadId();
    };
  }
  void TearDown() override {
    g_drawn = {};
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
  static void draw(HWND window) { EXPECT_TRUE(MagSetWindowSource(window, {0, 0, 100, 100})); }

  int m_calls = 0;
  DWORD m_thread = 0;
};

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
  const auto note = g_drawn;
  g_drawn = [&] {
    answer = SendMessageW(asked, WM_USER, 0, 0);
    note();
  };
  SetRenderTime(80ms);
  const auto began = Now();
  draw(window);
  EXPECT_EQ(Now() - began, 80ms);
  EXPECT_EQ(m_thread, GetWindowThreadProcessId(thread.handle(), nullptr));
  EXPECT_EQ(answer, 5);
  EXPECT_EQ(m_calls, 1);

  g_drawn = note;
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
