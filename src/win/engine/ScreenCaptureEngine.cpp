#include "win/engine/ScreenCaptureEngine.h"

namespace qx {

const char* EngineClassName(CaptureEngineType type) {
  switch (type) {
    case IScreenCapture::CaptureEngineMag:
      return "ScreenCaptureEngineMag";
    case IScreenCapture::CaptureEngineDXGI:
      return "ScreenCaptureEngineDXGI";
    case IScreenCapture::CaptureEngineWGC:
      return "ScreenCaptureEngineWGC";
    case IScreenCapture::CaptureEngineGDIBitBlt:
    case IScreenCapture::CaptureEngineGDIPrintWindow:
      return "ScreenCaptureEngineGDI";
    case IScreenCapture::CaptureEngineNone:
      break;
  }
  return "none";
}

}  // namespace qx
