#include "win/task/FrameDelivery.h"

#include "common/Logging.h"
#include "common/ResolutionUtil.h"
#include "win/util/Clock.h"

namespace qx {
namespace {

constexpr std::uint64_t kEarlyRepeatMicros = 50000;
constexpr std::uint32_t kLogIntervalSeconds = kLogIntervalMs / 1000;

}  // namespace

void FrameDelivery::Begin(ShareListenerWrapper* listener,
                          const IScreenCapture::ScreenFrameResolutionLimit& limit) {
  m_listener = listener;
  m_limit = limit;
}

bool FrameDelivery::ChooseTargetSize(Shot& shot) const {
  const Resolution raw = {static_cast<std::uint64_t>(shot.rect.width),
                          static_cast<std::uint64_t>(shot.rect.height)};
  Resolution target;
  double scale = 1.0;
  if (!GetLimitedEncodeResolution(raw, target, scale, m_limit)) {
    QX_LOG_LIMITED(LogLevelWarn, "captureFrame::GetLimitedEncodeResolution fail.");
    return false;
  }
  shot.targetWidth = static_cast<std::int32_t>(target.width);
  shot.targetHeight = static_cast<std::int32_t>(target.height);
  return true;
}

void FrameDelivery::DeliverCapture(const ShareSettings& settings, const Shot& shot) {
  const Picture picture = choosePicture(shot);
  // An engine may say that its last picture still counts before it made any.
  if (!picture.pixels) {
    return;
  }
  m_owesPicture =
      !m_record.Fill(settings.format, picture, shot.rect.width, shot.rect.height, shot.timestamp);
  if (m_owesPicture) {
    return;
  }
  adoptLimit(settings.limit);
  if (settings.config.GetDirtyRectInfo) {
    const DirtyInfo& dirty = m_frame.Dirty();
    m_listener->OnFrameDirtyInfo(dirty.valid, dirty.rectCount, dirty.ratio);
  }
  m_listener->OnFrame(&m_record.Get());
}

Picture FrameDelivery::choosePicture(const Shot& shot) {
  if (!m_frame.ScaleTo(shot.targetWidth, shot.targetHeight)) {
    return {m_frame.Buffer(), static_cast<std::int32_t>(m_frame.Width()),
            static_cast<std::int32_t>(m_frame.Height())};
  }
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:scale by CPU {}x{} -> {}x{}", shot.rect.width,
                 shot.rect.height, m_frame.ScaledWidth(), m_frame.ScaledHeight());
  return {m_frame.ScaledBuffer(), m_frame.ScaledWidth(), m_frame.ScaledHeight()};
}

// Frames change size with the next tick.
void FrameDelivery::adoptLimit(const IScreenCapture::ScreenFrameResolutionLimit& wanted) {
  const std::uint32_t area = static_cast<std::uint32_t>(m_record.Get().width) *
                             static_cast<std::uint32_t>(m_record.Get().height);
  if (wanted.maxScreenPixels != m_limit.maxScreenPixels && wanted.maxScreenPixels != area) {
    m_limit = wanted;
  }
}

void FrameDelivery::DeliverUnchanged(const ShareSettings& settings, const Shot& shot) {
  if (m_owesPicture) {
    DeliverCapture(settings, shot);
    return;
  }
  ++m_dropCount;
  static LogRateLimiter limiter(kLogIntervalMs);
  if (limiter.Allow()) {
    QX_LOG_INFO("qx-sc:frame:drop fps {}, total drop frame count {}",
                (m_dropCount - m_lastDropCount) / kLogIntervalSeconds, m_dropCount);
    m_lastDropCount = m_dropCount;
  }
  // An engine may wait for its first picture.
  if (m_record.Get().width == 0) {
    return;
  }
  if (settings.config.GetDirtyRectInfo) {
    m_listener->OnFrameDirtyInfo(m_frame.Dirty().valid, 0, 0.0);
  }
  // A tick that comes a little early must not let a whole further one pass.
  const std::uint64_t longestSilence =
      settings.config.KeepAliveInterval * 1000 - kEarlyRepeatMicros;
  const auto silence = static_cast<std::uint64_t>(shot.timestamp - m_record.Get().timestamp);
  if (settings.config.DynamicFrameCallback && silence <= longestSilence) {
    return;
  }
  m_record.SetTimestamp(shot.timestamp);
  m_listener->OnFrame(&m_record.Get());
}

const IScreenCapture::ScreenFrameData& FrameDelivery::KeepLiveFrame() {
  m_record.SetTimestamp(SystemMicros());
  return m_record.Get();
}

}  // namespace qx
