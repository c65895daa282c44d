// The probe of the magnification engine beside shares that use it.
#include <gtest/gtest.h>
#include <qx-screen-capture.h>

#include <chrono>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Machine.h"
#include "platform/control/Magnification.h"
#include "tests/support/PictureMatcher.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/MagProbe.h"
#include "win/util/Thread.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

constexpr int kRedder = 0x010000;

// Shares the monitor without one window.
struct Sharer {
  explicit Sharer(HWND without) {
    capture.EnablePromptWindow(false);
    capture.EnableCaptureCursor(false);
    const auto mag = IScreenCapture::CaptureEngineMag;
    capture.SetCaptureEngineConfig(&mag, 1, false);
    IScreenCapture::FilterWindowInfo rule;
    rule.window = without;
    capture.AddExcludeWindow(rule);
    IScreenCapture::ScreenCaptureConfig config;
    config.scDynamicCheck = false;
    capture.SetScreenCaptureConfig(config);
  }
  bool Start() {
    const auto id = static_cast<int>(reinterpret_cast<std::intptr_t>(PrimaryMonitor()));
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    return capture.ShareDesktop(nullptr, id, &host, error);
  }
  testing::AssertionResult ShowsOnly(const Patch& patch) const {
    return Shows(host.LastFrame(), 0x203040 + kRedder, {patch});
  }

  ShareRecorder host;
  ScreenCapture capture;
};

TEST(MagProbeBesideShares, EachGetsItsOwnPictureAlsoAfterTheSessionWasLocked) {
  OwnClock();
  SetMonitorRect(PrimaryMonitor(), {0, 0, 320, 200});
  SetDesktopColor(RGB(0x20, 0x30, 0x40));
  LogRecorder log;
  const HWND one = OpenWindow({.rect = {10, 10, 90, 90}, .color = 0x030201});
  const HWND other = OpenWindow({.rect = {110, 10, 190, 90}, .color = 0x060504});
  Sharer first(one);
  Sharer second(other);
  const Patch withoutOne = {110, 10, 190, 90, 0x040506 + kRedder};
  const Patch withoutOther = {10, 10, 90, 90, 0x010203 + kRedder};
  for (const bool failing : {true, false}) {
    for (const char* call : {"MagSetWindowSource", "MagSetWindowFilterList", "IsWindow"}) {
      ASSERT_TRUE(first.Start()) << log.Dump();
      ASSERT_TRUE(second.Start()) << log.Dump();
      Advance(100ms);
      // Some other thread asks while the first share is at its picture.
      Thread prober;
      if (failing) {
        FailNth("IDirect3DDevice9::GetRenderTargetData", 1, kOutOfMemory, vwin::Repeat::kOnward);
      }
      AtNth(call, 1, [&] {
        EXPECT_TRUE(prober.Start([] { EXPECT_FALSE(WindowsUtil::IsMagCaptureBlack()); }));
      });
      Advance(100ms);
      prober.Join();
      ClearFaults();
      Advance(200ms);
      EXPECT_TRUE(first.ShowsOnly(withoutOne)) << call << log.Dump();
      EXPECT_TRUE(second.ShowsOnly(withoutOther)) << call << log.Dump();
      EXPECT_EQ(LibraryWindows(L"Magnifier").size(), 2u) << "the probe's is gone";

      LockSession(true);
      Advance(200ms);
      EXPECT_FALSE(WindowsUtil::IsMagCaptureBlack());
      for (Sharer* sharer : {&first, &second}) {
        EXPECT_EQ(sharer->host.Count("stop"), 1);
        sharer->capture.ShareStop();
        sharer->host.Forget();
      }
      EXPECT_TRUE(LibraryWindows(L"Magnifier").empty());
      LockSession(false);
    }
  }
}

}  // namespace
}  // namespace qx::test
