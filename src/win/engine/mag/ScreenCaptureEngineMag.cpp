#include "win/engine/mag/ScreenCaptureEngineMag.h"

#include "common/Logging.h"

namespace qx {

bool ScreenCaptureEngineMag::Initialize() {
  QX_LOG_WARN("ScreenCaptureEngineMag is not part of this build");
  return false;
}

bool ScreenCaptureEngineMag::Capture(std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                     ScreenCaptureFrame&, CaptureResult& result) {
  result = CaptureResult::Failed;
  return false;
}

}  // namespace qx
