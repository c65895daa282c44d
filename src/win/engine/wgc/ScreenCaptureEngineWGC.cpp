#include "win/engine/wgc/ScreenCaptureEngineWGC.h"

#include "common/Logging.h"

namespace qx {

bool ScreenCaptureEngineWGC::Initialize() {
  QX_LOG_WARN("ScreenCaptureEngineWGC is not part of this build");
  return false;
}

bool ScreenCaptureEngineWGC::Capture(std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                     ScreenCaptureFrame&, CaptureResult& result) {
  result = CaptureResult::Failed;
  return false;
}

}  // namespace qx
