// Who leaves out what: the table of the README, cell by cell.
#include <string>
#include <vector>

#include "platform/control/Magnification.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

enum class Kind { kMonitor, kWindow };

struct Cell {
  const char* name;
  vwin::Version version;
  bool composition;
  Kind kind;
  IScreenCapture::CaptureEngineType engine;
  bool unwantedShows;  // what is excluded from a monitor's share, or covers a window
  bool includedShows;
  bool afterMag = false;  // which works at first
};

class LeavesOut : public ShareTest, public testing::WithParamInterface<Cell> {
 protected:
  LeavesOut() {
    SetVersion(GetParam().version);
    SetComposition(GetParam().composition);
    allowEngines({GetParam().engine, GetParam().afterMag ? kMag : GetParam().engine});
  }
};

TEST_P(LeavesOut, WhatTheTableSays) {
  const Cell& cell = GetParam();
  const HWND shared = OpenWindow({.rect = {20, 20, 220, 120}, .color = RGB(10, 120, 30)});
  const HWND unwanted = OpenWindow({.rect = {40, 40, 80, 80}, .color = RGB(250, 0, 0)});
  const HWND included = OpenWindow({.rect = {120, 40, 160, 80}, .color = RGB(0, 0, 250)});
  capture.Exclude({unwanted, included});
  // Its window shares are for other engines while a window is included.
  if (cell.kind != Kind::kWindow || cell.engine != kWgc) {
    capture.AddIncludeWindow({.window = included});
  }
  int left = 0;  // of the picture, on the screen
  int top = 0;
  if (cell.kind == Kind::kWindow) {
    left = top = 20;
    startWindow(shared);
  } else {
    start();
  }
  // A share raises its window.
  ToTop(unwanted);
  ToTop(included);
  Advance(1s);
  Engines engines = {cell.engine};
  if (cell.afterMag) {
    engines = {kMag, cell.engine};
    SetStretchRectCalls(0);
    Fill(shared, {0, 0, 9, 9}, RGB(10, 120, 31));
    Fill(shared, {0, 0, 9, 9}, RGB(10, 120, 30));
    Advance(3s);
  }
  ASSERT_EQ(host.Engines(), engines) << log.Dump();
  std::vector<Patch> patches = {{20 - left, 20 - top, 220 - left, 120 - top, 0x0A781E}};
  if (cell.unwantedShows) {
    patches.push_back({40 - left, 40 - top, 80 - left, 80 - top, 0xFA0000});
  }
  if (cell.includedShows) {
    patches.push_back({120 - left, 40 - top, 160 - left, 80 - top, 0x0000FA});
  }
  const std::uint32_t redder = cell.engine == kMag ? kRedder : 0;
  for (Patch& patch : patches) {
    patch.rgb += redder;
  }
  EXPECT_TRUE(Shows(host.LastFrame(), kBackground + redder, patches));
}

INSTANTIATE_TEST_SUITE_P(
    Table, LeavesOut,
    testing::Values(
        Cell{"Windows7ClassicMonitorGdi", kWindows7, false, Kind::kMonitor, kBitBlt, false, true},
        Cell{"Windows7MonitorGdi", kWindows7, true, Kind::kMonitor, kBitBlt, true, true},
        Cell{"Windows8MonitorMag", kWindows8, true, Kind::kMonitor, kMag, false, true},
        Cell{"Windows81MonitorMag", kWindows81, true, Kind::kMonitor, kMag, false, true},
        Cell{"Windows81MonitorDxgi", kWindows81, true, Kind::kMonitor, kDxgi, true, true},
        Cell{"Windows10MonitorMag", kWindows10, true, Kind::kMonitor, kMag, false, true},
        Cell{"Windows10MonitorDxgi", kWindows10, true, Kind::kMonitor, kDxgi, true, true},
        Cell{"Windows10MonitorGdi", kWindows10, true, Kind::kMonitor, kBitBlt, true, true},
        Cell{"Windows11MonitorMag", kWindows11, true, Kind::kMonitor, kMag, false, true},
        Cell{"Windows11MonitorWgc", kWindows11, true, Kind::kMonitor, kWgc, true, true},
        Cell{"Windows11WindowWgc", kWindows11, true, Kind::kWindow, kWgc, false, false},
        Cell{"Windows7ClassicWindowGdi", kWindows7, false, Kind::kWindow, kBitBlt, false, true},
        Cell{"Windows7ClassicWindowPrint", kWindows7, false, Kind::kWindow, kPrint, false, false},
        Cell{"Windows7WindowGdi", kWindows7, true, Kind::kWindow, kBitBlt, true, true},
        Cell{"Windows8WindowMag", kWindows8, true, Kind::kWindow, kMag, false, true},
        Cell{"Windows10WindowMag", kWindows10, true, Kind::kWindow, kMag, false, true},
        Cell{"Windows10WindowPrint", kWindows10, true, Kind::kWindow, kPrint, false, false},
        Cell{"Windows10WindowGdi", kWindows10, true, Kind::kWindow, kBitBlt, true, true},
        Cell{"Windows11WindowMag", kWindows11, true, Kind::kWindow, kMag, false, true},
        Cell{"Windows8MonitorGdiAfterMag", kWindows8, true, Kind::kMonitor, kBitBlt, true, true,
             true},
        Cell{"Windows10MonitorDxgiAfterMag", kWindows10, true, Kind::kMonitor, kDxgi, true, true,
             true},
        Cell{"Windows10MonitorGdiAfterMag", kWindows10, true, Kind::kMonitor, kBitBlt, true, true,
             true},
        Cell{"Windows8WindowGdiAfterMag", kWindows8, true, Kind::kWindow, kBitBlt, true, true,
             true},
        Cell{"Windows10WindowPrintAfterMag", kWindows10, true, Kind::kWindow, kPrint, false, false,
             true},
        Cell{"Windows10WindowGdiAfterMag", kWindows10, true, Kind::kWindow, kBitBlt, true, true,
             true}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qx::test
