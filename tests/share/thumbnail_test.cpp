// What a host is shown of monitors and windows to choose from, pixel for pixel, on every
// system.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "data_url.h"
#include "platform/control/Graphics.h"
#include "platform/control/Thumbnails.h"
#include "tests/share/ListAnswers.h"
#include "tests/share/MagShareTest.h"
#include "tests/support/PngReader.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr std::uint32_t kOpaque = 0xFF000000;
constexpr std::uint32_t kOrange = 0xC8280A;
constexpr std::uint32_t kMark = 0x0A141E;
constexpr std::uint32_t kEdge = 0x00FA00;

COLORREF Color(std::uint32_t rgb) { return RGB(rgb >> 16 & 255, rgb >> 8 & 255, rgb & 255); }

PngPicture Decode(const char* url) { return ReadPng(DecodePngDataUrl(url ? url : "")); }

// How far two pixels are from each other in the channel where they differ most.
int Distance(std::uint32_t a, std::uint32_t b) {
  int most = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    most = std::max(most, std::abs(int(a >> shift & 255) - int(b >> shift & 255)));
  }
  return most;
}

// Every pixel of a picture of this size is the last of the opaque `patches` over it, and
// transparent beside them.
testing::AssertionResult Is(const PngPicture& picture, SIZE size, const std::vector<Patch>& patches,
                            int tolerance = 0) {
  if (picture.width != size.cx || picture.height != size.cy) {
    return testing::AssertionFailure() << picture.width << "x" << picture.height;
  }
  for (int y = 0; y < size.cy; ++y) {
    for (int x = 0; x < size.cx; ++x) {
      std::uint32_t expected = 0;
      for (const Patch& patch : patches) {
        const RECT rect = {patch.left, patch.top, patch.right, patch.bottom};
        expected = PtInRect(&rect, {x, y}) ? kOpaque | patch.rgb : expected;
      }
      const std::uint32_t pixel = picture.pixels[static_cast<std::size_t>(y * size.cx + x)];
      if (expected == 0 ? pixel >> 24 != 0 : Distance(pixel, expected) > tolerance) {
        return testing::AssertionFailure()
               << std::hex << pixel << ", not " << expected << std::dec << ", at " << x << "," << y;
      }
    }
  }
  return testing::AssertionSuccess();
}

class ThumbnailTest : public MagShareTest {
 protected:
  ThumbnailTest() { SetMonitorRect(monitor(), {0, 0, 320, 180}); }

  PngPicture ofWindow(HWND window, SIZE box) {
    return Decode(capture.GetWindowThumbnail(idOf(window), box.cx, box.cy));
  }
  PngPicture ofMonitor(SIZE box) {
    return Decode(capture.GetDesktopThumbnail(idOf(monitor()), box.cx, box.cy));
  }
  ThumbnailList ofWindows(SIZE box) {
    ThumbnailList answer;
    capture.GetWindowThumbnailAll(box.cx, box.cy, ThumbnailList::Take, &answer);
    EXPECT_EQ(answer.calls, 1);
    return answer;
  }

  // Plain windows, so that they are as on the screen; two columns at the sides are frame.
  static HWND open(int width, int height, const std::wstring& title = L"Window") {
    const HWND window = OpenWindow(
        {.title = title, .rect = {40, 30, 40 + width, 30 + height}, .color = Color(kOrange)});
    Fill(window, {0, 0, 2, height}, Color(kEdge));
    Fill(window, {width - 2, 0, width, height}, Color(kEdge));
    Fill(window, {2, 0, 12, 10}, Color(kMark));
    return window;
  }
  // Which part of a window's picture its thumbnail is made from.
  RECT partOf(HWND window) {
    RECT part = {};
    AtNth("GdipCreateBitmapFromScan0", 1, [&] {
      const std::vector<ThumbnailState> shown = Thumbnails();
      ASSERT_EQ(shown.size(), 1u);
      EXPECT_EQ(shown[0].source, window);
      part = shown[0].from.value_or(RECT{});
    });
    EXPECT_EQ(ofWindow(window, {8, 8}).width, 8) << log.Dump();
    return part;
  }

  static void useMagOnWindows7() {
    SetVersion(kWindows7);
    SetD3DResult(E_OUTOFMEMORY);
  }
  static std::size_t hosts() { return LibraryWindows(L"ThumbnailWindow").size(); }
};

TEST_F(ThumbnailTest, AMonitorKeepsItsShapeBetweenTransparentBars) {
  OpenWindow({.title = L"Window", .rect = {20, 10, 120, 90}, .color = Color(kOrange)});
  list();
  const Patch window = {10, 5, 60, 45, kOrange};
  const auto below = [&](int pad) {
    return std::vector<Patch>{{0, pad, 160, pad + 90, kBackground},
                              {10, pad + 5, 60, pad + 45, kOrange}};
  };
  EXPECT_TRUE(Is(ofMonitor({160, 90}), {160, 90}, {{0, 0, 160, 90, kBackground}, window}));
  EXPECT_TRUE(Is(ofMonitor({160, 160}), {160, 160}, below(35)));
  EXPECT_TRUE(Is(ofMonitor({160, 161}), {160, 161}, below(35))) << "the odd row is below";
  EXPECT_TRUE(Is(ofMonitor({203, 90}), {203, 90},
                 {{21, 0, 181, 90, kBackground}, {31, 5, 81, 45, kOrange}}));
  EXPECT_EQ(std::string(capture.GetDesktopThumbnail(idOf(monitor()), 8, 8)).substr(0, 23),
            "data:image/png; base64,");
}

enum class Way { kPrint, kHost, kMag };

struct System {
  const char* name;
  vwin::Version version;
  bool composition;
  Way way;
  std::function<void()> arrange = [] {};
};

class WindowThumbnailTest : public ThumbnailTest, public testing::WithParamInterface<System> {
 protected:
  WindowThumbnailTest() {
    SetVersion(GetParam().version);
    SetComposition(GetParam().composition);
    GetParam().arrange();
  }
  static bool isWindows7() {
    return GetParam().version.major == 6 && GetParam().version.minor == 1;
  }
  static std::uint32_t redder() { return GetParam().way == Way::kMag ? kRedder : 0; }
};

TEST_P(WindowThumbnailTest, ShowsTheWindowAloneAndLeavesItAsItIs) {
  const Way way = GetParam().way;
  const HWND window = open(104, 80);
  const HWND user = OpenWindow({.title = L"Cover", .rect = {0, 0, 320, 180}});
  SetForeground(user);
  SetCursorPosition(50, 40);
  list();
  const bool cropped = way != Way::kPrint && !isWindows7();
  const SIZE box = {cropped ? 50 : 52, 40};
  const int left = cropped ? 0 : 1;
  const std::uint32_t red = redder();
  const std::vector<Patch> expected = {{0, 0, box.cx, 40, kEdge + red},
                                       {left, 0, left + 50, 40, kOrange + red},
                                       {left, 0, left + 5, 5, kMark + red}};
  const bool usesHost = way != Way::kPrint;
  std::vector<WindowState> seen;
  AtNth("DwmRegisterThumbnail", 1, [&] { seen = LibraryWindows(L"ThumbnailWindow"); });
  EXPECT_TRUE(Is(ofWindow(window, box), box, expected)) << log.Dump();
  ASSERT_EQ(seen.size(), usesHost ? 1u : 0u);
  if (usesHost) {
    const RECT beside = {-box.cx, -box.cy, 0, 0};
    EXPECT_TRUE(EqualRect(&seen[0].rect, &beside));
    EXPECT_EQ(seen[0].exStyle, 0x8000080u | 0x80020u | WS_EX_TOPMOST);
    EXPECT_TRUE(seen[0].visible);
    EXPECT_EQ(seen[0].title, L"ThumbnailWindow");
    Minimise(window);
    EXPECT_EQ(ofWindow(window, box).width, box.cx);
    EXPECT_TRUE(IsIconic(window));
  }
  EXPECT_EQ(GetForegroundWindow(), user);
  EXPECT_EQ(Count("SetFocus"), 0u);
  EXPECT_EQ(hosts() + magnifierWindows(), 0u);
}

TEST_P(WindowThumbnailTest, ListsFitInWithMagAndAreStretchedElse) {
  const HWND window = OpenWindow(
      {.title = L"4:3", .rect = {40, 30, isWindows7() ? 140 : 144, 105}, .color = Color(kOrange)});
  const int half = isWindows7() ? 50 : 52;
  Fill(window, {half, 0, 2 * half, 75}, Color(kMark));
  open(64, 64, L"Another");
  list();
  ResetCounts();
  const bool fits = GetParam().way == Way::kMag;
  const int bar = fits ? 20 : 0;
  const std::vector<Patch> expected = {{bar, 0, 80, 90, kOrange + redder()},
                                       {80, 0, 160 - bar, 90, kMark + redder()}};
  // Scaling rounds.
  EXPECT_TRUE(Is(Decode(ofWindows({160, 90}).texts[idOf(window)].c_str()), {160, 90}, expected,
                 fits ? 2 : 0))
      << log.Dump();
  EXPECT_EQ(Count("DwmRegisterThumbnail"), GetParam().way == Way::kPrint ? 0u : 2u);
  EXPECT_EQ(log.Count(fits ? "entry WindowsUtil::GetWindowThumbnailListByMag"
                           : "entry WindowsUtil::GetWindowThumbnailListByGDI"),
            1);
}

INSTANTIATE_TEST_SUITE_P(Systems, WindowThumbnailTest,
                         testing::Values(System{"Windows7Classic", kWindows7, false, Way::kPrint},
                                         System{"Windows7", kWindows7, true, Way::kPrint},
                                         System{"Windows7Mag", kWindows7, true, Way::kMag,
                                                [] { SetD3DResult(E_OUTOFMEMORY); }},
                                         System{"Windows8", kWindows8, true, Way::kMag},
                                         System{"Windows8WithoutMag", kWindows8, true, Way::kPrint,
                                                [] { ScreenCapture().SetCanUseMagCapture(false); }},
                                         System{"Windows8Black", kWindows8, true, Way::kPrint,
                                                [] { SetBlackMagnifier(true); }},
                                         System{"Windows81", kWindows81, true, Way::kHost},
                                         System{"Windows10", kWindows10, true, Way::kHost}),
                         [](const auto& test) { return test.param.name; });

TEST_F(ThumbnailTest, TheSystemsEdgesAreLeftOut) {
  const char* const kElse = "ThumbnailWindow::SetTarget else 0x";
  const char* const kIconic = "ThumbnailWindow::SetTarget IsIconic 0x";
  constexpr RECT kThree = {7, 0, 7, 7};
  constexpr RECT kFlat = {0, 5, 0, 5};
  const struct {
    RECT edges;
    void (*arrange)(HWND);
    std::optional<SIZE> source;
    RECT part;
    const char* said;
  } rows[] = {{kThree, Maximise, {}, {8, 8, 312, 172}, "ThumbnailWindow::SetTarget IsZoomed 0x"},
              {kThree, Minimise, {}, {9, 0, 191, 93}, kIconic},
              {{7, 0, 7, 0}, Minimise, {}, {9, 0, 191, 93}, kIconic},
              {kFlat, Minimise, {}, {2, 5, 193, 95}, kIconic},
              {kThree, Minimise, SIZE{120, 90}, {9, 7, 111, 83}, kIconic},
              {kFlat, Minimise, SIZE{120, 90}, {7, 5, 113, 85}, kIconic},
              {kThree, Show, {}, {9, 0, 205, 100}, kElse}};
  HWND window = nullptr;
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    window = OpenWindow({.title = L"Window",
                         .rect = {40, 30, 240, 130},
                         .style = WS_POPUP | WS_THICKFRAME,
                         .invisibleFrame = row.edges});
    row.arrange(window);
    if (row.source) {
      SetThumbnailSourceSize(window, *row.source);
    }
    list();
    log.Forget();
    const RECT part = partOf(window);
    EXPECT_TRUE(EqualRect(&part, &row.part))
        << part.left << "," << part.top << " " << part.right << "," << part.bottom;
    EXPECT_EQ(log.Count(row.said), 1);
  }
  useMagOnWindows7();
  log.Forget();
  EXPECT_EQ(partOf(window).right, 200) << "all of it";
  EXPECT_EQ(log.Count("ThumbnailWindow::SetTarget"), 0);
}

// Where nobody sees it: at the top left corner of the leftmost monitor, also when the host
// never asked for monitors.
TEST_F(ThumbnailTest, TheHostWindowLiesBesideTheMonitors) {
  const HWND window = open(104, 80);
  const auto place = [&] {
    POINT corner = {};
    AtNth("DwmRegisterThumbnail", 1, [&] {
      const RECT rect = LibraryWindows(L"ThumbnailWindow").at(0).rect;
      corner = {rect.right, rect.bottom};
    });
    ofWindow(window, {8, 8});
    return std::pair(int{corner.x}, int{corner.y});
  };
  const HMONITOR right = AddMonitor({320, -300, 640, 0});
  capture.GetWindowList([](const IScreenCapture::WindowInfo*, const int&, void*) {}, nullptr);
  EXPECT_EQ(place(), std::pair(0, 0)) << "never right of 0";
  SetMonitorRect(right, {-320, 300, 0, 480});
  EXPECT_EQ(place(), std::pair(-320, 300));
  AddMonitor({-320, -200, 0, 0});
  list();
  EXPECT_EQ(place(), std::pair(-320, -200));
}

TEST_F(ThumbnailTest, IdsAreThoseOfTheLastLists) {
  const HWND window = open(104, 80);
  EXPECT_EQ(capture.GetWindowThumbnail(idOf(window), 8, 8), nullptr) << "before any list";
  EXPECT_EQ(capture.GetDesktopThumbnail(idOf(monitor()), 8, 8), nullptr);
  EXPECT_TRUE(ofWindows({8, 8}).isNull);
  ThumbnailList desktops;
  capture.GetDesktopThumbnailAll(8, 8, ThumbnailList::Take, &desktops);
  EXPECT_TRUE(desktops.isNull);

  const HMONITOR second = AddMonitor({320, 0, 640, 180});
  const HMONITOR gone = AddMonitor({640, 0, 960, 180});
  const HWND closing = open(64, 64, L"Closing");
  list();
  const char* const shown = capture.GetWindowThumbnail(idOf(window), 8, 8);
  const std::string text = shown;
  const std::string screen = capture.GetDesktopThumbnail(idOf(monitor()), 8, 8);
  RemoveMonitor(gone);
  Close(closing);
  EXPECT_EQ(capture.GetWindowThumbnail(idOf(closing), 8, 8), nullptr);
  EXPECT_EQ(capture.GetDesktopThumbnail(idOf(gone), 8, 8), nullptr);
  EXPECT_EQ(shown, text) << "a failure leaves the last text";

  ThumbnailList all;
  capture.GetDesktopThumbnailAll(8, 8, ThumbnailList::Take, &all);
  EXPECT_EQ(all.texts.size(), 3u);
  EXPECT_TRUE(std::ranges::is_sorted(all.order));
  EXPECT_LT(all.order.front(), 0) << "every second monitor's is negative";
  EXPECT_EQ(all.texts[idOf(gone)], "");
  EXPECT_EQ(all.texts[idOf(monitor())], screen);
  EXPECT_NE(all.texts[idOf(second)], "");
  const ThumbnailList windows = ofWindows({8, 8});
  EXPECT_EQ(windows.texts, (std::map<int, std::string>{{idOf(window), text}, {idOf(closing), ""}}));
}

TEST_F(ThumbnailTest, SizesThatCannotBeCostNothing) {
  const HWND window = open(104, 80);
  list();
  ResetCounts();
  for (const SIZE box :
       {SIZE{0, 8}, {8, 0}, {-8, 8}, {8, INT32_MIN}, {10000, 10000000}, {1, 16385}}) {
    EXPECT_EQ(capture.GetWindowThumbnail(idOf(window), box.cx, box.cy), nullptr);
    EXPECT_EQ(capture.GetDesktopThumbnail(idOf(monitor()), box.cx, box.cy), nullptr);
    ThumbnailList desktops;
    capture.GetDesktopThumbnailAll(box.cx, box.cy, ThumbnailList::Take, &desktops);
    EXPECT_EQ(desktops.texts, (std::map<int, std::string>{{idOf(monitor()), ""}}));
    EXPECT_EQ(ofWindows(box).texts, (std::map<int, std::string>{{idOf(window), ""}}));
  }
  capture.GetWindowThumbnailAll(8, 8, nullptr, nullptr);
  capture.GetWindowThumbnailAllAsync(8, 8, nullptr, nullptr);
  capture.GetDesktopThumbnailAll(8, 8, nullptr, nullptr);
  capture.GetDesktopThumbnailAllAsync(8, 8, nullptr, nullptr);
  Settle();
  EXPECT_EQ(Count("GetDC") + Count("CreateWindowExW") + Count("CreateThread"), 0u);
}

TEST_F(ThumbnailTest, AnySizeThatCanBeIsKeptAndWithoutMonitorsThereIsNone) {
  const HWND window = open(104, 80);
  list();
  for (const SIZE box : {SIZE{1, 1}, {10000, 10}, {3, 9000}, {640, 500}}) {
    for (const char* const url : {capture.GetWindowThumbnail(idOf(window), box.cx, box.cy),
                                  capture.GetDesktopThumbnail(idOf(monitor()), box.cx, box.cy)}) {
      ASSERT_NE(url, nullptr) << box.cx << '\n' << log.Dump();
      const auto picture = Decode(url);
      EXPECT_EQ(picture.width, box.cx);
      EXPECT_EQ(picture.height, box.cy);
    }
  }
  const int id = idOf(monitor());
  RemoveMonitor(monitor());
  list();
  ThumbnailList desktops;
  capture.GetDesktopThumbnailAll(8, 8, ThumbnailList::Take, &desktops);
  EXPECT_EQ(desktops.texts, (std::map<int, std::string>{{id, ""}})) << "of the last list with any";
  EXPECT_EQ(capture.GetDesktopThumbnail(id, 8, 8), nullptr);
}

TEST_F(ThumbnailTest, AHundredWindowsHaveOneHostAndAnyMayClose) {
  std::vector<HWND> windows;
  for (int i = 0; i < 100; ++i) {
    windows.push_back(open(64, 64, L"Window " + std::to_wstring(i)));
  }
  list();
  ofWindows({8, 8});  // the graphics are looked at once
  ResetCounts();
  // The list is topmost first.
  AtNth("DwmQueryThumbnailSourceSize", 3, [&] { Close(windows[97]); });
  AtNth("GdipSaveImageToStream", 5, [&] { Close(windows[10]); });
  const ThumbnailList answer = ofWindows({16, 9});
  EXPECT_EQ(answer.texts.size(), 100u);
  EXPECT_TRUE(std::ranges::is_sorted(answer.order));
  EXPECT_EQ(answer.Failed(), 2u);
  EXPECT_EQ(answer.texts.at(idOf(windows[97])) + answer.texts.at(idOf(windows[10])), "");
  EXPECT_EQ(Count("CreateWindowExW"), 1u);
  EXPECT_EQ(hosts(), 0u);

  RemovePngEncoder();
  EXPECT_EQ(ofWindows({16, 9}).Failed(), 100u) << "no PNG encoder";
  EXPECT_EQ(capture.GetWindowThumbnail(idOf(windows[0]), 16, 9), nullptr);
  EXPECT_EQ(capture.GetDesktopThumbnail(idOf(monitor()), 16, 9), nullptr);
}

TEST_F(ThumbnailTest, HungWindowsCostLittleAndTheOthersAreShown) {
  SetVersion(kWindows7);
  SetComposition(false);
  const HWND window = open(104, 80);
  const HWND hung = open(64, 64, L"Hung");
  list();
  Hang(hung);
  const auto start = Now();
  const ThumbnailList answer = ofWindows({16, 9});
  EXPECT_EQ(Now() - start, 200ms);
  EXPECT_EQ(answer.texts.at(idOf(hung)), "");
  EXPECT_NE(answer.texts.at(idOf(window)), "");
  AnswerAll();
  Settle();
}

TEST_F(ThumbnailTest, AsyncListsOverlapAndOutliveTheirObject) {
  open(104, 80);
  list();
  auto other = std::make_unique<ScreenCapture>();
  ThumbnailList answers[3];
  AtNth("GdipSaveImageToStream", 1, [&] { other.reset(); });
  other->GetWindowThumbnailAllAsync(16, 9, ThumbnailList::Take, &answers[0]);
  capture.GetWindowThumbnailAllAsync(16, 9, ThumbnailList::Take, &answers[1]);
  capture.GetDesktopThumbnailAllAsync(16, 9, ThumbnailList::Take, &answers[2]);
  // Which monitors was settled by the call.
  AddMonitor({320, 0, 640, 180});
  list();
  Advance(1s);  // one may wait for the other
  EXPECT_EQ(other, nullptr);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(answers[i].calls, 1);
    EXPECT_EQ(answers[i].texts.size(), 1u);
    EXPECT_EQ(answers[i].Failed(), 0u) << i << log.Dump();
    EXPECT_NE(answers[i].thread, GetCurrentThreadId());
    EXPECT_NE(answers[i].thread, answers[(i + 1) % 3].thread);
  }
}

TEST_F(ThumbnailTest, AShareOnMagGoesOnBesideAList) {
  SetVersion(kWindows8);
  const HWND window = open(104, 80);
  list();
  withoutDynamicCheck();
  startMag();
  EXPECT_EQ(ofWindows({50, 40}).Failed(), 0u) << log.Dump();
  EXPECT_EQ(ofWindow(window, {50, 40}).width, 50);
  const std::vector<Patch> screen = {
      {40, 30, 144, 110, kEdge}, {42, 30, 142, 110, kOrange}, {42, 30, 52, 40, kMark}};
  EXPECT_TRUE(nextMagFrameShows(screen));
  EXPECT_EQ(host.Engines(), Engines{kMag});
  capture.ShareStop();
}

}  // namespace
}  // namespace qx::test
