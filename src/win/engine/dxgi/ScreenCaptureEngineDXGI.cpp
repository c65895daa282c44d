#include "win/engine/dxgi/ScreenCaptureEngineDXGI.h"

#include "common/Logging.h"

namespace qx {

bool ScreenCaptureEngineDXGI::Initialize() {
  QX_LOG_WARN("ScreenCaptureEngineDXGI is not part of this build");
  return false;
}

bool ScreenCaptureEngineDXGI::Capture(std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                      ScreenCaptureFrame&, CaptureResult& result) {
  result = CaptureResult::Failed;
  return false;
}

}  // namespace qx
