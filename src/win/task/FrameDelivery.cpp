#include "win/task/FrameDelivery.h"

#include "common/Logging.h"
#include "common/ResolutionUtil.h"
#include "win/util/Clock.h"

namespace qx {
namespace {

constexpr std::uint64_t kEarlyRepeatMicros = 50000;
constexpr std::uint32_t kLogIntervalSeconds = kLogIntervalMs / 1000;

}  // namespace

void FrameDelivery::Begin(ShareListenerWrapper* listener, const ShareSettings& settings) {
  m_listener = listener;
  m_limit = settings.limit;
}

bool FrameDelivery::ChooseTargetSize(const ShareSettings& settings, Shot& shot) {
  const Resolution raw = {static_cast<std::uint64_t>(shot.rect.width),
                          static_cast<std::uint64_t>(shot.rect.height)};
  Resolution target;
  double scale = 1.0;
  if (!GetLimitedEncodeResolution(raw, target, scale, m_limit)) {
    QX_LOG_LIMITED(LogLevelWarn, "captureFrame::GetLimitedEncodeResolution fail.");
    // No frame will come after which it could be adopted.
    m_limit = settings.limit;
    return false;
  }
  shot.targetWidth = static_cast<std::int32_t>(target.width);
  shot.targetHeight = static_cast<std::int32_t>(target.height);
  return true;
}

// Whether what is wanted can be made of the picture in Frame. A size of 0 is none to scale to.
bool FrameDelivery::fits(const Shot& shot) const {
  return shot.targetWidth > 0 && shot.targetHeight > 0 &&
         shot.targetWidth <= static_cast<std::int32_t>(m_frame.Width()) &&
         shot.targetHeight <= static_cast<std::int32_t>(m_frame.Height());
}

bool FrameDelivery::NeedsAnotherPicture(const ShareSettings& settings, const Shot& shot) {
  const bool sameCursor = settings.showCursor == m_lastCursor;
  const bool sameSize =
      shot.targetWidth == m_lastShot.targetWidth && shot.targetHeight == m_lastShot.targetHeight;
  m_lastCursor = settings.showCursor;
  m_lastShot = shot;
  return !sameCursor || (!sameSize && m_hasPicture && !fits(shot));
}

void FrameDelivery::DeliverCapture(const ShareSettings& settings, const Shot& shot) {
  m_hasPicture = true;
  if (makeRecord(settings, shot)) {
    tellDirty(settings, m_frame.Dirty());
    m_listener->OnFrame(&m_record.Get());
  }
}

void FrameDelivery::DropPicture() {
  m_frame.Reset();
  m_hasPicture = false;
}

// False when there is no picture, as an engine may say that its last one still counts
// before it made any, and when it can't be converted.
bool FrameDelivery::makeRecord(const ShareSettings& settings, const Shot& shot) {
  const Picture picture = choosePicture(shot);
  m_look.reset();
  if (!picture.pixels ||
      !m_record.Fill(settings.format, picture, shot.rect.width, shot.rect.height, shot.timestamp)) {
    return false;
  }
  m_look = Look{settings.format, picture.width, picture.height};
  adoptLimit(settings.limit);
  return true;
}

void FrameDelivery::tellDirty(const ShareSettings& settings, const DirtyInfo& dirty) const {
  if (settings.config.GetDirtyRectInfo) {
    m_listener->OnFrameDirtyInfo(dirty.valid, dirty.rectCount, dirty.ratio);
  }
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

// Whether the record would look otherwise if it were made now.
bool FrameDelivery::isOutdated(const ShareSettings& settings, const Shot& shot) const {
  if (!m_hasPicture) {
    return false;
  }
  return !m_look || settings.format != m_look->format ||
         (fits(shot) && (shot.targetWidth != m_look->width || shot.targetHeight != m_look->height));
}

void FrameDelivery::DeliverUnchanged(const ShareSettings& settings, const Shot& shot) {
  const DirtyInfo nothing = {0.0, 0, m_frame.Dirty().valid};
  if (isOutdated(settings, shot)) {
    if (makeRecord(settings, shot)) {
      tellDirty(settings, nothing);
      m_listener->OnFrame(&m_record.Get());
    }
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
  adoptLimit(settings.limit);
  tellDirty(settings, nothing);
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
