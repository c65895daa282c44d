#include "win/task/ShareListenerWrapper.h"

#include "common/Logging.h"

namespace qx {
namespace {

constexpr auto kStatisticsSeconds = static_cast<std::int32_t>(kLogIntervalMs / 1000);

}  // namespace

ShareListenerWrapper::ShareListenerWrapper(void* context, ShareListener* listener,
                                           std::int32_t keepAliveInterval)
    : m_context(context), m_listener(listener), m_keepAliveInterval(keepAliveInterval) {}

// The one place that calls the host.
template <typename Call>
void ShareListenerWrapper::tell(const char* operation, Call call) {
  if (!m_listener) {
    return;
  }
  try {
    call(*m_listener);
  } catch (...) {
    QX_LOG_LIMITED(LogLevelError, "{} of the share listener threw an exception", operation);
  }
}

void ShareListenerWrapper::OnStart() {
  QX_TRACE("ShareListenerWrapper::OnStart");
  tell("OnStart", [&](ShareListener& listener) { listener.OnStart(m_context); });
}

void ShareListenerWrapper::OnPause(IScreenCapture::SharePauseReason reason) {
  QX_TRACE("ShareListenerWrapper::OnPause");
  tell("OnPause", [&](ShareListener& listener) { listener.OnPause(m_context, reason); });
}

void ShareListenerWrapper::OnResume() {
  QX_TRACE("ShareListenerWrapper::OnResume");
  tell("OnResume", [&](ShareListener& listener) { listener.OnResume(m_context); });
}

void ShareListenerWrapper::OnStop() {
  QX_TRACE("ShareListenerWrapper::OnStop");
  tell("OnStop", [&](ShareListener& listener) { listener.OnStop(m_context); });
}

void ShareListenerWrapper::OnShareWindowChanged(int window, int reserved) {
  QX_TRACE("ShareListenerWrapper::OnShareWindowChanged");
  tell("OnShareWindowChanged", [&](ShareListener& listener) {
    listener.OnShareWindowChanged(m_context, window, reserved);
  });
}

void ShareListenerWrapper::OnShareDesktopChanged(int monitor) {
  QX_TRACE("ShareListenerWrapper::OnShareDesktopChanged");
  tell("OnShareDesktopChanged",
       [&](ShareListener& listener) { listener.OnShareDesktopChanged(m_context, monitor); });
}

void ShareListenerWrapper::OnShareRectChanged(int x, int y, int width, int height) {
  QX_TRACE("ShareListenerWrapper::OnShareRectChanged");
  tell("OnShareRectChanged", [&](ShareListener& listener) {
    listener.OnShareRectChanged(m_context, x, y, width, height);
  });
}

void ShareListenerWrapper::OnCaptureEngineName(IScreenCapture::CaptureEngineType& engine,
                                               int& reserved, bool flag) {
  QX_TRACE("ShareListenerWrapper::OnCaptureEngineName");
  tell("OnCaptureEngineName", [&](ShareListener& listener) {
    listener.OnCaptureEngineName(m_context, engine, reserved, flag, 0);
  });
}

void ShareListenerWrapper::onFirstFrame() {
  QX_TRACE("ShareListenerWrapper::OnFirstFrame");
  tell("OnFirstFrame", [&](ShareListener& listener) { listener.OnFirstFrame(m_context); });
}

void ShareListenerWrapper::OnFrame(const ScreenFrameData* frame) {
  if (!m_listener) {
    return;
  }
  if (m_firstFrame) {
    QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:on first frame");
    onFirstFrame();
    m_firstFrame = false;
  }
  ++m_frameCount;
  reportFrameRate();
  QX_LOG_LIMITED(LogLevelInfo,
                 "onFrameCallback: width = {}, height = {}, raw_width = {}, raw_height = {}, "
                 "timestamp = {}",
                 frame->width, frame->height, frame->raw_width, frame->raw_height,
                 frame->timestamp);
  tell("OnFrame", [&](ShareListener& listener) { listener.OnFrame(m_context, frame); });
}

// The interval is the limiter's, whatever time has really passed since the last
// report: a stalled delivery shows as a rate too high, and an earlier share of
// this process may have taken this one's first report.
void ShareListenerWrapper::reportFrameRate() {
  static LogRateLimiter limiter(kLogIntervalMs);
  if (!limiter.Allow()) {
    return;
  }
  const auto delta = static_cast<std::int32_t>(m_frameCount - m_lastFrameCount);
  m_lastFrameCount = m_frameCount;
  IScreenCapture::ScreenFrameStatistics statistics;
  statistics.hasFps = true;
  statistics.fps = delta / kStatisticsSeconds;
  QX_LOG_INFO("qx-sc:frame:fps {}, total frame count {}", statistics.fps, m_frameCount);
  tell("OnFrameStatistics",
       [&](ShareListener& listener) { listener.OnFrameStatistics(m_context, &statistics); });
}

void ShareListenerWrapper::OnKeepLiveFrame(const ScreenFrameData* frame) {
  if (!m_listener) {
    return;
  }
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:keep live frame, time is: {}", frame->timestamp);
  tell("OnFrame", [&](ShareListener& listener) { listener.OnFrame(m_context, frame); });
}

void ShareListenerWrapper::OnFrameDirtyInfo(bool valid, std::uint64_t rectCount, double ratio) {
  if (!m_listener) {
    return;
  }
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:on frame dirty info");
  tell("OnFrameDirtyInfo", [&](ShareListener& listener) {
    listener.OnFrameDirtyInfo(m_context, valid, rectCount, ratio);
  });
}

}  // namespace qx
