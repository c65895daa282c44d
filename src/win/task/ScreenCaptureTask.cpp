#include "win/task/ScreenCaptureTask.h"

#include <utility>

#include "win/util/Clock.h"
#include "common/Logging.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

constexpr std::uint64_t kSlowTickMs = 2000;
constexpr std::uint64_t kSecureDesktopWaitMs = 2000;
constexpr std::uint64_t kEarlyRepeatMicros = 50000;
constexpr std::uint32_t kLogIntervalSeconds = kLogIntervalMs / 1000;

double IntervalMs(std::int32_t fps) { return 1000.0 / fps; }

// Tells of a tick that took very long, whichever way it ends.
class SlowTickWarning {
 public:
  explicit SlowTickWarning(std::uint64_t startMs) : m_start(startMs) {}
  SlowTickWarning(const SlowTickWarning&) = delete;
  SlowTickWarning& operator=(const SlowTickWarning&) = delete;
  ~SlowTickWarning() {
    const std::uint64_t now = SystemMillis();
    // The user may have set the clock back in between.
    if (now > m_start && now - m_start > kSlowTickMs) {
      QX_LOG_WARN("capture frame cost too much time: {}ms", now - m_start);
    }
  }

 private:
  const std::uint64_t m_start;
};

}  // namespace

ScreenCaptureTask::ScreenCaptureTask(std::shared_ptr<FilterWindowManager> filterWindowManager)
    : m_filterWindowManager(std::move(filterWindowManager)), m_hasThread(m_timer.Start()) {
  m_timer.AddTask(0.0, 0.0, true, [] { SetCurrentThreadName("SC-CaptureThread"); });
}

ScreenCaptureTask::~ScreenCaptureTask() { stopThread(); }

void ScreenCaptureTask::Stop() {
  if (!isRunning()) {
    return;
  }
  tearDown();
  m_listener = nullptr;
  setCaptureRect({-1, -1, -1, -1});
}

void ScreenCaptureTask::Pause() {
  QX_TRACE("ScreenCaptureTask::Pause");
  m_pauseInvoke = true;
}

void ScreenCaptureTask::Resume() {
  QX_TRACE("ScreenCaptureTask::Resume");
  m_pauseInvoke = false;
}

void ScreenCaptureTask::SetPromptWindowInfo(const PromptWindowInfo& info) {
  const std::lock_guard lock(m_settingsMutex);
  m_settings.promptWindowInfo = info;
}

void ScreenCaptureTask::SetDynamicCheck(bool check) {
  if (isRunning()) {
    const std::lock_guard lock(m_settingsMutex);
    m_requests.dynamicCheck = check;
  }
}

void ScreenCaptureTask::SetScreenCaptureConfig(const ScreenCaptureConfig& config) {
  QX_LOG_INFO(
      "qx-sc:config: capture config is: KeepAliveInterval = {}, MovedWindowStableKeepMinDuration = "
      "{}, DynamicFrameCallback = {}, GetDirtyRectInfo = {}, scDynamicCheck = {}, "
      "scNewMouseCaptureWay = {}",
      config.KeepAliveInterval, config.MovedWindowStableKeepMinDuration,
      config.DynamicFrameCallback, config.GetDirtyRectInfo, config.scDynamicCheck,
      config.scNewMouseCaptureWay);
  bool rebuild = false;
  {
    const std::lock_guard lock(m_settingsMutex);
    const ScreenCaptureConfig& old = m_settings.config;
    rebuild = config.scDynamicCheck != old.scDynamicCheck ||
              config.DynamicFrameCallback != old.DynamicFrameCallback ||
              config.GetDirtyRectInfo != old.GetDirtyRectInfo;
    m_settings.config = config;
  }
  if (rebuild) {
    requestRebuild(RebuildCause::ConfigChanged);
  }
}

void ScreenCaptureTask::SetCaptureFPS(std::int32_t fps) {
  QX_LOG_INFO("qx-sc:config:set fps: {}", fps);
  {
    const std::lock_guard lock(m_settingsMutex);
    if (fps == m_settings.fps) {
      return;
    }
    m_settings.fps = fps;
  }
  const std::int32_t captureTick = m_captureTimerTask;
  if (captureTick != ThreadTimer::kNoTask) {
    m_timer.SetInterval(captureTick, IntervalMs(fps));
    QX_LOG_INFO("update thread timer: {}ms", IntervalMs(fps));
  }
}

void ScreenCaptureTask::ShowCursor(bool show) {
  QX_LOG_INFO("qx-sc:config:show cursor {}", show);
  const std::lock_guard lock(m_settingsMutex);
  m_settings.showCursor = show;
}

void ScreenCaptureTask::SetScreenFrameFormatType(ScreenFrameFormat format) {
  QX_LOG_INFO("qx-sc:config:screen frame type = {}", static_cast<std::int32_t>(format));
  const std::lock_guard lock(m_settingsMutex);
  m_settings.format = format;
}

void ScreenCaptureTask::SetCaptureEngineConfig(const EngineTypeSet& engineTypes, bool wgcPriority) {
  QX_TRACE("ScreenCaptureTask::SetCaptureEngineConfig");
  EngineTypeSet copy = engineTypes;
  const std::lock_guard lock(m_settingsMutex);
  m_engineTypes.swap(copy);
  m_settings.wgcPriority = wgcPriority;
}

void ScreenCaptureTask::SetCaptureFrameResolutionLimit(const ScreenFrameResolutionLimit& limit) {
  if (limit.maxScreenPixels == 0 ||
      limit.maxScreenPixels == copySettings().pendingLimit.maxScreenPixels) {
    return;
  }
  QX_LOG_INFO("qx-sc:config:resolution limit {}x{}:{}", limit.maxScreenWidth, limit.maxScreenHeight,
              limit.maxScreenPixels);
  const std::lock_guard lock(m_settingsMutex);
  m_settings.pendingLimit = limit;
  if (!isRunning()) {
    m_resolutionLimit = limit;
  }
}

void ScreenCaptureTask::SetKeepLiveCallback(std::function<void(const ScreenFrameData*)> callback) {
  QX_TRACE("ScreenCaptureTask::SetKeepLiveCallback");
  m_keepLiveCallback = std::move(callback);
}

void ScreenCaptureTask::GetCaptureRect(CaptureRect& rect) const {
  const std::lock_guard lock(m_rectMutex);
  rect = m_captureRect;
}

void ScreenCaptureTask::setCaptureRect(const CaptureRect& rect) {
  const std::lock_guard lock(m_rectMutex);
  m_captureRect = rect;
}

ScreenCaptureTask::Settings ScreenCaptureTask::copySettings() const {
  const std::lock_guard lock(m_settingsMutex);
  return m_settings;
}

void ScreenCaptureTask::requestRebuild(RebuildCause cause) {
  if (!isRunning()) {
    return;
  }
  {
    const std::lock_guard lock(m_settingsMutex);
    (cause == RebuildCause::FilterChanged ? m_requests.rebuildForFilter
                                          : m_requests.rebuildForConfig) = true;
    // It was meant for the engine that goes.
    m_requests.dynamicCheck.reset();
  }
  // A tick in progress is followed by the next one in its time: a listener that
  // asked for this on every frame would keep the thread busy otherwise.
  if (m_timer.IsCurrent()) {
    return;
  }
  // Who takes the id out restarts the tick, so that two threads never leave two.
  const std::int32_t captureTick = m_captureTimerTask.exchange(ThreadTimer::kNoTask);
  if (captureTick != ThreadTimer::kNoTask) {
    m_timer.RemoveTask(captureTick);
    addCaptureTick();
  }
}

bool ScreenCaptureTask::canRun() const {
  if (!m_hasThread) {
    QX_LOG_ERROR("the capture thread could not be started");
  }
  return m_hasThread;
}

void ScreenCaptureTask::enterRunning() {
  m_stopped = false;
  m_dropCount = 0;
  m_lastDropCount = 0;
  m_running = true;
}

void ScreenCaptureTask::BeginCapture() {
  if (isRunning() && m_captureTimerTask == ThreadTimer::kNoTask) {
    addCaptureTick();
  }
}

void ScreenCaptureTask::addCaptureTick() {
  m_captureTimerTask =
      m_timer.AddPeriodicTask(0.0, IntervalMs(copySettings().fps), [this] { tick(); });
}

void ScreenCaptureTask::stopTicks() {
  m_running = false;
  // The tick first: one in progress may yet start the keep-live frames.
  m_timer.RemoveTask(m_captureTimerTask.exchange(ThreadTimer::kNoTask));
  m_timer.RemoveTask(m_keepLiveTimerTask.exchange(ThreadTimer::kNoTask));
}

// An exception, as of a lack of memory, costs one tick.
void ScreenCaptureTask::tick() {
  try {
    runTick();
  } catch (...) {
    QX_LOG_LIMITED(LogLevelError, "capture tick ended by an exception");
  }
}

void ScreenCaptureTask::runTick() {
  if (!isCapturing()) {
    return;
  }
  const std::uint64_t now = SystemMillis();
  const SlowTickWarning slowTickWarning(now);
  if (m_nextCaptureTime > now) {
    return;
  }
  Settings settings;
  EngineRequests requests;
  {
    const std::lock_guard lock(m_settingsMutex);
    settings = m_settings;
    requests = std::exchange(m_requests, {});
  }
  carryOutRequests(requests, settings);
  if (ensureEngine(settings, now)) {
    captureStep(settings, now);
  }
}

// Without an engine there is nothing to do: the next one starts from the settings.
void ScreenCaptureTask::carryOutRequests(const EngineRequests& requests, const Settings& settings) {
  if (!m_engine) {
    return;
  }
  if (requests.rebuildForFilter) {
    QX_LOG_INFO("need recreate capture engine");
  }
  if (requests.rebuildForConfig) {
    QX_LOG_INFO("need recreate capture engine by update config");
  }
  if (requests.rebuildForFilter || requests.rebuildForConfig) {
    destroyEngine();
    if (!createEngine(settings)) {
      return;
    }
  }
  if (settings.showCursor != m_engineShowsCursor) {
    m_engine->ShowCursor(settings.showCursor);
    m_engineShowsCursor = settings.showCursor;
  }
  if (requests.dynamicCheck) {
    m_engine->SetDynamicCheck(*requests.dynamicCheck);
  }
}

bool ScreenCaptureTask::ensureEngine(const Settings& settings, std::uint64_t nowMs) {
  if (m_engine) {
    return true;
  }
  if (WindowsUtil::IsUacPrompt()) {
    m_nextCaptureTime = nowMs + kSecureDesktopWaitMs;
    return false;
  }
  return createEngine(settings);
}

EngineProxySettings ScreenCaptureTask::proxySettings(const Settings& settings,
                                                     FilterWindowProvider filterWindows) {
  EngineProxySettings proxy;
  proxy.filterWindowManager = m_filterWindowManager;
  proxy.filterWindows = std::move(filterWindows);
  proxy.engineChanged = [this](CaptureEngineType type) {
    m_engineType = type;
    if (isRunning()) {
      reportEngine();
    }
  };
  {
    const std::lock_guard lock(m_settingsMutex);
    proxy.allowed = m_engineTypes;
  }
  proxy.dirtyInfo = settings.config.GetDirtyRectInfo;
  proxy.dynamicCheck = settings.config.scDynamicCheck;
  proxy.newMouseCaptureWay = settings.config.scNewMouseCaptureWay;
  proxy.wgcPriority = settings.wgcPriority;
  return proxy;
}

void ScreenCaptureTask::reportEngine() {
  CaptureEngineType type = m_engineType;  // the listener gets a reference
  int reserved = 0;
  m_listener->OnCaptureEngineName(type, reserved, true);
}

// The engine is made on the thread that will use it, and the host is told on the
// thread that starts the share.
bool ScreenCaptureTask::createFirstEngine(const Settings& settings) {
  bool created = false;
  if (!m_timer.Run([&] { created = createEngine(settings); }) || !created) {
    return false;
  }
  reportEngine();
  return true;
}

bool ScreenCaptureTask::adoptEngine(std::unique_ptr<ScreenCaptureEngineProxy> engine,
                                    const Settings& settings) {
  if (!engine->Initialize()) {
    QX_LOG_ERROR("ScreenCaptureEngine Initialize failed");
    return false;
  }
  const bool basicGraphics = WindowsUtil::IsBasicGraphicsAdapter();
  QX_LOG_INFO("use basic graphic processor = {}", basicGraphics);
  engine->SetUseBasicGraphics(basicGraphics);
  engine->ShowCursor(settings.showCursor);
  m_engineShowsCursor = settings.showCursor;
  m_engine = std::move(engine);
  return true;
}

void ScreenCaptureTask::destroyEngine() {
  if (m_engine) {
    m_engine->UnInitialize();
    m_engine.reset();
  }
}

void ScreenCaptureTask::releaseEngine() {
  // Without a thread there never was an engine.
  static_cast<void>(m_timer.Run([this] { destroyEngine(); }));
}

void ScreenCaptureTask::waitForSecureDesktop(std::uint64_t nowMs) {
  QX_LOG_INFO("uac prompt, need try capture later");
  destroyEngine();
  m_nextCaptureTime = nowMs + kSecureDesktopWaitMs;
}

void ScreenCaptureTask::PauseShare(IScreenCapture::SharePauseReason reason) {
  if (m_pauseReason == reason || !isRunning()) {
    return;
  }
  if (m_keepLiveTimerTask == ThreadTimer::kNoTask) {
    m_keepLiveTimerTask = m_timer.AddPeriodicTask(0.0, m_listener->GetKeepAliveInterval(),
                                                  [this] { sendKeepLiveFrame(); });
    QX_LOG_INFO("qx-sc:workflow:pause share add keep_live_timer_task");
  }
  m_pauseReason = reason;
  m_listener->OnPause(reason);
  QX_LOG_INFO("qx-sc:workflow:pause share, reason:{}", static_cast<std::int32_t>(reason));
}

void ScreenCaptureTask::ResumeShare() {
  if (!isRunning()) {
    return;
  }
  if (m_pauseInvoke) {
    QX_LOG_LIMITED(LogLevelInfo, "qx-sc:workflow:can not resume because of pause_invoke");
    return;
  }
  const std::int32_t keepLiveTask = m_keepLiveTimerTask.exchange(ThreadTimer::kNoTask);
  if (keepLiveTask != ThreadTimer::kNoTask) {
    m_timer.RemoveTask(keepLiveTask);
    QX_LOG_INFO("qx-sc:workflow:resume share remove keep_live_timer_task");
  }
  if (!m_pauseReason) {
    return;
  }
  m_pauseReason.reset();
  m_listener->OnResume();
  QX_LOG_INFO("qx-sc:workflow:resume share");
}

void ScreenCaptureTask::sendKeepLiveFrame() {
  if (!isRunning() || !m_keepLiveCallback) {
    return;
  }
  m_record.SetTimestamp(SystemMicros());
  m_keepLiveCallback(&m_record.Get());
}

void ScreenCaptureTask::endShare() {
  if (isRunning()) {
    m_listener->OnStop();
  }
  m_stopped = true;
}

bool ScreenCaptureTask::chooseTargetSize(Shot& shot) const {
  const Resolution raw = {static_cast<std::uint64_t>(shot.rect.width),
                          static_cast<std::uint64_t>(shot.rect.height)};
  Resolution target;
  double scale = 1.0;
  if (!GetLimitedEncodeResolution(raw, target, scale, m_resolutionLimit)) {
    QX_LOG_LIMITED(LogLevelWarn, "captureFrame::GetLimitedEncodeResolution fail.");
    return false;
  }
  shot.targetWidth = static_cast<std::int32_t>(target.width);
  shot.targetHeight = static_cast<std::int32_t>(target.height);
  return true;
}

void ScreenCaptureTask::deliverCapture(const Settings& settings, const Shot& shot) {
  const Picture picture = choosePicture(shot);
  // An engine may say that its last picture still counts before it made any.
  if (!picture.pixels ||
      !m_record.Fill(settings.format, picture, shot.rect.width, shot.rect.height, shot.timestamp)) {
    return;
  }
  adoptPendingLimit(settings);
  if (settings.config.GetDirtyRectInfo) {
    const DirtyInfo& dirty = m_captureFrame.Dirty();
    m_listener->OnFrameDirtyInfo(dirty.valid, dirty.rectCount, dirty.ratio);
  }
  m_listener->OnFrame(&m_record.Get());
}

Picture ScreenCaptureTask::choosePicture(const Shot& shot) {
  if (!m_captureFrame.ScaleTo(shot.targetWidth, shot.targetHeight)) {
    return {m_captureFrame.Buffer(), static_cast<std::int32_t>(m_captureFrame.Width()),
            static_cast<std::int32_t>(m_captureFrame.Height())};
  }
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:scale by CPU {}x{} -> {}x{}", shot.rect.width,
                 shot.rect.height, m_captureFrame.ScaledWidth(), m_captureFrame.ScaledHeight());
  return {m_captureFrame.ScaledBuffer(), m_captureFrame.ScaledWidth(),
          m_captureFrame.ScaledHeight()};
}

// Frames change size with the next tick.
void ScreenCaptureTask::adoptPendingLimit(const Settings& settings) {
  const std::uint64_t pending = settings.pendingLimit.maxScreenPixels;
  const std::uint32_t area = static_cast<std::uint32_t>(m_record.Get().width) *
                             static_cast<std::uint32_t>(m_record.Get().height);
  if (pending != m_resolutionLimit.maxScreenPixels && pending != area) {
    m_resolutionLimit = settings.pendingLimit;
  }
}

void ScreenCaptureTask::deliverUnchanged(const Settings& settings, std::int64_t timestamp) {
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
    m_listener->OnFrameDirtyInfo(m_captureFrame.Dirty().valid, 0, 0.0);
  }
  // A tick that comes a little early must not let a whole further one pass.
  const std::uint64_t longestSilence =
      settings.config.KeepAliveInterval * 1000 - kEarlyRepeatMicros;
  const auto silence = static_cast<std::uint64_t>(timestamp - m_record.Get().timestamp);
  if (settings.config.DynamicFrameCallback && silence <= longestSilence) {
    return;
  }
  m_record.SetTimestamp(timestamp);
  m_listener->OnFrame(&m_record.Get());
}

}  // namespace qx
