// The fixture of tests that build a desktop: one monitor of 200 x 100 at 0, 0, in
// one colour, composition on.
#pragma once

#include <gtest/gtest.h>

#include "platform/control/Desktop.h"
#include "platform/control/Machine.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {

class DesktopTest : public testing::Test {
 protected:
  void SetUp() override {
    vwin::control::SetDesktopColor(kDesktop);
    vwin::control::SetMonitorRect(vwin::control::PrimaryMonitor(), {0, 0, 200, 100});
  }
};

}  // namespace qx::test
