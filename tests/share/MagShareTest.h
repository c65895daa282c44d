// The frame of a test of shares that a magnifier draws.
#pragma once

#include <algorithm>

#include "platform/control/Magnification.h"
#include "tests/share/ShareTest.h"

namespace qx::test {

// A share's test on Windows 10, where a magnifier draws and copying from the screen takes
// over when it can't go on.
class MagShareTest : public ShareTest {
 protected:
  MagShareTest() { allowEngines({kMag, kBitBlt}); }

  // Starts a share and runs its first two ticks, of which the second one takes note that
  // there are windows to leave out: the frame around the monitor, at least.
  void startMag() {
    host.Forget();
    start();
    tick();
    ASSERT_EQ(host.Engines(), Engines{kMag}) << log.Dump();
    ASSERT_EQ(host.FrameCount(), 1) << log.Dump();
  }

  static testing::AssertionResult ShowsRedder(const Frame& frame, std::vector<Patch> patches) {
    for (Patch& patch : patches) {
      patch.rgb += kRedder;
    }
    return Shows(frame, kBackground + kRedder, patches);
  }
  testing::AssertionResult magShows(const std::vector<Patch>& patches) {
    return ShowsRedder(host.LastFrame(), patches) << log.Dump();
  }
  testing::AssertionResult nextMagFrameShows(const std::vector<Patch>& patches) {
    const int before = host.FrameCount();
    tick();
    if (host.FrameCount() == before) {
      return testing::AssertionFailure() << "no frame came\n" << log.Dump();
    }
    return magShows(patches);
  }

  // From now on no frame may show a pixel of this colour.
  void forbid(std::uint32_t rgb) {
    host.onEvent = [this, rgb](const std::string& event) {
      if (event == "frame") {
        const Frame frame = host.LastFrame();
        leaks += frame.Count(rgb) + frame.Count(rgb + kRedder);
      }
    };
  }

  static std::size_t magnifierWindows() {
    return vwin::control::LibraryWindows(L"Magnifier").size();
  }

  int leaks = 0;
};

}  // namespace qx::test
