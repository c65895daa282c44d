#include "win/engine/MagProbe.h"

#include <atomic>

#include "common/Logging.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx::WindowsUtil {
namespace {

enum class Verdict { Unknown, Fine, Black };

std::atomic<Verdict> g_verdict = Verdict::Unknown;

bool IsEmptyPicture(const ScreenCaptureFrame& frame) {
  const auto width = static_cast<int>(frame.Width());
  return isTransparentFrame(reinterpret_cast<const std::uint32_t*>(frame.Buffer().get()), width,
                            static_cast<int>(frame.Height()), width * 4);
}

// Unknown when three attempts gave no picture.
Verdict Probe(ScreenCaptureEngine& engine, const RECT& monitor) {
  constexpr int kAttempts = 3;
  // A margin keeps the source off the edges of the monitor.
  constexpr LONG kMargin = 2;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    ScreenCaptureFrame frame;
    auto result = CaptureResult::Failed;
    if (engine.Capture(monitor.left + kMargin, monitor.top + kMargin,
                       monitor.right - monitor.left - kMargin,
                       monitor.bottom - monitor.top - kMargin, frame, result)) {
      return frame.Buffer() && IsEmptyPicture(frame) ? Verdict::Black : Verdict::Fine;
    }
    if (result == CaptureResult::BlackFrame) {
      return Verdict::Black;
    }
  }
  return Verdict::Unknown;
}

}  // namespace

bool IsMagCaptureBlack(const EngineFactories& factories) {
  if (!CanUseMagCapture()) {
    return true;
  }
  Verdict verdict = g_verdict;
  if (verdict == Verdict::Unknown) {
    const EngineFactories::Engine engine = factories.mag(nullptr, {}, false, false, false);
    if (!engine->Initialize()) {
      return false;
    }
    std::vector<RECT> monitors;
    GetMonitorRects(false, monitors);
    if (!monitors.empty()) {
      verdict = Probe(*engine, monitors.front());
    }
    engine->UnInitialize();
    if (verdict == Verdict::Unknown) {
      return false;
    }
    g_verdict = verdict;
  }
  QX_LOG_INFO("IsMagCaptureBlack: {}", verdict == Verdict::Black ? "true" : "false");
  return verdict == Verdict::Black;
}

}  // namespace qx::WindowsUtil
