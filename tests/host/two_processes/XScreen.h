#pragma once

#include "tests/tools/Xwd.h"

namespace qx::test {

// Whether the display is an X server's, as it is under Wine.
bool HasXScreen();

// What the X server shows now, without the cursor. Throws std::runtime_error when
// no screenshot comes.
Image XScreenshot();

}  // namespace qx::test
