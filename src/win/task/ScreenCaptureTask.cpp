#include "win/task/ScreenCaptureTask.h"

#include <utility>

#include "common/Logging.h"
#include "win/util/Clock.h"
#include "win/util/RunClosed.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

constexpr std::uint64_t kSlowTickMs = 2000;
constexpr std::uint64_t kSecureDesktopWaitMs = 2000;
// Of a task that runs when it is woken. Should it ever run by itself, there is nothing to do.
constexpr double kSeldomMs = 2147483.0;

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
    : m_filterWindowManager(std::move(filterWindowManager)),
      m_pause(m_timer, [this] { sendKeepLiveFrame(); }) {}

void ScreenCaptureTask::beginThread() {
  m_timer.AddTask(0.0, 0.0, true, [] { SetCurrentThreadName("SC-CaptureThread"); });
  m_wishTask = m_timer.AddTask(kSeldomMs, kSeldomMs, false, [this] {
    // Before the first tick a listener is still being told of the start, on another thread.
    if (isRunning() && m_begun && carryOutWishes()) {
      m_timer.RunSoon(m_captureTimerTask);
    }
  });
  m_hasThread = m_timer.Start([this] { leave(); });
}

bool ScreenCaptureTask::canRun() const {
  if (!m_hasThread) {
    QX_LOG_ERROR("the capture thread could not be started");
  }
  return m_hasThread;
}

// The engine is made on the thread that will use it, and the host is told on the
// thread that starts the share.
bool ScreenCaptureTask::Start(ShareListenerWrapper* listener) {
  if (isRunning() || !canRun()) {
    return false;
  }
  m_listener = listener;
  bool prepared = false;
  const bool ran = m_timer.Run([&] {
    static_cast<void>(carryOutWishes());
    m_pause.SetListener(listener);
    m_delivery.Begin(listener, m_settings);
    // Here already, so that the first tick needs no memory.
    m_captureTimerTask =
        m_timer.AddTask(kSeldomMs, IntervalMs(m_settings.fps), false, [this] { tick(); });
    prepared = prepare();
  });
  // A window procedure of the host can run while this waits, and can stop the share: then the
  // host hears nothing more of it, and its window stays where it is.
  if (!ran || !prepared || m_stopWanted) {
    return false;
  }
  reportEngine();
  static_cast<void>(m_timer.Run([this] { surround(); }));
  if (!m_stopWanted) {
    raise();
  }
  m_running = true;
  return true;
}

void ScreenCaptureTask::BeginCapture() {
  if (isRunning()) {
    m_timer.RunSoon(m_captureTimerTask);
  }
}

void ScreenCaptureTask::Stop() {
  if (IsCaptureThread()) {
    QX_LOG_ERROR("a listener can't stop its own share");
    return;
  }
  m_stopWanted = true;
  if (!m_running.exchange(false)) {
    return;
  }
  endThread();
  setCaptureRect({-1, -1, -1, -1});
}

void ScreenCaptureTask::endThread() {
  m_running = false;
  m_timer.Stop();
}

// The last that the capture thread does.
void ScreenCaptureTask::leave() {
  RunClosed("the end of a share met an exception", [this] { release(); });
  destroyEngine();
}

void ScreenCaptureTask::Pause() {
  QX_TRACE("ScreenCaptureTask::Pause");
  wish([](ShareWishes& wishes) { wishes.settings.pauseInvoked = true; });
}

void ScreenCaptureTask::Resume() {
  QX_TRACE("ScreenCaptureTask::Resume");
  wish([running = isRunning()](ShareWishes& wishes) {
    wishes.settings.pauseInvoked = false;
    wishes.raise = running;
  });
}

void ScreenCaptureTask::EnablePromptWindow(bool enable) {
  wish([enable](ShareWishes& wishes) {
    wishes.settings.showPrompt = enable;
    wishes.newShowPrompt = true;
  });
}

void ScreenCaptureTask::SetPromptWindowInfo(const PromptWindowInfo& info) {
  wish([&info](ShareWishes& wishes) {
    wishes.settings.promptWindowInfo = info;
    wishes.newLook = true;
  });
}

void ScreenCaptureTask::SetDynamicCheck(bool check) {
  if (isRunning()) {
    wish([check](ShareWishes& wishes) { wishes.dynamicCheck = check; });
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
  wish([&config](ShareWishes& wishes) {
    const ScreenCaptureConfig& old = wishes.settings.config;
    if (config.scDynamicCheck != old.scDynamicCheck ||
        config.DynamicFrameCallback != old.DynamicFrameCallback ||
        config.GetDirtyRectInfo != old.GetDirtyRectInfo) {
      wishes.rebuildForConfig = true;
      // What was meant for the engine that goes.
      wishes.dynamicCheck.reset();
    }
    wishes.settings.config = config;
  });
}

void ScreenCaptureTask::SetCaptureFPS(std::int32_t fps) {
  QX_LOG_INFO("qx-sc:config:set fps: {}", fps);
  wish([fps](ShareWishes& wishes) { wishes.settings.fps = fps; });
}

void ScreenCaptureTask::ShowCursor(bool show) {
  QX_LOG_INFO("qx-sc:config:show cursor {}", show);
  wish([show](ShareWishes& wishes) { wishes.settings.showCursor = show; });
}

void ScreenCaptureTask::SetScreenFrameFormatType(ScreenFrameFormat format) {
  QX_LOG_INFO("qx-sc:config:screen frame type = {}", static_cast<std::int32_t>(format));
  wish([format](ShareWishes& wishes) { wishes.settings.format = format; });
}

void ScreenCaptureTask::SetCaptureEngineConfig(const EngineTypeSet& engineTypes, bool wgcPriority) {
  QX_TRACE("ScreenCaptureTask::SetCaptureEngineConfig");
  EngineTypeSet copy = engineTypes;
  wish([&copy, wgcPriority](ShareWishes& wishes) {
    wishes.settings.engineTypes.swap(copy);
    wishes.settings.wgcPriority = wgcPriority;
  });
}

void ScreenCaptureTask::SetCaptureFrameResolutionLimit(const ScreenFrameResolutionLimit& limit) {
  bool taken = false;
  wish([&](ShareWishes& wishes) {
    taken = limit.maxScreenPixels != 0 &&
            limit.maxScreenPixels != wishes.settings.limit.maxScreenPixels;
    if (taken) {
      wishes.settings.limit = limit;
    }
  });
  if (taken) {
    QX_LOG_INFO("qx-sc:config:resolution limit {}x{}:{}", limit.maxScreenWidth,
                limit.maxScreenHeight, limit.maxScreenPixels);
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

// A listener that wishes something on every frame must not keep the thread busy.
void ScreenCaptureTask::wakeCaptureThread() {
  if (isRunning() && !IsCaptureThread()) {
    m_timer.RunSoon(m_wishTask);
  }
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
  if (!isRunning()) {
    return;
  }
  const std::uint64_t now = SystemMillis();
  const SlowTickWarning slowTickWarning(now);
  if (!m_begun) {
    onBegun();
    m_begun = true;
  }
  static_cast<void>(carryOutWishes());
  if (m_stopped || m_nextCaptureTime > now) {
    return;
  }
  if (ensureEngine(now)) {
    captureStep(now);
  }
}

// True when there is another engine now.
bool ScreenCaptureTask::carryOutWishes() {
  ShareWishes wishes;
  if (!m_wishes.Take(wishes)) {
    return false;
  }
  const std::int32_t oldFps = m_settings.fps;
  m_settings = std::move(wishes.settings);
  m_pause.SetInvoked(m_settings.pauseInvoked);
  if (!isRunning()) {
    return false;
  }
  if (m_settings.fps != oldFps) {
    m_timer.SetInterval(m_captureTimerTask, IntervalMs(m_settings.fps));
    QX_LOG_INFO("update thread timer: {}ms", IntervalMs(m_settings.fps));
  }
  if (wishes.newLook || wishes.newShowPrompt) {
    changePrompt(wishes);
  }
  // Of a share that ended by itself the host still sees the prompt frame, and nothing else.
  if (m_stopped) {
    return false;
  }
  // Without an engine there is nothing more to do: the next one starts from the settings.
  const bool rebuilt = m_engine && (wishes.rebuildForFilter || wishes.rebuildForConfig);
  if (rebuilt) {
    rebuildEngine(wishes);
  }
  if (m_engine) {
    changeEngine(wishes);
  }
  if (wishes.raise) {
    raise();
  }
  return rebuilt;
}

void ScreenCaptureTask::changeEngine(const ShareWishes& wishes) {
  if (m_settings.showCursor != m_engineShowsCursor) {
    m_engine->ShowCursor(m_settings.showCursor);
    m_engineShowsCursor = m_settings.showCursor;
  }
  if (wishes.dynamicCheck) {
    m_engine->SetDynamicCheck(*wishes.dynamicCheck);
  }
}

void ScreenCaptureTask::rebuildEngine(const ShareWishes& wishes) {
  if (wishes.rebuildForFilter) {
    QX_LOG_INFO("need recreate capture engine");
  }
  if (wishes.rebuildForConfig) {
    QX_LOG_INFO("need recreate capture engine by update config");
  }
  destroyEngine();
  static_cast<void>(createEngine());  // the next tick tries again
}

bool ScreenCaptureTask::ensureEngine(std::uint64_t nowMs) {
  if (m_engine) {
    return true;
  }
  if (WindowsUtil::IsUacPrompt()) {
    holdOff(nowMs + kSecureDesktopWaitMs);
    return false;
  }
  return createEngine();
}

EngineProxySettings ScreenCaptureTask::proxySettings(FilterWindowProvider filterWindows) {
  EngineProxySettings proxy;
  proxy.filterWindowManager = m_filterWindowManager;
  proxy.filterWindows = std::move(filterWindows);
  proxy.engineChanged = [this](CaptureEngineType type) {
    m_engineType = type;
    // Another engine's, which this one would pass for its own last one until it has drawn.
    m_delivery.DropPicture();
    if (isRunning()) {
      reportEngine();
    }
  };
  proxy.allowed = m_settings.engineTypes;
  proxy.dirtyInfo = m_settings.config.GetDirtyRectInfo;
  proxy.dynamicCheck = m_settings.config.scDynamicCheck;
  proxy.newMouseCaptureWay = m_settings.config.scNewMouseCaptureWay;
  proxy.wgcPriority = m_settings.wgcPriority;
  proxy.enableFilterWindow = m_settings.enableFilterWindow;
  return proxy;
}

void ScreenCaptureTask::reportEngine() {
  CaptureEngineType type = m_engineType;  // the listener gets a reference
  int reserved = 0;
  m_listener->OnCaptureEngineName(type, reserved, true);
}

bool ScreenCaptureTask::createEngine() {
  std::unique_ptr<ScreenCaptureEngineProxy> engine = makeEngine();
  engine->ShowCursor(m_settings.showCursor);  // also of the first picture
  if (!engine->Initialize()) {
    QX_LOG_ERROR("ScreenCaptureEngine Initialize failed");
    return false;
  }
  const bool basicGraphics = WindowsUtil::IsBasicGraphicsAdapter();
  QX_LOG_INFO("use basic graphic processor = {}", basicGraphics);
  engine->SetUseBasicGraphics(basicGraphics);
  m_engineShowsCursor = m_settings.showCursor;
  m_engine = std::move(engine);
  return true;
}

void ScreenCaptureTask::destroyEngine() {
  if (m_engine) {
    m_engine->UnInitialize();
    m_engine.reset();
  }
}

void ScreenCaptureTask::aimEngine(const Shot& shot) {
  m_engine->SetTargetSize(shot.targetWidth, shot.targetHeight);
  if (m_delivery.NeedsAnotherPicture(m_settings, shot)) {
    m_engine->WantAnotherPicture();
  }
}

void ScreenCaptureTask::dropPicture() {
  m_engine->DropPicture();
  m_delivery.DropPicture();
}

void ScreenCaptureTask::waitForSecureDesktop(std::uint64_t nowMs) {
  QX_LOG_INFO("uac prompt, need try capture later");
  destroyEngine();
  holdOff(nowMs + kSecureDesktopWaitMs);
}

void ScreenCaptureTask::sendKeepLiveFrame() {
  if (isCapturing() && m_keepLiveCallback) {
    m_keepLiveCallback(&m_delivery.KeepLiveFrame());
  }
}

void ScreenCaptureTask::endShare() {
  if (isRunning()) {
    m_listener->OnStop();
  }
  m_stopped = true;
}

}  // namespace qx
