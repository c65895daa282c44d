// Memory: none is taken per frame, and a lack of it ends nothing.
#include "tests/share/AllocationHook.h"
#include "tests/share/DxgiShareTest.h"
#include "tests/share/MagShareTest.h"
#include "tests/share/WgcShareTest.h"
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

TEST_F(MagShareTest, MagnifiedShareAllocatesNothingPerFrame) {
  AddMonitor({320, 0, 400, 100});
  IScreenCapture::ScreenCaptureConfig config;
  config.scDynamicCheck = false;
  config.scNewMouseCaptureWay = true;
  capture.SetScreenCaptureConfig(config);
  capture.EnableCaptureCursor(true);
  exclude({OpenWindow({.rect = {0, 0, 40, 30}}), OpenWindow({.rect = {50, 0, 90, 30}})});
  host.keepPixels = false;
  ScreenCapture::UnregisterLogCallBack();
  startMag();
  ExpectNoAllocations(host);
  EXPECT_EQ(host.Engines(), Engines{});
}

TEST_F(WgcShareTest, SteadyWindowShareAllocatesNothingPerFrame) {
  OpenWindow({.rect = {60, 50, 200, 190}});
  host.keepPixels = false;
  ScreenCapture::UnregisterLogCallBack();
  startWindow();
  const auto run = [&](int ticks) {
    for (int i = 0; i < ticks; ++i) {
      Fill(window, {0, 0, 10, 10}, RGB(i % 2, 0, 0));
      tick();
    }
  };
  run(90);  // longer than any interval of the log
  host.Forget();
  const std::uint64_t textures = Count("ID3D11Device::CreateTexture2D");
  const LibraryAllocations allocations;
  run(30);
  EXPECT_EQ(allocations.count(), 0) << allocations.where();
  EXPECT_EQ(host.FrameCount(), 30);
  EXPECT_EQ(Count("ID3D11Device::CreateTexture2D") - textures, 30u) << "the scaler's";
}

TEST_F(DxgiShareTest, AllocatesNothingPerFrameNorWhenNothingChanges) {
  IScreenCapture::ScreenCaptureConfig config;
  config.GetDirtyRectInfo = true;
  capture.SetScreenCaptureConfig(config);
  capture.EnableFilterWindowWhenShareDesktop(false);
  capture.EnableCaptureCursor(true);
  host.keepPixels = false;
  const HWND window = OpenWindow({.rect = {0, 0, 40, 30}});
  ScreenCapture::UnregisterLogCallBack();
  SetPointerShape(vwin::PointerShape{
      DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR, 1, 1, 4, {0, 0}, {0, 0, 0xFF, 0xFF}});
  start();
  const auto run = [&](int ticks) {
    for (int i = 0; i < ticks; ++i) {
      MoveTo(window, i % 2 * 100, 50);
      SetCursorPosition(10 + i % 2 * 40, 60);
      tick();
    }
  };
  run(90);  // longer than any interval of the log
  host.Forget();
  const LibraryAllocations allocations;
  run(30);
  EXPECT_GE(host.Count("dirty 1 3 0.0453125"), 29) << "each of them a new picture";
  tick(30);
  EXPECT_EQ(allocations.count(), 0) << allocations.where();
  EXPECT_EQ(host.FrameCount(), 60);
}

TEST_F(ShareTest, LackOfMemoryForABiggerFrameRepeatsTheLastPicture) {
  start();
  SetMonitorRect(monitor(), {0, 0, 640, 400});
  OpenWindow({.rect = {0, 0, 640, 400}, .color = RGB(1, 2, 3)});
  FailNth("CreateDIBSection", 1, {ERROR_NOT_ENOUGH_MEMORY, E_OUTOFMEMORY}, Repeat::kOnward);
  tick(3);
  EXPECT_EQ(host.LastFrame().width, 320);
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
  ClearFaults();
  EXPECT_EQ(host.Count("stop"), 0);
  tick(2);
  EXPECT_EQ(host.LastFrame().width, 640);
  EXPECT_TRUE(Shows(host.LastFrame(), 0x010203, {}));
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

TEST_F(DxgiShareTest, LackOfMemoryRepeatsTheLastPictureUntilThereIsSome) {
  startDxgi();
  {
    const FailLargeAllocations noMemory(640 * 400 * 4);
    SetMonitorRect(monitor(), {0, 0, 640, 400});
    tick(4);
    EXPECT_GE(noMemory.failed(), 1);
    EXPECT_EQ(host.LastFrame().width, 320);
    EXPECT_TRUE(Shows(host.LastFrame(), kBackground, {}));
  }
  for (const int color : {1, 2}) {  // one to look at
    OpenWindow({.rect = {0, 0, 640, 400}, .color = RGB(color, 0, 0)});
    tick();
  }
  EXPECT_EQ(host.LastFrame().width, 640);
  EXPECT_TRUE(Shows(host.LastFrame(), 0x020000, {}));
  EXPECT_EQ(host.Engines(), Engines{kDxgi});
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
  {
    const FailLargeAllocations noMemory(16000 * 4);
    limitTo(160, 100);
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
