// A share of a window of another process: it follows the window, and moves over to
// the slide show and back.
#include <dwmapi.h>
#include <gtest/gtest.h>
#include <qx-screen-capture.h>
#include <versionhelpers.h>
#include <windows.h>

#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/host/two_processes/Puppet.h"
#include "tests/platform/TestWindow.h"
#include "tests/support/ShareRecorder.h"
#include "tests/tools/Xwd.h"

namespace qx::test {
namespace {

constexpr int kFramesToCompare = 5;
constexpr int kAttempts = 20;

HWND toWindow(std::int32_t id) { return reinterpret_cast<HWND>(static_cast<std::intptr_t>(id)); }

// From Windows 8 on the window manager says where a window is; Wine's does not.
bool systemTellsRectangle(HWND window) {
  RECT rect = {};
  return !IsWindows8OrGreater() ||
         SUCCEEDED(DwmGetWindowAttribute(window, DWMWA_EXTENDED_FRAME_BOUNDS, &rect, sizeof(rect)));
}

struct Way {
  bool onlyCopying;        // which engines may be used: the one that copies the screen, or all
  const char* slideTitle;  // how the application names the window of the slide show
};

// Wine says that a window of another process has printed itself, and draws nothing.
bool printsNothing(HWND window) {
  constexpr int kSize = 40;
  const TestBitmap bitmap(kSize, kSize);
  EXPECT_TRUE(PrintWindow(window, bitmap.dc(), 0));
  return (bitmap.At(kSize - 1, kSize - 1) & 0xFFFFFF) == 0;
}

constexpr int kLooks = 4000;
constexpr DWORD kLookMillis = 10;

// Wine starts a program of the system below, but can't wait for it.
void startBelow(const std::string& command) {
  std::string line = "Z:\\bin\\sh -c \"" + command + "\"";
  STARTUPINFOA start = {};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                      &process)) {
    throw std::runtime_error("can't start " + command);
  }
}

// Whether the display is an X server's, as it is under Wine.
bool hasXScreen() {
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

// What the X server shows now, without the cursor.
Image xScreenshot() {
  const std::string file = "/tmp/qx-screen-" + std::to_string(GetCurrentProcessId()) + ".xwd";
  const std::string path = "Z:" + file;
  // The server refuses now and then, while windows come and go.
  startBelow("for i in 1 2 3 4 5 6 7 8 9; do xwd -root -silent -out " + file +
             ".part 2>/dev/null && mv " + file + ".part " + file + " && exit; sleep 0.1; done");
  for (int attempt = 0; GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES; ++attempt) {
    if (attempt == kLooks) {
      throw std::runtime_error("xwd wrote no screenshot");
    }
    Sleep(kLookMillis);
  }
  Image image = ReadXwd(path);
  DeleteFileA(path.c_str());
  return image;
}

// Says where the frame differs from the screen, "" when it does not.
std::string differenceFromScreen(const Frame& frame, const Image& screen, const RECT& rect) {
  if (frame.width != rect.right - rect.left || frame.height != rect.bottom - rect.top) {
    return "the frame has " + std::to_string(frame.width) + "x" + std::to_string(frame.height) +
           " pixels";
  }
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const std::size_t row = static_cast<std::size_t>(rect.top + y) * screen.width;
      const std::uint32_t expected = screen.rgb.at(row + static_cast<std::size_t>(rect.left + x));
      if (frame.At(x, y) != expected) {
        return "pixel " + std::to_string(x) + "," + std::to_string(y) + " is " +
               std::to_string(frame.At(x, y)) + ", on the screen " + std::to_string(expected);
      }
    }
  }
  return "";
}

// Leaves out pauses since a covering window could not be marked: on a busy machine its
// program may answer too late.
class PatientRecorder : public ShareRecorder {
  bool m_paused = false;

 public:
  void OnPause(void* context, IScreenCapture::SharePauseReason reason) override {
    if (reason != IScreenCapture::PauseReasonFilterFailed) {
      m_paused = true;
      ShareRecorder::OnPause(context, reason);
    }
  }
  void OnResume(void* context) override {
    if (m_paused) {
      m_paused = false;
      ShareRecorder::OnResume(context);
    }
  }
};

class FollowedWindowTest : public testing::TestWithParam<Way> {
  // Set while no such event is on its way.
  std::string m_cue;
  std::string m_command;
  std::mutex m_framesMutex;
  std::vector<Frame> m_frames;
  bool m_black = false;

 protected:
  FollowedWindowTest() {
    capture.EnablePromptWindow(false);
    capture.EnableCaptureCursor(false);
    capture.SetCaptureFPS(30);
    host.onEvent = [this](const std::string& event) {
      if (event == "frame") {
        const std::lock_guard lock(m_framesMutex);
        m_frames.push_back(host.LastFrame());
      } else if (!m_cue.empty() && event.starts_with(m_cue)) {
        m_cue.clear();
        puppet.Do(m_command);
      }
    };
  }

  // False where the system can't say where a window is; the share fails then, and
  // that's checked.
  bool share(std::int32_t id) {
    if (systemTellsRectangle(toWindow(id))) {
      constexpr IScreenCapture::CaptureEngineType kCopying = IScreenCapture::CaptureEngineGDIBitBlt;
      capture.SetCaptureEngineConfig(&kCopying, GetParam().onlyCopying ? 1 : 0, false);
      // From Windows 8 on windows are rather asked to print themselves.
      const bool prints = !GetParam().onlyCopying && IsWindows8OrGreater();
      engineEvent = prints ? "engine 5" : "engine 4";
      m_black = prints && printsNothing(toWindow(id));
      EXPECT_TRUE(capture.ShareWindow(nullptr, id, &host, error)) << log.Dump();
      return error == IScreenCapture::ShareErrorNone;
    }
    EXPECT_FALSE(capture.ShareWindow(nullptr, id, &host, error));
    EXPECT_EQ(error, IScreenCapture::ShareErrorStartFailed);
    EXPECT_EQ(host.Events(true), std::vector<std::string>{});
    return false;
  }

  // Every frame that comes while the display stands still shows what is on it, or is
  // black where the system prints nothing.
  void expectFramesShowScreen(const RECT& rect) {
    IScreenCapture::CaptureRect captured = {};
    capture.GetCaptureRect(captured);
    EXPECT_EQ(captured.x, rect.left);
    EXPECT_EQ(captured.y, rect.top);
    if (m_black) {
      const Image black = {
          .width = static_cast<std::uint32_t>(rect.right),
          .height = static_cast<std::uint32_t>(rect.bottom),
          .rgb = std::vector<std::uint32_t>(static_cast<std::size_t>(rect.right) * rect.bottom)};
      for (const Frame& frame : nextFrames()) {
        ASSERT_EQ(differenceFromScreen(frame, black, rect), "");
      }
      return;
    }
    if (!hasXScreen()) {
      return;
    }
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const Image before = xScreenshot();
      const std::vector<Frame> frames = nextFrames();
      if (xScreenshot().rgb != before.rgb) {
        continue;
      }
      for (const Frame& frame : frames) {
        ASSERT_EQ(differenceFromScreen(frame, before, rect), "");
      }
      const Frame& last = frames.back();
      EXPECT_NE(last.At(0, 0), last.At(last.width - 1, last.height - 1));
      return;
    }
    FAIL() << "the display never stood still";
  }

  // Frames whose capture began after the call.
  std::vector<Frame> nextFrames() {
    const int first = host.FrameCount();
    {
      const std::lock_guard lock(m_framesMutex);
      m_frames.clear();
    }
    EXPECT_TRUE(host.WaitFor("frame", first + kFramesToCompare + 1)) << log.Dump();
    const std::lock_guard lock(m_framesMutex);
    // The first one may have been under way.
    return {m_frames.begin() + 1, m_frames.end()};
  }

  // Has the puppet carry out a command in the middle of the tick that tells the
  // next event which begins like this, so that no tick can see it half done.
  void atNext(const std::string& event, const std::string& command) {
    m_command = command;
    m_cue = event;
  }

  std::string engineEvent;
  LogRecorder log;
  Puppet puppet;
  PatientRecorder host;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  ScreenCapture capture;  // goes first, with the thread that calls the listener
};

using Events = std::vector<std::string>;

constexpr const char* kNoRectangle = "the system can't say where a window is";

TEST_P(FollowedWindowTest, PausesWhileTheWindowMovesOrIsMinimised) {
  const std::int32_t window = puppet.Do("open main Plain 100 80 320 240 Report");
  if (!share(window)) {
    GTEST_SKIP() << kNoRectangle;
  }
  ASSERT_TRUE(host.WaitFor("firstFrame", 1)) << log.Dump();
  expectFramesShowScreen({100, 80, 420, 320});
  Events expected = {engineEvent, "start", "firstFrame"};
  EXPECT_EQ(host.Events(), expected);

  // Two moves in a row, the second one also a change of size, are one pause.
  atNext("rect", "move main 300 200 400 300");
  puppet.Do("move main 200 150 320 240");
  ASSERT_TRUE(host.WaitFor("resume", 1)) << log.Dump();
  expectFramesShowScreen({300, 200, 700, 500});
  expected.insert(expected.end(),
                  {"rect 200,150 320x240", "pause 4", "rect 300,200 400x300", "resume"});
  EXPECT_EQ(host.Events(), expected);

  puppet.Do("minimise main");
  ASSERT_TRUE(host.WaitFor("pause 3", 1)) << log.Dump();
  puppet.Do("restore main");
  ASSERT_TRUE(host.WaitFor("resume", 2)) << log.Dump();
  expectFramesShowScreen({300, 200, 700, 500});
  expected.insert(expected.end(), {"pause 3", "resume"});
  EXPECT_EQ(host.Events(), expected);

  capture.ShareStop();
  EXPECT_EQ(host.Events(), expected);
}

TEST_P(FollowedWindowTest, MovesOverToTheSlideShowAndBack) {
  const std::int32_t window =
      puppet.Do("open main PPTFrameClass 100 80 320 240 Quarterly - PowerPoint");
  if (!share(window)) {
    GTEST_SKIP() << kNoRectangle;
  }
  ASSERT_TRUE(host.WaitFor("firstFrame", 1)) << log.Dump();
  // Another document's show is none of ours.
  puppet.Do("open other screenClass 700 400 200 150 Slide Show - Yearly");
  const std::int32_t show =
      puppet.Do(std::string("open show screenClass 40 20 640 480 ") + GetParam().slideTitle);
  ASSERT_TRUE(host.WaitFor("resume", 1)) << log.Dump();
  expectFramesShowScreen({40, 20, 680, 500});
  // While the show covered the main window, the engine may have marked it.
  EXPECT_EQ(GetWindowLongPtrW(toWindow(show), GWL_EXSTYLE) & WS_EX_LAYERED, 0);

  // A window that is closed is hidden first, and the share may or may not see that.
  atNext("pause 3", "close show");
  puppet.Do("hide show");
  ASSERT_TRUE(host.WaitFor("resume", 2)) << log.Dump();
  expectFramesShowScreen({100, 80, 420, 320});

  atNext("pause 3", "close main");
  puppet.Do("hide main");
  ASSERT_TRUE(host.WaitFor("stop", 1)) << log.Dump();
  capture.ShareStop();
  const Events expected = {engineEvent,  "start",
                           "firstFrame", "windowChanged " + std::to_string(show),
                           engineEvent,  "rect 40,20 640x480",
                           "pause 4",    "resume",
                           "pause 3",    "windowChanged " + std::to_string(window),
                           engineEvent,  "rect 100,80 320x240",
                           "pause 4",    "resume",
                           "pause 3",    "stop"};
  EXPECT_EQ(host.Events(), expected) << log.Dump();
}

INSTANTIATE_TEST_SUITE_P(Ways, FollowedWindowTest,
                         testing::Values(Way{false, "PowerPoint Slide Show - Quarterly"},
                                         Way{true, "PowerPoint Slide Show  -  [Quarterly]"}));

}  // namespace
}  // namespace qx::test
