// Where a window's icon comes from, and what becomes of it.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Icons.h"
#include "platform/control/Ledger.h"
#include "platform/control/Machine.h"
#include "tests/support/PngReader.h"
#include "tests/support/ShareRecorder.h"
#include "win/source/PngImage.h"
#include "win/source/WindowIcon.h"

namespace qx {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;
using test::PngPicture;
using Pixels = std::vector<std::uint32_t>;

constexpr std::uint32_t kMasked = 0xFFFFFF;

class WindowIcon : public testing::Test {
 protected:
  void SetUp() override {
    OwnClock();
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    ASSERT_EQ(Gdiplus::GdiplusStartup(&token, &input, nullptr), Gdiplus::Ok);
    AddProcess(7000, L"C:\\Apps\\frame.exe");
    AddProcess(8000, L"C:\\Apps\\content.exe");
  }

  static HICON OnePixel(std::uint32_t pixel) { return MakeIcon({1, 1, {pixel}}); }

  // The picture of the window's icon; without a size when there is none, and then the
  // bytes must be as they were.
  static PngPicture IconOf(HWND window) {
    std::vector<std::uint8_t> png = {1, 2, 3};
    if (!WindowsUtil::GetWindowIcon(window, png)) {
      EXPECT_EQ(png, (std::vector<std::uint8_t>{1, 2, 3}));
      return {};
    }
    const PngPicture picture = test::ReadPng(png);
    EXPECT_GT(picture.width, 0) << "not a complete file";
    return picture;
  }
  static Pixels PixelsOf(HWND window) { return IconOf(window).pixels; }

  // A frame window without an icon, with children of other processes; the first is the
  // topmost.
  static HWND OpenFrame(const std::vector<DWORD>& processes) {
    const HWND frame = OpenWindow({.title = L"App", .processId = 7000});
    for (auto process = processes.rbegin(); process != processes.rend(); ++process) {
      OpenWindow({.parent = frame, .processId = *process});
    }
    return frame;
  }

  // What was said since the last time, but for the trace.
  static std::vector<std::string> Said(test::LogRecorder& log) {
    std::vector<std::string> said;
    for (const auto& line : log.Lines()) {
      const std::string text = line.text.substr(line.text.find(": ") + 2);
      if (text.find("WindowsUtil::") == std::string::npos) {
        EXPECT_EQ(line.level, LogInfo) << text;
        said.push_back(text);
      }
    }
    log.Forget();
    return said;
  }

  static constexpr int LogInfo = 3;
  const HWND window = OpenWindow({.title = L"Notes", .processId = 7000});
};

TEST_F(WindowIcon, TheFirstSourceThatHasOneDecides) {
  const std::vector<std::string> steps = {"try to get window; icon by WM_GETICON ICON_BIG",
                                          "try to get window icon by WM_GETICON ICON_SMALL",
                                          "try to get window icon by WM_GETICON ICON_SMALL2",
                                          "try to get window icon by GCL_HICON",
                                          "try to get window icon by GetChildProcessWindowIcon"};
  // The lines of so many steps and of success.
  const auto upTo = [&](std::ptrdiff_t count) {
    std::vector<std::string> lines(steps.begin(), steps.begin() + count);
    lines.emplace_back("Get Icon Success");
    return lines;
  };
  test::LogRecorder log;
  EXPECT_EQ(IconOf(window).width, 32) << "the system's own";
  EXPECT_EQ(log.Count("entry WindowsUtil::GetWindowIcon"), 1);
  EXPECT_EQ(Said(log), upTo(5));

  OpenWindow({.parent = window, .processId = 8000});
  const std::function<void()> sources[] = {
      [&] { SetWindowIcon(window, IconKind::kBig, OnePixel(0xFF000001)); },
      [&] { SetWindowIcon(window, IconKind::kSmall, OnePixel(0xFF000002)); },
      [&] { SetWindowIcon(window, IconKind::kSmall2, OnePixel(0xFF000003)); },
      [&] { SetClassIcon(window, OnePixel(0xFF000004)); },
      [&] { SetProgramIcon(L"C:\\Apps\\content.exe", OnePixel(0xFF000005)); }};
  for (std::uint32_t source = 5; source >= 1; --source) {
    sources[source - 1]();
    EXPECT_EQ(PixelsOf(window), Pixels{0xFF000000 + source});
    EXPECT_EQ(Said(log), upTo(source));
  }

  FailNth("LoadIconW", 1);
  Close(window);
  EXPECT_EQ(IconOf(window).width, 0);
  EXPECT_EQ(Said(log), steps) << "no success";
  EXPECT_EQ(IconOf(window).width, 32) << "a closed window still has the system's";
}

TEST_F(WindowIcon, AWindowThatHangsCosts400MillisecondsUntilTheSystemKnows) {
  SetClassIcon(window, OnePixel(0xFF000004));
  const auto cost = [&] {
    const auto start = Now();
    EXPECT_EQ(PixelsOf(window), Pixels{0xFF000004});
    return Now() - start;
  };
  AnswerAfter(window, 1h);
  EXPECT_EQ(cost(), 400ms);
  HangAll();
  EXPECT_EQ(cost(), 0ms);
}

TEST_F(WindowIcon, AProgramOnADeadDriveCosts200Milliseconds) {
  SetProgramIcon(L"C:\\Apps\\content.exe", OnePixel(0xFF000005));
  const HWND frame = OpenFrame({8000});
  const LedgerSnapshot before = Snapshot();
  BlockShellIcons();
  const auto start = Now();
  EXPECT_EQ(IconOf(frame).width, 32) << "the system's own";
  EXPECT_EQ(Now() - start, 200ms);
  EXPECT_NE(Difference(before), "") << "the search is still under way";
  ReleaseShellIcons();
  Settle();
  EXPECT_EQ(Difference(before), "") << "the icon that came too late is destroyed";
  BlockShellIcons(199ms);
  EXPECT_EQ(PixelsOf(frame), Pixels{0xFF000005});
  ReleaseShellIcons();
}

TEST_F(WindowIcon, AlphaIsTheIconsOwnOrThatOfTheMask) {
  const auto shown = [&](const IconPicture& picture) {
    SetWindowIcon(window, IconKind::kBig, MakeIcon(picture));
    return IconOf(window);
  };
  ResetCounts();
  const Pixels own = {0x80102030, 0x00405060, 0xFF708090, 0x01A0B0C0, 0xFFD0E0F0, 0x00000000};
  PngPicture picture = shown({3, 2, own, {kMasked, 0, kMasked, 0, kMasked, 0}});
  EXPECT_EQ(picture.width, 3);
  EXPECT_EQ(picture.height, 2);
  EXPECT_EQ(picture.pixels, own);
  EXPECT_EQ(Count("GetDIBits"), 1u) << "nobody needs the mask";

  EXPECT_EQ(shown({2, 1, {0x00102030, 0x01405060}}).pixels, (Pixels{0x00102030, 0x01405060}))
      << "the faintest alpha is alpha";

  picture = shown(
      {2, 3, {0x102030, 0x405060, 0x708090, 0, 0xD0E0F0, 0}, {0, kMasked, 0, 0, kMasked, kMasked}});
  EXPECT_EQ(picture.pixels,
            (Pixels{0xFF102030, 0x00405060, 0xFF708090, 0xFF000000, 0x00D0E0F0, 0}));
  FailNth("GetDIBits", 2);
  EXPECT_EQ(shown({1, 1, {0x102030}, {0}}).width, 0) << "a mask that can't be read";
}

TEST_F(WindowIcon, SomeIconsHaveNoPicture) {
  SetWindowIcon(window, IconKind::kBig, MakeIcon({8, 8}));
  EXPECT_EQ(IconOf(window).width, 0) << "black and white";
  SetWindowIcon(window, IconKind::kBig, reinterpret_cast<HICON>(window));
  EXPECT_EQ(IconOf(window).width, 0) << "no icon at all";

  // Its owner is another process, which can say any size.
  SetWindowIcon(window, IconKind::kBig, MakeIcon({2048, 1, Pixels(2048, 0xFF010203)}));
  EXPECT_EQ(IconOf(window).width, 2048);
  for (const auto& [width, height] : {std::pair{2049, 1}, {1, 2049}}) {
    SetWindowIcon(window, IconKind::kBig, MakeIcon({width, height, Pixels(2049, 0xFF010203)}));
    ResetCounts();
    EXPECT_EQ(IconOf(window).width, 0);
    EXPECT_EQ(Count("GetDIBits"), 0u);
  }
}

TEST_F(WindowIcon, TheFirstChildWhoseProgramHasAnIconDecides) {
  constexpr DWORD kNamelessProcess = 8001, kDenied = 8002, kUnreadable = 8003, kGone = 8004;
  AddProcess(kNamelessProcess, L"");
  AddProcess(kDenied, L"C:\\Apps\\denied.exe", false);
  AddProcess(kUnreadable, L"C:\\Apps\\unreadable.exe");
  AddProcess(8005, L"C:\\Apps\\last.exe");
  SetProgramIcon(L"C:\\Apps\\content.exe", OnePixel(0xFF000005));
  SetProgramIcon(L"C:\\Apps\\last.exe", OnePixel(0xFF000006));
  const HWND frame =
      OpenFrame({0, kGone, kDenied, kUnreadable, kUnreadable, kNamelessProcess, 8000, 8005});
  FailNth("QueryFullProcessImageNameW", 1);
  FailNth("SHGetFileInfoW", 1);
  ResetCounts();
  test::LogRecorder log;
  EXPECT_EQ(PixelsOf(frame), Pixels{0xFF000005});
  const std::vector<std::string> said = Said(log);
  EXPECT_EQ(std::vector<std::string>(said.begin() + 5, said.end()),
            (std::vector<std::string>{
                "GetWindowThreadProcessId error:", "PROCESS_QUERY_INFORMATION error:",
                "PROCESS_QUERY_INFORMATION error:", "QueryFullProcessImageNameW error:",
                "SHGetFileInfo error:", "Get Icon Success"}));
  EXPECT_EQ(Count("SHGetFileInfoW"), 2u) << "neither a file without a name nor one too many";

  EXPECT_EQ(IconOf(OpenFrame({kDenied})).width, 32) << "the system's, large";
  EXPECT_EQ(IconOf(OpenFrame({kUnreadable})).width, 16) << "the shell's for programs, small";
  EXPECT_FALSE(WindowsUtil::GetChildProcessWindowIcon(window)) << "no children";
  EXPECT_FALSE(WindowsUtil::GetChildProcessWindowIcon(nullptr)) << "nobody's children";
}

}  // namespace
}  // namespace qx
