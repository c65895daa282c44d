#pragma once

#include "win/engine/ScreenCaptureEngine.h"

namespace qx {

// Windows.Graphics.Capture. This build does not have it: it never starts, and
// a share goes on to the next engine of its list.
class ScreenCaptureEngineWGC : public ScreenCaptureEngine {
 public:
  bool Initialize() override;
  void UnInitialize() override {}
  CaptureEngineType GetEngineType() const override { return IScreenCapture::CaptureEngineWGC; }
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  bool IsDesktopBased() const override { return true; }
};

}  // namespace qx
