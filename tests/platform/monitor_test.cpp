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
  EXPECT_EQ(reinterpret_cast<std::intptr_t>(left),
            static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(left)));

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

TEST_F(MonitorTest, StaleHandlesAndOddSizesAreRefused) {
  const HMONITOR gone = AddMonitor({200, 0, 300, 100});
  RemoveMonitor(gone);
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  SetLastError(0);
  EXPECT_FALSE(GetMonitorInfoW(gone, &info));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_MONITOR_HANDLE));
  SetLastError(0);
  EXPECT_FALSE(GetMonitorInfoW(reinterpret_cast<HMONITOR>(GetDesktopWindow()), &info));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_MONITOR_HANDLE));
  info.cbSize = 12;
  EXPECT_FALSE(GetMonitorInfoW(PrimaryMonitor(), &info));
}

TEST_F(MonitorTest, ARenewedMonitorIsTheSameDeviceUnderAnotherHandle) {
  const HMONITOR before = AddMonitor({200, 0, 300, 100}, {.device = L"\\\\.\\DISPLAY7"});
  const HMONITOR after = RenewMonitorHandle(before);
  EXPECT_NE(before, after);
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  EXPECT_FALSE(GetMonitorInfoW(before, &info));
  EXPECT_STREQ(infoOf(after).szDevice, L"\\\\.\\DISPLAY7");
  EXPECT_EQ(enumerated(), (std::vector<HMONITOR>{PrimaryMonitor(), after}));
}

TEST_F(MonitorTest, NothingIsOutsideOfThem) {
  AddMonitor({-50, -30, 0, 70});
  open({.rect = {-100, -100, 300, 300}, .color = kRed});
  EXPECT_EQ(screenAt(-50, -30), kRedPixel);
  EXPECT_EQ(screenAt(-51, -30), 0u);
  EXPECT_EQ(screenAt(-50, 70), 0u) << "below the left monitor";
  EXPECT_EQ(screenAt(0, 99), kRedPixel);
  EXPECT_EQ(screenAt(199, 0), kRedPixel);
  EXPECT_EQ(screenAt(200, 0), 0u);

  // One copy over both monitors and the gaps around them.
  TestBitmap picture(100, 120);
  picture.Fill({0, 0, 100, 120}, kGreen);
  ASSERT_TRUE(picture.CopyScreen(-60, -40));
  EXPECT_EQ(picture.At(9, 10), 0u);
  EXPECT_EQ(picture.At(10, 9), 0u);
  EXPECT_EQ(picture.At(10, 10), kRedPixel);
  EXPECT_EQ(picture.At(59, 10), kRedPixel);
  EXPECT_EQ(picture.At(60, 10), 0u) << "above the right monitor";
  EXPECT_EQ(picture.At(60, 40), kRedPixel);
  EXPECT_EQ(picture.At(59, 110), 0u);
}

}  // namespace
}  // namespace qx::test
