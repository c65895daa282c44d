// What a host sees, by the public header only. The same test runs on virtual Windows and,
// with the DLL, under Wine.
#include <gtest/gtest.h>
#include <qx-screen-capture.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/ShareRecorder.h"

namespace qx::test {
namespace {

TEST(HostShareTest, TellsTheShareInOrderAndNothingAfterItsEndBesideAnotherOne) {
  LogRecorder log;
  ShareRecorder host;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  ScreenCapture capture;
  capture.EnablePromptWindow(false);
  capture.EnableCaptureCursor(false);
  capture.SetCaptureFPS(30);
  IScreenCapture::DesktopInfo primary = {};
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* list, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          if (list[i].isPrimary == 1) {
            *static_cast<IScreenCapture::DesktopInfo*>(user) = list[i];
          }
        }
      },
      &primary);

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
  ASSERT_TRUE(capture.ShareDesktop(nullptr, primary.id, &host, error)) << log.Dump();
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

}  // namespace
}  // namespace qx::test
