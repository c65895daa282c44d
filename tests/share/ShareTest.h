// The frame of a share's test: an owned clock, a small machine, a host that
// listens and keeps the log.
#pragma once

#include <gtest/gtest.h>
#include <qx-screen-capture.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Machine.h"
#include "tests/support/PictureMatcher.h"
#include "tests/support/ShareRecorder.h"

namespace qx::test {

using namespace std::chrono_literals;
using Engines = std::vector<int>;
using Events = std::vector<std::string>;

constexpr auto kMag = IScreenCapture::CaptureEngineMag;
constexpr auto kDxgi = IScreenCapture::CaptureEngineDXGI;
constexpr auto kWgc = IScreenCapture::CaptureEngineWGC;
constexpr auto kBitBlt = IScreenCapture::CaptureEngineGDIBitBlt;
constexpr auto kPrint = IScreenCapture::CaptureEngineGDIPrintWindow;

constexpr std::uint32_t kBackground = 0x203040;
// What a magnifier's colour effect adds to every pixel.
constexpr std::uint32_t kRedder = 0x010000;

inline int idOf(const void* handle) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

// An object with neither prompt frame nor cursor, unless a test turns them on.
struct PlainCapture : ScreenCapture {
  PlainCapture() {
    EnablePromptWindow(false);
    EnableCaptureCursor(false);
  }
  // These, and no others.
  void Exclude(const std::vector<HWND>& windows) {
    std::vector<FilterWindowInfo> list;
    for (const HWND window : windows) {
      list.emplace_back().window = window;
    }
    ClearExcludeWindows();
    SetExcludeWindows(list.data(), static_cast<int>(list.size()));
  }
};

// One more share beside that of a test.
struct OtherShare {
  bool StartMonitor(HMONITOR target) {
    return capture.ShareDesktop(nullptr, idOf(target), &host, error);
  }

  ShareRecorder host;
  PlainCapture capture;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
};

// The machine has one monitor of 320x200 over a desktop of kBackground. The share has
// only the GDI engine, which takes a new picture in every tick, unless it allows others.
class ShareTest : public testing::Test {
 protected:
  ShareTest() {
    vwin::control::OwnClock();
    vwin::control::SetMonitorRect(monitor(), {0, 0, 320, 200});
    vwin::control::SetDesktopColor(RGB(0x20, 0x30, 0x40));
    allowEngines({kBitBlt, kPrint});
  }

  // No engines: all are allowed.
  void allowEngines(std::initializer_list<IScreenCapture::CaptureEngineType> engines) {
    capture.SetCaptureEngineConfig(std::data(engines), static_cast<int>(engines.size()), false);
  }

  // A new picture in every tick that has one.
  void withoutDynamicCheck() { capture.SetScreenCaptureConfig({.scDynamicCheck = false}); }

  // Of the pictures, also while they are shared.
  void limitTo(std::uint64_t width, std::uint64_t height, std::uint64_t pixels,
               std::int32_t aspectRatioMode = 0) {
    IScreenCapture::ScreenFrameResolutionLimit limit;
    limit.maxScreenWidth = width;
    limit.maxScreenHeight = height;
    limit.maxScreenPixels = pixels;
    limit.aspectRatioMode = aspectRatioMode;
    capture.SetCaptureFrameResolutionLimit(limit);
  }
  void limitTo(std::uint64_t width, std::uint64_t height) {
    limitTo(width, height, width * height);
  }

  static HMONITOR monitor() { return vwin::control::PrimaryMonitor(); }

  bool share(HMONITOR target) { return capture.ShareDesktop(&context, idOf(target), &host, error); }
  bool shareWindow(HWND target) {
    return capture.ShareWindow(&context, idOf(target), &host, error);
  }

  // Starts a share of the monitor and runs its first tick.
  void start() { start(monitor()); }
  void start(HMONITOR target) {
    ASSERT_TRUE(share(target)) << "error " << error << '\n' << log.Dump();
    vwin::control::Settle();
  }

  void startWindow(HWND target) {
    ASSERT_TRUE(shareWindow(target)) << "error " << error << '\n' << log.Dump();
    vwin::control::Settle();
  }

  // What the ids of monitors and windows are looked up in.
  void list() {
    capture.GetDesktopList([](const IScreenCapture::DesktopInfo*, const int&, void*) {}, nullptr);
    capture.GetWindowList([](const IScreenCapture::WindowInfo*, const int&, void*) {}, nullptr);
  }

  // "10,20 300x200".
  std::string captureRect() {
    IScreenCapture::CaptureRect rect = {};
    capture.GetCaptureRect(rect);
    std::ostringstream text;
    text << rect.x << ',' << rect.y << ' ' << rect.width << 'x' << rect.height;
    return text.str();
  }

  // Of the last frame: "160x100 of 320x200".
  std::string frameSize() const {
    const Frame frame = host.LastFrame();
    std::ostringstream text;
    text << frame.width << 'x' << frame.height << " of " << frame.rawWidth << 'x'
         << frame.rawHeight;
    return text.str();
  }

  // Runs the next `count` ticks of a share at 15 frames a second.
  static void tick(int count = 1) { vwin::control::Advance(count * 67ms); }

  // Whether a picture of the monitor as it is now arrives with the next ticks.
  testing::AssertionResult nextFrameShows(const std::vector<Patch>& patches) {
    const int before = host.FrameCount();
    tick();
    if (host.FrameCount() == before) {
      return testing::AssertionFailure() << "no frame came\n" << log.Dump();
    }
    return Shows(host.LastFrame(), kBackground, patches);
  }

  int context = 0;  // its address is what the listener gets back
  LogRecorder log;
  ShareRecorder host{&context};
  PlainCapture capture;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
};

}  // namespace qx::test
