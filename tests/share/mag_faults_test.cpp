// What may happen to a share that a magnifier draws: lists of any length, other people's hands
// on its window, callers from within, no memory.
#include <string>

#include "tests/platform/TestWindow.h"
#include "tests/share/AllocationHook.h"
#include "tests/share/MagShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr std::uint32_t kSecret = 0xE00102;
const COLORREF kSecretColor = RGB(0xE0, 1, 2);

class MagLists : public MagShareTest, public testing::WithParamInterface<int> {};

TEST_P(MagLists, LeaveOutTheLiveWindowsThatAreNamedAndNoOthers) {
  const int count = GetParam();
  withoutDynamicCheck();
  std::vector<HWND> named;
  std::vector<Patch> shown;
  int opened = 0;
  const auto open = [&](bool hidden) {
    const int x = opened % 80 * 4;
    const int y = opened++ / 80 * 4;
    const auto blue = static_cast<std::uint8_t>(opened);
    const HWND window = OpenWindow(
        {.rect = {x, y, x + 4, y + 4}, .color = hidden ? kSecretColor : RGB(9, 8, blue)});
    if (hidden) {
      named.push_back(window);
    } else {
      shown.push_back({x, y, x + 4, y + 4, 0x090800u + blue});
    }
  };
  open(false);
  for (int i = 0; i < count; ++i) {
    open(true);
    if (i % 50 == 0) {
      open(false);
    }
  }
  // Dead ones too, and the library's own window by two rules.
  std::vector<HWND> rules = named;
  for (int i = 0; i < 3; ++i) {
    rules.push_back(OpenWindow({}));
    Close(rules.back());
  }
  rules.insert(rules.end(), named.begin(), named.end());
  capture.Exclude(rules);
  capture.AddExcludeWindow({.type = 1, .processId = GetCurrentProcessId()});
  capture.EnablePromptWindow(true);
  forbid(kSecret);
  startMag();
  EXPECT_TRUE(nextMagFrameShows(shown));
  if (count > 0) {
    // It dies on its way into the list.
    AtNth("MagSetWindowFilterList", 1, [&] { Close(named.back()); });
    EXPECT_TRUE(nextMagFrameShows(shown));
    tick();
    EXPECT_TRUE(nextMagFrameShows(shown)) << "one window less";
  }
  capture.Exclude({});
  EXPECT_EQ(leaks, 0);
  host.onEvent = {};
  tick(2);
  EXPECT_EQ(count > 1, host.LastFrame().At(4, 0) == kSecret + kRedder);
  EXPECT_EQ(host.Engines(), Engines{kMag});
}

INSTANTIATE_TEST_SUITE_P(Lengths, MagLists, testing::Values(0, 1, 24, 2000));

TEST_F(MagShareTest, WindowThatIsDestroyedInTheMiddleOfATickCostsSomeTicks) {
  withoutDynamicCheck();
  startMag();
  forbid(kSecret);
  for (const char* call : {"EnumWindows", "MagSetWindowFilterList", "SendMessageTimeoutW",
                           "MagSetWindowSource", "GetMonitorInfoW"}) {
    const HWND old = LibraryWindows(L"Magnifier").front().handle;
    const HWND secret = OpenWindow({.rect = {9, 9, 99, 99}, .color = kSecretColor});
    capture.Exclude({secret});
    AtNth(call, 1, [old] { SendMessageW(old, WM_CLOSE, 0, 0); });
    tick(6);
    ClearFaults();
    EXPECT_NE(LibraryWindows(L"Magnifier").front().handle, old) << call;
    EXPECT_TRUE(nextMagFrameShows({})) << call;
    Close(secret);
    tick(2);
  }
  EXPECT_EQ(leaks, 0);
  EXPECT_EQ(host.Engines(), Engines{kMag});
}

TEST_F(MagShareTest, LackOfMemoryForAnotherSizeShowsNothingOfAnOlderList) {
  const HWND secret = OpenWindow({.rect = {20, 20, 80, 80}, .color = kSecretColor});
  startMag();
  tick(2);
  EXPECT_TRUE(magShows({{20, 20, 80, 80, kSecret}}));
  {
    const FailLargeAllocations noMemory(640 * 400 * 4);
    SetMonitorRect(monitor(), {0, 0, 640, 400});
    EXPECT_TRUE(nextMagFrameShows({{20, 20, 80, 80, kSecret}})) << "the last one once more";
    EXPECT_EQ(host.LastFrame().width, 320);
    forbid(kSecret);
    capture.Exclude({secret});
    tick(6);
    EXPECT_GE(noMemory.failed(), 3);
    EXPECT_GE(log.Count("resize buffer failed, use last frame"), 3);
    EXPECT_EQ(leaks, 0);
  }
  tick();
  EXPECT_TRUE(nextMagFrameShows({}));
  EXPECT_EQ(host.LastFrame().width, 640);
  EXPECT_EQ(host.Engines(), Engines{kMag});
}

// The host's thread waits for the share, that for SC-MagThread, and that for an answer of
// the host's window, whose procedure calls the library.
TEST_F(MagShareTest, HostMayCallTheLibraryWhileItWaitsForTheMagnifiersThread) {
  const HWND secret = OpenWindow({.rect = {20, 20, 80, 80}, .color = kSecretColor});
  TestWindow window({300, 190, 310, 200});
  int calls = 0;
  window.onMessage = [&](UINT, WPARAM, LPARAM) -> LRESULT {
    ++calls;
    capture.SharePause();
    capture.Exclude({secret});
    list();
    capture.SetDynamicCheck(false);
    capture.ShareResume();
    IScreenCapture::ShareError again = IScreenCapture::ShareErrorNone;
    EXPECT_FALSE(capture.ShareDesktop(&context, idOf(monitor()), &host, again));
    // Another share needs the very thread that waits for this answer.
    OtherShare other;
    EXPECT_TRUE(other.StartMonitor(monitor())) << other.error;
    return 0;
  };
  const auto ask = [&] {
    DWORD_PTR result = 0;
    SendMessageTimeoutW(window, WM_USER, 0, 0, SMTO_NORMAL, 500, &result);
  };
  forbid(kSecret);
  for (const char* call : {"MagInitialize", "MagSetColorEffect", "Direct3DCreate9Ex"}) {
    host.Forget();
    AtNth(call, 1, ask);
    start();
    tick(3);
    EXPECT_TRUE(nextMagFrameShows({})) << call;
    EXPECT_EQ(host.Engines(), Engines{kMag}) << call;
    AtNth("MagUninitialize", 1, ask);
    capture.ShareStop();
    EXPECT_EQ(magnifierWindows(), 0u) << call;
  }
  EXPECT_GE(calls, 6);
  EXPECT_EQ(leaks, 0);
}

}  // namespace
}  // namespace qx::test
