// What happens to a share when its monitor, the session or the desktop changes.
#include <string>
#include <utility>

#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST_F(ShareTest, MonitorsThatAreTooSmallGiveNoFramesAndNoFailure) {
  SetMonitorRect(monitor(), {0, 0, 7, 500});
  ASSERT_TRUE(share(monitor()));
  tick(2);
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_TRUE(log.Has(4, "captureFrame::GetLimitedEncodeResolution fail.")) << log.Dump();
  SetMonitorRect(monitor(), {0, 0, 8, 500});
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 8);
  SetMonitorRect(monitor(), {0, 0, 0, 0});
  host.Forget();
  tick(12);
  EXPECT_EQ(host.Events(true), Events{});
  SetMonitorRect(monitor(), {0, 0, 100, 50});
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 100);
}

class LockedScreen : public ShareTest, public testing::WithParamInterface<vwin::Version> {
 protected:
  LockedScreen() { SetVersion(GetParam()); }
};

TEST_P(LockedScreen, EndsTheShareOnlyWhenACaptureFails) {
  start();
  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick();
  EXPECT_EQ(host.Count("stop"), 0) << "unlocked: the share goes on";
  LockSession(true);
  EXPECT_TRUE(nextFrameShows({})) << "a capture that works goes on";
  FailNth("BitBlt", 1, {ERROR_ACCESS_DENIED, E_FAIL});
  tick(3);
  EXPECT_EQ(host.Count("stop"), 1);
  EXPECT_TRUE(log.Has(4, "screen lock, stop share")) << log.Dump();
}

// Windows 7 tells it the other way round.
INSTANTIATE_TEST_SUITE_P(Versions, LockedScreen, testing::Values(kWindows7, kWindows10),
                         [](const auto& test) {
                           return "Windows" + std::to_string(test.param.major);
                         });

TEST_F(ShareTest, FailingEngineIsRestartedAtThreeSixNineAndGivenUpAtTen) {
  start();
  host.Forget();
  const int initialized = log.Count("bitblt: true");
  FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);

  tick(9);
  EXPECT_EQ(log.Count("bitblt: true"), initialized + 3) << log.Dump();
  EXPECT_TRUE(host.Engines().empty());
  tick();
  EXPECT_EQ(host.Engines(), std::vector<int>{0}) << "no engine is left, and the host is told";
  EXPECT_EQ(log.Count("m_captureEngine are all failed"), 1) << log.Dump();
  EXPECT_TRUE(log.Has(4, "BitBlt failed,last Error:31"));
  EXPECT_EQ(log.Count("BitBlt failed"), 1) << "limited";
  ClearFaults();
  tick(3);
  EXPECT_EQ(host.FrameCount(), 0);
  EXPECT_EQ(host.Count("stop"), 0);

  // Settings that rebuild the engine bring a new list and a new chance.
  capture.SetScreenCaptureConfig({.scDynamicCheck = false});
  tick(2);
  EXPECT_EQ(host.Engines(), (std::vector<int>{0, 4}));
  EXPECT_TRUE(nextFrameShows({}));
}

TEST_F(ShareTest, EngineWithoutMemoryForAFirstPictureIsGivenUp) {
  const std::pair<const char*, const char*> failures[] = {
      {"GetDC", "GetDC failed,last Error:8"},
      {"CreateCompatibleDC", "CreateCompatibleDC failed,last Error:8"},
      {"CreateDIBSection", "CreateDIBSection of 320x200 failed,last Error:8"},
      {"SelectObject", "SelectObject failed,last Error:8"}};
  for (const auto& [call, message] : failures) {
    FailNth(call, 1, {ERROR_NOT_ENOUGH_MEMORY, E_OUTOFMEMORY}, Repeat::kOnward);
    host.Forget();
    start();
    tick(9);
    EXPECT_EQ(host.FrameCount(), 0);
    EXPECT_EQ(host.Engines(), (std::vector<int>{4, 0})) << "and the host is told";
    EXPECT_TRUE(log.Has(4, message)) << log.Dump();
    ClearFaults();
    capture.ShareStop();
  }
}

}  // namespace
}  // namespace qx::test
