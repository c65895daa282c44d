// The frame of a share's test: an owned clock, a small machine, a host that
// listens and keeps the log.
#pragma once

#include <gtest/gtest.h>
#include <qx-screen-capture.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
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

constexpr std::uint32_t kBackground = 0x203040;
// What a magnifier's colour effect adds to every pixel.
constexpr std::uint32_t kRedder = 0x010000;

// An object with neither prompt frame nor cursor, unless a test turns them on.
struct PlainCapture : ScreenCapture {
  PlainCapture() {
    EnablePromptWindow(false);
    EnableCaptureCursor(false);
  }
};

// The machine has one monitor of 320x200 over a desktop of kBackground. The share has
// only the GDI engine, which takes a new picture in every tick, unless it allows others.
class ShareTest : public testing::Test {
 protected:
  ShareTest() {
    vwin::control::OwnClock();
    vwin::control::SetMonitorRect(monitor(), {0, 0, 320, 200});
    vwin::control::SetDesktopColor(RGB(0x20, 0x30, 0x40));
    allowEngines(
        {IScreenCapture::CaptureEngineGDIBitBlt, IScreenCapture::CaptureEngineGDIPrintWindow});
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

  static int idOf(const void* handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
  }

  bool share(const void* target) {
    return capture.ShareDesktop(&context, idOf(target), &host, error);
  }

  // Starts a share of the monitor and runs its first tick.
  void start() { start(monitor()); }
  void start(HMONITOR target) {
    ASSERT_TRUE(share(target)) << "error " << error << '\n' << log.Dump();
    vwin::control::Settle();
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
