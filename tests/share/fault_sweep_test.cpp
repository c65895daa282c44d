// Every call that a monitor share makes fails once, one after the other. Whatever
// it is: no crash, no hang, nothing left behind, and the next share is as good as
// new.
#include <memory>
#include <string>
#include <tuple>

#include "platform/control/Ledger.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

struct Machine {
  const char* name;
  vwin::Version version;
  bool composition;
};

// The calls are dealt out to so many tests, which run side by side.
constexpr int kShares = 6;

class FaultSweep : public testing::TestWithParam<std::tuple<Machine, int>> {
 protected:
  static constexpr std::uint32_t kWindowColor = 0x0A141E;

  FaultSweep() {
    OwnClock();
    SetVersion(machine().version);
    SetComposition(machine().composition);
    SetDesktopColor(RGB(0x20, 0x30, 0x40));
    secret = OpenWindow(
        {.title = L"Secret", .rect = {5, 5, 15, 15}, .color = RGB(250, 0, 0), .processId = 7000});
    OpenWindow({.rect = {20, 10, 40, 30}, .color = RGB(0x0A, 0x14, 0x1E)});
  }

  static const Machine& machine() { return std::get<0>(GetParam()); }

  static int monitorId() {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(PrimaryMonitor()));
  }

  // A share in which everything happens that can: start, a cursor, exclusion, a
  // bigger limit, a monitor that moves and gets a new handle, a rebuilt engine,
  // a pause with keep-live frames, a new prompt look, stop.
  void wholeShare(ShareRecorder& host) {
    SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
    ScreenCapture capture;
    IScreenCapture::FilterWindowInfo filter;
    filter.type = 1;
    filter.processId = 7000;
    filter.titleRule = 1;
    std::snprintf(filter.title, sizeof(filter.title), "%s", "Secret");
    capture.AddExcludeWindow(filter);
    IScreenCapture::ShareError error = {};
    capture.GetDesktopList([](const IScreenCapture::DesktopInfo*, const int&, void*) {}, nullptr);
    if (!capture.ShareDesktop(nullptr, monitorId(), &host, error)) {
      EXPECT_TRUE(error == IScreenCapture::ShareErrorTargetMissing ||
                  error == IScreenCapture::ShareErrorStartFailed)
          << error;
      EXPECT_EQ(host.Count("start"), 0);
      return;
    }
    EXPECT_EQ(host.Count("start"), 1);
    Settle();
    SetMonitorRect(PrimaryMonitor(), {0, 0, 72, 40});
    Advance(140ms);
    RenewMonitorHandle(PrimaryMonitor());
    Advance(140ms);
    IScreenCapture::ScreenCaptureConfig config;
    config.GetDirtyRectInfo = true;
    capture.SetScreenCaptureConfig(config);
    const IScreenCapture::PromptWindowInfo look = {9, 8, 7, 2};
    capture.SetPromptWindowInfo(&look);
    Advance(140ms);
    capture.SharePause();
    Advance(1100ms);
    capture.ShareResume();
    Advance(2500ms);  // longer than the wait for a secure desktop
    capture.ShareStop();
  }

  // A plain share, which must succeed and show what is there.
  void goodShare(const std::string& after) {
    SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
    ScreenCapture capture;
    capture.EnablePromptWindow(false);
    capture.EnableCaptureCursor(false);
    ShareRecorder host(nullptr);
    IScreenCapture::ShareError error = {};
    ASSERT_TRUE(capture.ShareDesktop(nullptr, monitorId(), &host, error)) << after;
    Settle();
    Advance(70ms);
    EXPECT_TRUE(Shows(host.LastFrame(), 0x203040,
                      {{5, 5, 15, 15, 0xFA0000}, {20, 10, 40, 30, kWindowColor}}))
        << after;
    capture.ShareStop();
  }

  HWND secret;
};

TEST_P(FaultSweep, EveryCallFailsOnceAndTheShareSurvivesOrReports) {
  {
    ShareRecorder host(nullptr);
    wholeShare(host);
    ASSERT_EQ(host.Count("stop"), 0);
    ASSERT_GT(host.FrameCount(), 20) << "without faults the scenario is whole";
    goodShare("before the sweep");
  }
  const int first = std::get<1>(GetParam());
  int call = first;
  for (;; call += kShares) {
    ASSERT_LT(call, 20000);
    const LedgerSnapshot before = Snapshot();
    ShareRecorder host(nullptr);
    FailNthOfAll(static_cast<std::uint64_t>(call));
    wholeShare(host);
    const auto injected = InjectedInto();
    ClearFaults();
    if (!injected) {
      break;
    }
    const std::string after = "after call " + std::to_string(call) + ", " + *injected;
    EXPECT_LE(host.Count("firstFrame"), 1) << after;
    if (host.Count("start") == 1 && host.Count("stop") == 0) {
      EXPECT_GT(host.FrameCount(), 5) << "neither frames nor OnStop " << after;
    }
    EXPECT_FALSE(GetWindowLongPtrW(secret, GWL_EXSTYLE) & WS_EX_LAYERED) << after;
    EXPECT_EQ(Difference(before), "") << after;
    EXPECT_TRUE(Misuses().empty()) << after << ": " << Misuses().front();
    goodShare(after);
    if (HasFailure()) {
      break;
    }
  }
  EXPECT_GT(call, 200) << "the sweep went through the whole share";
}

INSTANTIATE_TEST_SUITE_P(Machines, FaultSweep,
                         testing::Combine(testing::Values(Machine{"Windows7Classic", kWindows7,
                                                                  false},
                                                          Machine{"Windows10", kWindows10, true}),
                                          testing::Range(1, kShares + 1)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "From" +
                                  std::to_string(std::get<1>(test.param));
                         });

}  // namespace
}  // namespace qx::test
