// The frame of a test of shares that duplicate the desktop.
#pragma once

#include "platform/control/Graphics.h"
#include "tests/share/ShareTest.h"

namespace qx::test {

// A share's test on Windows 10, where desktop duplication comes first and copying from
// the screen takes over when it can't go on.
class DxgiShareTest : public ShareTest {
 protected:
  DxgiShareTest() { allowEngines({kDxgi, kBitBlt}); }

  // Starts a share and runs it up to its first frame: one tick after the start.
  void startDxgi(HMONITOR target = monitor()) {
    start(target);
    tick();
    ASSERT_EQ(host.Engines(), Engines{kDxgi}) << log.Dump();
    ASSERT_EQ(host.FrameCount(), 1);
  }

  // What the system answers from now on when it is asked for the next frame.
  static void failFrames(HRESULT answer) {
    vwin::control::FailNth("IDXGIOutputDuplication::AcquireNextFrame", 1, {0, answer},
                           vwin::Repeat::kOnward);
  }

  int devices() const { return log.Count("CreateDXGIDuplication succeed"); }
};

}  // namespace qx::test
