// Thumbnails as a host gets them. Where the system has no picture of a window to give, as
// Wine, there is none; there is always one of a monitor.
#include <gtest/gtest.h>
#include <qx-screen-capture.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "data_url.h"
#include "tests/host/ColorWindow.h"
#include "tests/host/Monitors.h"
#include "tests/support/PngReader.h"

namespace qx::test {
namespace {

TEST(HostThumbnailTest, EachMonitorAndWindowHasAPictureOfTheWantedSizeOrNone) {
  constexpr std::uint32_t kColor = 0xC8280A;
  const ColorWindow window({40, 40, 240, 190}, kColor);
  ScreenCapture capture;
  const Monitors desktops = ListMonitors(capture);
  ASSERT_FALSE(desktops.empty());
  std::vector<int> windows;
  capture.GetWindowList(
      [](const IScreenCapture::WindowInfo* list, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          static_cast<decltype(windows)*>(user)->push_back(list[i].id);
        }
      },
      &windows);
  std::ranges::sort(windows);

  const auto primary = std::ranges::find(desktops, 1, &IScreenCapture::DesktopInfo::isPrimary);
  const char* const url = capture.GetDesktopThumbnail(primary->id, primary->width, primary->height);
  ASSERT_NE(url, nullptr);
  const PngPicture screen = ReadPng(DecodePngDataUrl(url));
  ASSERT_EQ(std::pair(screen.width, screen.height), std::pair(primary->width, primary->height));
  EXPECT_EQ(screen.pixels[static_cast<std::size_t>(115 * screen.width + 140)], 0xFF000000 | kColor);

  // A wide picture in a square box has bars above and below.
  const char* const boxed = capture.GetDesktopThumbnail(primary->id, 320, 320);
  ASSERT_NE(boxed, nullptr);
  const PngPicture square = ReadPng(DecodePngDataUrl(boxed));
  ASSERT_EQ(std::pair(square.width, square.height), std::pair(320, 320));
  const auto pixel = [&](int x, int y) {
    return square.pixels[static_cast<std::size_t>(y * square.width + x)];
  };
  const int scaledHeight = 320 * primary->height / primary->width;
  const int bar = (320 - scaledHeight) / 2;
  for (const int y : {0, bar - 1, bar + scaledHeight + 1, 319}) {
    EXPECT_EQ(pixel(160, y) >> 24, 0u) << y;
  }
  EXPECT_EQ(pixel(160, bar + 2) >> 24, 255u);
  EXPECT_EQ(pixel(140 * 320 / primary->width, bar + 115 * 320 / primary->width),
            0xFF000000 | kColor);

  struct Answer {
    std::vector<int> ids;
    bool fit = true;
  } answer;
  capture.GetWindowThumbnailAll(
      64, 36,
      [](const int* ids, const char** thumbnails, const int& count, void* user) {
        auto& self = *static_cast<Answer*>(user);
        for (int i = 0; i < count; ++i) {
          self.ids.push_back(ids[i]);
          const PngPicture picture = ReadPng(DecodePngDataUrl(thumbnails[i]));
          self.fit =
              self.fit && (*thumbnails[i] == '\0' || (picture.width == 64 && picture.height == 36));
        }
      },
      &answer);
  EXPECT_EQ(answer.ids, windows);
  EXPECT_TRUE(answer.fit);
}

}  // namespace
}  // namespace qx::test
