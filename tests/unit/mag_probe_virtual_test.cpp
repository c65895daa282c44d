// The probe of the magnification engine beside shares that use it.
#include "tests/share/MagShareTest.h"
#include "win/engine/MagProbe.h"
#include "win/util/Thread.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(MagShareTest, AProbeLeavesSharesTheirPicturesAlsoAfterTheSessionWasLocked) {
  const HWND one = OpenWindow({.rect = {10, 10, 90, 90}, .color = 0x030201});
  const HWND other = OpenWindow({.rect = {110, 10, 190, 90}, .color = 0x060504});
  ShareRecorder host2(&context);
  PlainCapture capture2;
  capture2.SetScreenCaptureConfig({.scDynamicCheck = false});
  withoutDynamicCheck();
  exclude({one});
  setExcluded(capture2, {other});
  for (const bool failing : {true, false}) {
    for (const char* call : {"MagSetWindowSource", "MagSetWindowFilterList", "IsWindow"}) {
      startMag();
      ASSERT_TRUE(capture2.ShareDesktop(&context, idOf(monitor()), &host2, error)) << log.Dump();
      tick(2);
      // Some other thread asks while the first share is at its picture.
      Thread prober;
      if (failing) {
        FailNth("IDirect3DDevice9::GetRenderTargetData", 1, kOutOfMemory, vwin::Repeat::kOnward);
      }
      AtNth(call, 1, [&] {
        EXPECT_TRUE(prober.Start([] { EXPECT_FALSE(WindowsUtil::IsMagCaptureBlack()); }));
      });
      tick(2);
      prober.Join();
      ClearFaults();
      tick(3);
      EXPECT_TRUE(magShows({{110, 10, 190, 90, 0x040506}})) << call;
      EXPECT_TRUE(ShowsRedder(host2.LastFrame(), {{10, 10, 90, 90, 0x010203}})) << call;
      EXPECT_EQ(magnifierWindows(), 2u) << "the probe's is gone";

      LockSession(true);
      tick(3);
      EXPECT_FALSE(WindowsUtil::IsMagCaptureBlack());
      EXPECT_EQ(host.Count("stop") + host2.Count("stop"), 2);
      capture.ShareStop();
      capture2.ShareStop();
      host2.Forget();
      EXPECT_EQ(magnifierWindows(), 0u);
      LockSession(false);
    }
  }
}

}  // namespace
}  // namespace qx::test
