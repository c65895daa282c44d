// Memory: none is taken per frame, and a lack of it ends nothing.
#include "tests/share/AllocationHook.h"
#include "tests/share/WindowShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

// Two seconds of a share that has settled.
void ExpectNoAllocations(ShareRecorder& host) {
  Advance(6s);
  host.Forget();
  const LibraryAllocations allocations;
  Advance(2s);
  EXPECT_EQ(allocations.count(), 0) << allocations.where();
  EXPECT_GE(host.FrameCount(), 29);
}

class SteadyShare : public ShareTest,
                    public testing::WithParamInterface<IScreenCapture::ScreenFrameFormat> {};

TEST_P(SteadyShare, AllocatesNothingPerFrame) {
  SetVersion(kWindows7);  // without composition the filter lists are asked on every frame
  SetComposition(false);
  IScreenCapture::FilterWindowInfo filter;
  filter.type = 1;
  filter.processId = 8000;
  filter.titleRule = 2;
  capture.AddExcludeWindow(filter);
  for (int i = 0; i < 20; ++i) {
    OpenWindow({.title = L"Window",
                .rect = {10 * i, 5 * i, 10 * i + 40, 5 * i + 30},
                .processId = static_cast<DWORD>(7999 + i % 3)});
  }
  host.keepPixels = false;
  capture.EnableCaptureCursor(true);
  capture.EnablePromptWindow(true);
  capture.SetScreenFrameFormatType(GetParam());
  ScreenCapture::UnregisterLogCallBack();
  start();
  ExpectNoAllocations(host);

  const LibraryAllocations allocations;
  SetMonitorRect(monitor(), {0, 0, 640, 480});
  tick(2);
  EXPECT_GT(allocations.count(), 0) << "a new size takes memory, or nothing is being counted";
}

INSTANTIATE_TEST_SUITE_P(Formats, SteadyShare,
                         testing::Values(IScreenCapture::ScreenFrameFormatARGB,
                                         IScreenCapture::ScreenFrameFormatI420),
                         [](const auto& test) { return test.param == 0 ? "Argb" : "I420"; });

TEST_F(WindowShareTest, SteadyWindowShareAllocatesNothingPerFrame) {
  useClassicWindows7();
  for (int i = 0; i < 20; ++i) {
    OpenWindow({.title = L"Cover", .rect = {30 + 5 * i, 20, 40 + 5 * i, 90}});
  }
  capture.EnableActiveShareWindow(false);
  capture.EnablePromptWindow(true);
  ScreenCapture::UnregisterLogCallBack();
  startWindow();
  ExpectNoAllocations(host);

  const LibraryAllocations allocations;
  Resize(window, 120, 90);
  settleMove();
  EXPECT_GT(allocations.count(), 0) << "a new size takes memory, or nothing is being counted";
}

TEST_F(ShareTest, LackOfMemoryForABiggerFrameRepeatsTheLastPicture) {
  start();
  SetMonitorRect(monitor(), {0, 0, 640, 400});
  OpenWindow({.rect = {0, 0, 640, 400}, .color = RGB(1, 2, 3)});
  {
    const FailLargeAllocations noMemory(640 * 400 * 4);
    tick(3);
    EXPECT_GE(noMemory.failed(), 1);
    EXPECT_EQ(host.LastFrame().width, 320);
    EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
  }
  EXPECT_EQ(host.Count("stop"), 0);
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 640);
  EXPECT_TRUE(Shows(host.LastFrame(), 0x010203, {}));
}

TEST_F(ShareTest, LackOfMemoryForConversionAndScalingLeavesTheShareRunning) {
  start();
  {
    const FailLargeAllocations noMemory(320 * 200 * 3 / 2);
    capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
    tick(3);
    EXPECT_GE(noMemory.failed(), 1);
  }
  tick(2);
  EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
  EXPECT_EQ(host.LastFrame().width, 320);

  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatARGB);
  IScreenCapture::ScreenFrameResolutionLimit limit;
  limit.maxScreenWidth = 160;
  limit.maxScreenHeight = 100;
  limit.maxScreenPixels = 16000;
  {
    const FailLargeAllocations noMemory(16000 * 4);
    capture.SetCaptureFrameResolutionLimit(limit);
    tick(4);
    EXPECT_GE(noMemory.failed(), 1);
    EXPECT_TRUE(host.LastFrame().HasPixels());
  }
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 160);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
}

}  // namespace
}  // namespace qx::test
