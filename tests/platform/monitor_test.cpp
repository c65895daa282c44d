// Monitors: their handles, their numbers, and what lies at their edges.
#include <algorithm>

#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class MonitorTest : public DesktopTest {};

MONITORINFOEXW infoOf(HMONITOR monitor) {
  MONITORINFOEXW info{};
  info.cbSize = sizeof(info);
  EXPECT_TRUE(GetMonitorInfoW(monitor, &info));
  return info;
}

std::vector<HMONITOR> enumerated(LPCRECT clip = nullptr) {
  std::vector<HMONITOR> found;
  EnumDisplayMonitors(
      nullptr, clip,
      [](HMONITOR monitor, HDC, LPRECT, LPARAM to) -> BOOL {
        reinterpret_cast<std::vector<HMONITOR>*>(to)->push_back(monitor);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

TEST_F(MonitorTest, AreListedInTheirOrderWithTheirFacts) {
  const HMONITOR first = PrimaryMonitor();
  const HMONITOR left = AddMonitor({-80, -20, 0, 40}, {.workArea = RECT{-80, -20, 0, 30}});
  EXPECT_EQ(enumerated(), (std::vector<HMONITOR>{first, left}));
  EXPECT_GT(reinterpret_cast<std::intptr_t>(first), 0);
  EXPECT_LT(reinterpret_cast<std::intptr_t>(left), 0) << "the second one needs sign extension";

  const MONITORINFOEXW info = infoOf(left);
  EXPECT_EQ(info.rcMonitor.left, -80);
  EXPECT_EQ(info.rcWork.bottom, 30);
  EXPECT_FALSE(info.dwFlags & MONITORINFOF_PRIMARY);
  EXPECT_STREQ(info.szDevice, L"\\\\.\\DISPLAY2");
  EXPECT_TRUE(infoOf(first).dwFlags & MONITORINFOF_PRIMARY);
  EXPECT_EQ(GetSystemMetrics(SM_XVIRTUALSCREEN), -80);
  EXPECT_EQ(GetSystemMetrics(SM_CYVIRTUALSCREEN), 120);
  EXPECT_EQ(GetSystemMetrics(SM_CMONITORS), 2);

  const RECT onTheLeft = {-10, 0, -5, 5};
  EXPECT_EQ(enumerated(&onTheLeft), (std::vector<HMONITOR>{left}));
}

TEST_F(MonitorTest, ARenewedOneIsTheSameDeviceAndStaleHandlesAreRefused) {
  const HMONITOR before = AddMonitor({200, 0, 300, 100}, {.device = L"\\\\.\\DISPLAY7"});
  const HMONITOR after = RenewMonitorHandle(before);
  EXPECT_NE(before, after);
  EXPECT_STREQ(infoOf(after).szDevice, L"\\\\.\\DISPLAY7");
  EXPECT_EQ(enumerated(), (std::vector<HMONITOR>{PrimaryMonitor(), after}));
  RemoveMonitor(after);
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  for (const HMONITOR none : {before, after, reinterpret_cast<HMONITOR>(GetDesktopWindow())}) {
    EXPECT_TRUE(
        FailsWith(ERROR_INVALID_MONITOR_HANDLE, [&] { return GetMonitorInfoW(none, &info); }));
  }
  info.cbSize = 12;
  EXPECT_FALSE(GetMonitorInfoW(PrimaryMonitor(), &info));
}

TEST_F(MonitorTest, NothingIsOutsideOfThem) {
  AddMonitor({-50, -30, 0, 70});
  open({.rect = {-100, -100, 300, 300}, .color = kRed});
  EXPECT_EQ(screenAt(-50, -30), kRedPixel);
  EXPECT_EQ(screenAt(-51, -30), 0u);
  EXPECT_EQ(screenAt(199, 0), kRedPixel);
  EXPECT_EQ(screenAt(200, 0), 0u);

  // One copy over both monitors and the gaps around them.
  TestBitmap picture(100, 120);
  picture.Fill({0, 0, 100, 120}, kGreen);
  ASSERT_TRUE(picture.CopyScreen(-60, -40));
  for (const POINT& gap : {POINT{9, 10}, {10, 9}, {60, 10}, {59, 110}})
    EXPECT_EQ(picture.At(gap.x, gap.y), 0u) << gap.x << ',' << gap.y;
  for (const POINT& red : {POINT{10, 10}, {59, 10}, {60, 40}})
    EXPECT_EQ(picture.At(red.x, red.y), kRedPixel) << red.x << ',' << red.y;
}

}  // namespace
}  // namespace qx::test
