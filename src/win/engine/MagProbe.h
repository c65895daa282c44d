#pragma once

#include "win/engine/EngineFactories.h"

namespace qx::WindowsUtil {

// Whether the magnification engine is to be avoided because it gives black
// pictures here, or because the host forbids it. Probes with a capture of the
// first monitor; the first one that came back settles the answer for the
// process. Until then, and where the engine can't start: false. Any thread.
bool IsMagCaptureBlack(const EngineFactories& factories = EngineFactories::Default());

}  // namespace qx::WindowsUtil
