// What a host sees: the public header and Windows calls only. The same tests run
// on virtual Windows and, with the DLL, under Wine.
#include <gtest/gtest.h>
#include <qx-screen-capture.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "tests/host/ColorWindow.h"
#include "tests/host/Monitors.h"
#include "tests/support/ShareRecorder.h"

namespace qx::test {
namespace {

class HostShareTest : public testing::Test {
 protected:
  HostShareTest() {
    capture.EnablePromptWindow(false);
    capture.EnableCaptureCursor(false);
    capture.SetCaptureFPS(30);
    for (const IScreenCapture::DesktopInfo& desktop : ListMonitors(capture)) {
      if (desktop.isPrimary != 0) {
        primary = desktop;
      }
    }
  }

  bool share(IScreenCapture::ShareListener* listener) {
    return capture.ShareDesktop(nullptr, primary.id, listener, error);
  }

  LogRecorder log;
  IScreenCapture::DesktopInfo primary = {};
  ShareRecorder host;
  ScreenCapture capture;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
};

TEST_F(HostShareTest, ListsMonitorsAsTheSystemKnowsThem) {
  const Monitors desktops = ListMonitors(capture);
  ASSERT_FALSE(desktops.empty());
  EXPECT_EQ(std::count_if(desktops.begin(), desktops.end(),
                          [](const auto& desktop) { return desktop.isPrimary == 1; }),
            1);
  for (const IScreenCapture::DesktopInfo& desktop : desktops) {
    const auto monitor = reinterpret_cast<HMONITOR>(static_cast<std::intptr_t>(desktop.id));
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    ASSERT_TRUE(GetMonitorInfoW(monitor, &info)) << desktop.id;
    EXPECT_EQ(desktop.handle, desktop.id);
    EXPECT_EQ(desktop.isPrimary, (info.dwFlags & MONITORINFOF_PRIMARY) != 0 ? 1 : 0);
    EXPECT_EQ(desktop.x, info.rcMonitor.left);
    EXPECT_EQ(desktop.y, info.rcMonitor.top);
    EXPECT_EQ(desktop.width, info.rcMonitor.right - info.rcMonitor.left);
    EXPECT_EQ(desktop.height, info.rcMonitor.bottom - info.rcMonitor.top);
  }

  struct Answer {
    const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::size_t count = 0;
    ~Answer() { CloseHandle(done); }
  } answer;
  capture.GetDesktopListAsync(
      [](const IScreenCapture::DesktopInfo*, const int& count, void* user) {
        auto* result = static_cast<Answer*>(user);
        result->count = static_cast<std::size_t>(count);
        SetEvent(result->done);
      },
      &answer);
  ASSERT_EQ(WaitForSingleObject(answer.done, 30000), WAIT_OBJECT_0);
  EXPECT_EQ(answer.count, desktops.size());
}

TEST_F(HostShareTest, TellsTheShareInOrderAndNothingAfterItsEndBesideAnotherOne) {
  ScreenCapture other;
  other.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  ShareRecorder otherHost;
  {
    ScreenCapture shortLived;
    ASSERT_TRUE(shortLived.ShareDesktop(nullptr, primary.id, &host, error)) << log.Dump();
    ASSERT_TRUE(host.WaitFor("frame", 2)) << log.Dump();
  }
  const std::size_t heardOfIt = host.Events(true).size();
  ASSERT_TRUE(other.ShareDesktop(nullptr, primary.id, &otherHost, error)) << log.Dump();
  ASSERT_TRUE(otherHost.WaitFor("frame", 3)) << log.Dump();
  EXPECT_EQ(host.Events(true).size(), heardOfIt) << "its object is gone";

  host.Forget();
  ASSERT_TRUE(share(&host)) << log.Dump();
  ASSERT_TRUE(host.WaitFor("frame", 5)) << log.Dump();
  IScreenCapture::CaptureRect rect = {};
  capture.GetCaptureRect(rect);
  EXPECT_EQ(rect.width, primary.width);
  capture.ShareStop();
  const std::vector<std::string> all = host.Events(true);
  const std::vector<std::string> events = host.Events();
  ASSERT_GE(events.size(), 3u);
  EXPECT_EQ(events[0].rfind("engine ", 0), 0u) << events[0];
  EXPECT_EQ(events[1], "start");
  EXPECT_EQ(host.Count("firstFrame"), 1);
  EXPECT_EQ(host.Count("stop"), 0);
  EXPECT_LT(std::ranges::find(all, "firstFrame"), std::ranges::find(all, "frame"));
  EXPECT_TRUE(std::ranges::is_sorted(host.Timestamps()));
  const Frame frame = host.LastFrame();
  EXPECT_EQ(frame.format, IScreenCapture::ScreenFrameFormatARGB);
  EXPECT_EQ(std::tuple(frame.width, frame.height), std::tuple(primary.width, primary.height));
  EXPECT_EQ(std::tuple(frame.rawWidth, frame.rawHeight), std::tuple(primary.width, primary.height));

  // The other share runs its ticks; this host hears nothing.
  ASSERT_TRUE(otherHost.WaitFor("frame", otherHost.FrameCount() + 5)) << log.Dump();
  EXPECT_EQ(otherHost.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
  EXPECT_EQ(host.Events(true), all);
  other.ShareStop();
}

TEST_F(HostShareTest, FramesShowAWindowInBothFormats) {
  // A magnifier would add a little to a lesser red.
  ColorWindow window({100, 80, 420, 300}, 0xFF2878);
  std::atomic<int> shown{0};
  host.onEvent = [&](const std::string& event) {
    if (event != "frame") {
      return;
    }
    const Frame frame = host.LastFrame();
    if (frame.format == IScreenCapture::ScreenFrameFormatARGB && frame.HasPixels() &&
        frame.At(110, 90) == 0xFF2878 && frame.At(410, 290) == 0xFF2878) {
      shown = 1;
    }
  };
  ASSERT_TRUE(share(&host)) << log.Dump();
  // The window is drawn when the system gets to it.
  for (int frames = 1; shown == 0 && frames < 300; ++frames) {
    ASSERT_TRUE(host.WaitFor("frame", frames)) << log.Dump();
  }
  ASSERT_EQ(shown, 1) << std::hex << host.LastFrame().At(110, 90);

  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  // As long as nothing changes, the last frame is repeated as it was.
  SetWindowPos(window.Handle(), nullptr, 98, 80, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  const int before = host.FrameCount();
  ASSERT_TRUE(host.WaitFor("frame", before + 3)) << log.Dump();
  const Frame frame = host.LastFrame();
  capture.ShareStop();
  ASSERT_EQ(frame.format, IScreenCapture::ScreenFrameFormatI420);
  ASSERT_EQ(frame.width % 2, 0);
  ASSERT_EQ(frame.height % 2, 0);
  // 255, 40, 120 in limited-range BT.601, give or take rounding.
  const std::size_t luma = 90 * static_cast<std::size_t>(frame.width) + 110;
  const std::size_t chroma = 45 * static_cast<std::size_t>(frame.width / 2) + 55;
  EXPECT_NEAR(frame.y.at(luma), 113, 2);
  EXPECT_NEAR(frame.u.at(chroma), 131, 2);
  EXPECT_NEAR(frame.v.at(chroma), 217, 2);
}

}  // namespace
}  // namespace qx::test
