#include "win/capture/ScreenCaptureImpl.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "common/Logging.h"
#include "win/list/ShareListManager.h"
#include "win/task/ScreenCaptureTaskDesktop.h"
#include "win/task/ScreenCaptureTaskWindow.h"
#include "win/util/Clock.h"
#include "win/util/GdiPlus.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

constexpr int kMaxFps = 30;

// How log lines name the kind of a filter rule, behind the name of its list.
const char* KindOf(const IScreenCapture::FilterWindowInfo& window) {
  return window.type == 0 ? "ByHandle" : "ByPid";
}

// Pictures are read and written through GDI+, which stays up until the process
// ends: nobody can know who else in it relies on it.
void StartGdiplus() {
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  const Gdiplus::Status status = Gdiplus::GdiplusStartup(&token, &input, nullptr);
  if (status != Gdiplus::Ok) {
    QX_LOG_WARN("GdiplusStartup failed, status = {}", static_cast<std::int32_t>(status));
  }
}

void LogWindowPosition(HWND window) {
  RECT rect = {};
  if (!GetWindowRect(window, &rect)) {
    QX_LOG_WARN("PrintWindowLog GetWindowRect fail");
    return;
  }
  QX_LOG_INFO("The window is hwnd = {:#08x},window pos is rect = {},{},{},{} ",
              reinterpret_cast<std::uintptr_t>(window), static_cast<std::int32_t>(rect.left),
              static_cast<std::int32_t>(rect.top), static_cast<std::int32_t>(rect.right),
              static_cast<std::int32_t>(rect.bottom));
}

}  // namespace

ScreenCaptureImpl::ScreenCaptureImpl()
    : m_trackWindowRules(MakeTrackWindowRules()),
      m_filterWindowManager(std::make_shared<FilterWindowManager>()) {
  LogInstance::Instance().SetClock(&SystemMillis);
  QX_TRACE("ScreenCaptureImpl::ScreenCaptureImpl");
  StartGdiplus();
}

// A listener in the middle of a call may still use the object, so the share ends while all of
// it is there.
ScreenCaptureImpl::~ScreenCaptureImpl() {
  QX_TRACE("ScreenCaptureImpl::~ScreenCaptureImpl");
  endTask();
}

template <typename Operation, typename... Arguments>
void ScreenCaptureImpl::tell(Operation operation, const Arguments&... arguments) {
  const DeferredLog afterTheLock;
  const std::lock_guard lock(m_mutex);
  if (m_task) {
    std::invoke(operation, *m_task, arguments...);
  }
}

template <typename Setting, typename Operation>
void ScreenCaptureImpl::keep(Setting& setting, const Setting& value, Operation operation) {
  const DeferredLog afterTheLock;
  const std::lock_guard lock(m_mutex);
  setting = value;
  if (m_task) {
    std::invoke(operation, *m_task, value);
  }
}

void ScreenCaptureImpl::EnableFilterWindowWhenShareDesktop(bool enable) {
  QX_TRACE("ScreenCaptureImpl::EnableFilterWindowWhenShareDesktop");
  const DeferredLog afterTheLock;
  const std::lock_guard lock(m_mutex);
  QX_LOG_INFO("EnableFilterWindowWhenShareDesktop enable:{} m_enableFilterWindow:{}", enable,
              m_enableFilterWindow);
  if (enable == m_enableFilterWindow) {
    return;
  }
  m_enableFilterWindow = enable;
  if (m_task) {
    m_task->EnableFilterWindowWhenShareDesktop(enable);
  }
}

void ScreenCaptureImpl::SetExcludeWindows(const IScreenCapture::FilterWindowInfo* windows,
                                          int count) {
  QX_TRACE("ScreenCaptureImpl::SetExcludeWindows");
  if (windows && count > 0) {
    m_filterWindowManager->SetExcludeWindows({windows, windows + count});
  }
}

void ScreenCaptureImpl::AddExcludeWindow(const IScreenCapture::FilterWindowInfo& window) {
  QX_LOG_INFO("AddExcludeWindow filterType:ExcludeWindows{}", KindOf(window));
  m_filterWindowManager->AddExcludeWindow(window);
}

void ScreenCaptureImpl::RemoveExcludeWindow(const IScreenCapture::FilterWindowInfo& window) {
  QX_LOG_INFO("RemoveExcludeWindow filterType:ExcludeWindows{}", KindOf(window));
  m_filterWindowManager->RemoveExcludeWindow(window);
}

void ScreenCaptureImpl::ClearExcludeWindows() {
  QX_TRACE("ScreenCaptureImpl::ClearExcludeWindows");
  m_filterWindowManager->ClearExcludeWindows();
}

void ScreenCaptureImpl::SetIncludeWindows(const IScreenCapture::FilterWindowInfo* windows,
                                          int count) {
  QX_TRACE("ScreenCaptureImpl::SetIncludeWindows");
  if (windows && count > 0) {
    m_filterWindowManager->SetIncludeWindows({windows, windows + count});
  }
}

void ScreenCaptureImpl::AddIncludeWindow(const IScreenCapture::FilterWindowInfo& window) {
  QX_LOG_INFO("AddIncludeWindow filterType:IncludeWindows{}", KindOf(window));
  m_filterWindowManager->AddIncludeWindow(window);
}

void ScreenCaptureImpl::RemoveIncludeWindow(const IScreenCapture::FilterWindowInfo& window) {
  QX_LOG_INFO("RemoveIncludeWindow filterType:IncludeWindows{}", KindOf(window));
  m_filterWindowManager->RemoveIncludeWindow(window);
}

void ScreenCaptureImpl::ClearIncludeWindows() {
  QX_TRACE("ScreenCaptureImpl::ClearIncludeWindows");
  m_filterWindowManager->ClearIncludeWindows();
}

void ScreenCaptureImpl::GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user) {
  QX_TRACE("ScreenCaptureImpl::GetDesktopList");
  ShareListManager::Instance().GetDesktopList(callback, user);
}

void ScreenCaptureImpl::GetDesktopListAsync(IScreenCapture::DesktopListCallback callback,
                                            void* user) {
  QX_TRACE("ScreenCaptureImpl::GetDesktopListAsync");
  ShareListManager::Instance().GetDesktopListAsync(callback, user);
}

const char* ScreenCaptureImpl::GetDesktopThumbnail(int id, int width, int height) {
  QX_TRACE("ScreenCaptureImpl::GetDesktopThumbnail");
  return ShareListManager::Instance().GetDesktopThumbnail(id, width, height);
}

void ScreenCaptureImpl::GetDesktopThumbnailAll(int width, int height,
                                               IScreenCapture::ThumbnailListCallback callback,
                                               void* user) {
  QX_TRACE("ScreenCaptureImpl::GetDesktopThumbnailAll");
  ShareListManager::Instance().GetDesktopThumbnailAll(width, height, callback, user);
}

void ScreenCaptureImpl::GetDesktopThumbnailAllAsync(int width, int height,
                                                    IScreenCapture::ThumbnailListCallback callback,
                                                    void* user) {
  QX_TRACE("ScreenCaptureImpl::GetDesktopThumbnailAllAsync");
  ShareListManager::Instance().GetDesktopThumbnailAllAsync(width, height, callback, user);
}

void ScreenCaptureImpl::GetWindowList(IScreenCapture::WindowListCallback callback, void* user) {
  QX_TRACE("ScreenCaptureImpl::GetWindowList");
  ShareListManager::Instance().GetWindowList(callback, user, m_filterWindowManager);
}

void ScreenCaptureImpl::GetWindowListAsync(IScreenCapture::WindowListCallback callback,
                                           void* user) {
  QX_TRACE("ScreenCaptureImpl::GetWindowListAsync");
  ShareListManager::Instance().GetWindowListAsync(callback, user, m_filterWindowManager);
}

const char* ScreenCaptureImpl::GetWindowThumbnail(int id, int width, int height) {
  QX_TRACE("ScreenCaptureImpl::GetWindowThumbnail");
  return ShareListManager::Instance().GetWindowThumbnail(id, width, height);
}

void ScreenCaptureImpl::GetWindowThumbnailAll(int width, int height,
                                              IScreenCapture::ThumbnailListCallback callback,
                                              void* user) {
  QX_TRACE("ScreenCaptureImpl::GetWindowThumbnailAll");
  ShareListManager::Instance().GetWindowThumbnailAll(width, height, callback, user);
}

void ScreenCaptureImpl::GetWindowThumbnailAllAsync(int width, int height,
                                                   IScreenCapture::ThumbnailListCallback callback,
                                                   void* user) {
  QX_TRACE("ScreenCaptureImpl::GetWindowThumbnailAllAsync");
  ShareListManager::Instance().GetWindowThumbnailAllAsync(width, height, callback, user);
}

const char* ScreenCaptureImpl::GetWindowIcon(int id) {
  return ShareListManager::Instance().GetWindowIcon(id);
}

const wchar_t* ScreenCaptureImpl::GetWindowTitle(int id) {
  return ShareListManager::Instance().GetWindowTitle(id);
}

void ScreenCaptureImpl::SetCanUseMagCapture(bool canUseMag) {
  QX_LOG_INFO("SetCanUseMagCapture: can_use_mag = {}", canUseMag);
  WindowsUtil::SetCanUseMagCapture(canUseMag);
}

void ScreenCaptureImpl::ShowCursor(bool show) {
  QX_TRACE("ScreenCaptureImpl::ShowCursor");
  keep(m_showCursor, show, &ScreenCaptureTask::ShowCursor);
}

void ScreenCaptureImpl::SetAutoActiveShareWindow(bool active) {
  QX_TRACE("ScreenCaptureImpl::SetAutoActiveShareWindow");
  keep(m_autoActiveShareWindow, active, &ScreenCaptureTask::SetAutoActiveShareWindow);
}

void ScreenCaptureImpl::EnablePromptWindow(bool enable) {
  QX_TRACE("ScreenCaptureImpl::EnablePromptWindow");
  keep(m_enablePromptWindow, enable, &ScreenCaptureTask::EnablePromptWindow);
}

void ScreenCaptureImpl::SetDynamicCheck(bool check) {
  QX_TRACE("ScreenCaptureImpl::SetDynamicCheck");
  tell(&ScreenCaptureTask::SetDynamicCheck, check);
}

void ScreenCaptureImpl::SetCaptureEngineConfig(const IScreenCapture::CaptureEngineType* types,
                                               int count, bool wgcPriority) {
  EngineTypeSet engineTypes;
  if (types && count > 0) {
    engineTypes.insert(types, types + count);
  }
  const DeferredLog afterTheLock;
  const std::lock_guard lock(m_mutex);
  if (m_task) {
    m_task->SetCaptureEngineConfig(engineTypes, wgcPriority);
  }
  m_engineTypes.swap(engineTypes);
  m_wgcPriority = wgcPriority;
}

void ScreenCaptureImpl::SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo* info) {
  QX_TRACE("ScreenCaptureImpl::SetPromptWindowInfo");
  if (!info) {
    return;
  }
  QX_LOG_INFO("ScreenCaptureImpl::SetPromptWindowInfo color r:{},g:{},b:{},width:{}", info->r,
              info->g, info->b, info->width);
  keep(m_promptWindowInfo, *info, &ScreenCaptureTask::SetPromptWindowInfo);
}

void ScreenCaptureImpl::SetCaptureFrameResolutionLimit(
    const IScreenCapture::ScreenFrameResolutionLimit& limit) {
  QX_TRACE("ScreenCaptureImpl::SetCaptureFrameResolutionLimit");
  QX_LOG_INFO(
      "set frame resolution limit, maxScreenWidth*maxScreenHeight={}x{}, maxScreenPixels: {}",
      limit.maxScreenWidth, limit.maxScreenHeight, limit.maxScreenPixels);
  keep(m_resolutionLimit, limit, &ScreenCaptureTask::SetCaptureFrameResolutionLimit);
}

void ScreenCaptureImpl::SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormat format) {
  QX_TRACE("ScreenCaptureImpl::SetScreenFrameFormatType");
  const DeferredLog afterTheLock;
  const std::lock_guard lock(m_mutex);
  QX_LOG_INFO("SetScreenFrameFormatType type:{} m_frameFormatType:{}",
              static_cast<std::int32_t>(format), static_cast<std::int32_t>(m_frameFormatType));
  if (format == m_frameFormatType) {
    return;
  }
  m_frameFormatType = format;
  if (m_task) {
    m_task->SetScreenFrameFormatType(format);
  }
}

void ScreenCaptureImpl::SetScreenCaptureConfig(const IScreenCapture::ScreenCaptureConfig& config) {
  QX_TRACE("ScreenCaptureImpl::SetScreenCaptureConfig");
  QX_LOG_INFO(
      "SetScreenCaptureConfig: KeepAliveInterval = {}, MovedWindowStableKeepMinDuration = {}, "
      "DynamicFrameCallback = {}, GetDirtyRectInfo = {}, scDynamicCheck = {}, "
      "scNewMouseCaptureWay = {}",
      config.KeepAliveInterval, config.MovedWindowStableKeepMinDuration,
      config.DynamicFrameCallback, config.GetDirtyRectInfo, config.scDynamicCheck,
      config.scNewMouseCaptureWay);
  keep(m_captureConfig, config, &ScreenCaptureTask::SetScreenCaptureConfig);
}

void ScreenCaptureImpl::SetCaptureFPS(int fps) {
  QX_TRACE("ScreenCaptureImpl::SetCaptureFPS");
  if (fps < 1 || fps > kMaxFps) {
    QX_LOG_WARN("set fps failed, please make sure your input is in (0, {}]", kMaxFps);
    return;
  }
  QX_LOG_INFO("set fps:{}", fps);
  keep(m_fps, fps, &ScreenCaptureTask::SetCaptureFPS);
}

bool ScreenCaptureImpl::ShareDesktop(void* context, int id, IScreenCapture::ShareListener* listener,
                                     IScreenCapture::ShareError& error) {
  QX_TRACE("ScreenCaptureImpl::ShareDesktop");
  QX_LOG_INFO("qx-sc:workflow:start share desktop:{}", id);
  // A listener that starts a share, of all things, must not wait for who stops its own.
  const std::unique_lock turn(m_turn, std::try_to_lock);
  if (!canShare("ShareDesktop", listener, turn.owns_lock(), error)) {
    return false;
  }
  const auto monitor = IdToHandle<HMONITOR>(id);
  MONITORINFOEXW info = {};
  info.cbSize = sizeof(info);
  if (!GetMonitorInfoW(monitor, &info)) {
    QX_LOG_ERROR("share desktop failed: desktop is not exit, desktop id = {}, error = {}", id,
                 static_cast<std::uint32_t>(GetLastError()));
    error = IScreenCapture::ShareErrorTargetMissing;
    return false;
  }
  // Anything that goes wrong from here on, a lack of memory too, is a failed start.
  error = IScreenCapture::ShareErrorStartFailed;
  const auto task =
      std::make_shared<CompleteTask<ScreenCaptureTaskDesktop>>(monitor, m_filterWindowManager);
  return runTask(task, context, listener, error);
}

bool ScreenCaptureImpl::ShareWindow(void* context, int id, IScreenCapture::ShareListener* listener,
                                    IScreenCapture::ShareError& error) {
  QX_TRACE("ScreenCaptureImpl::ShareWindow");
  QX_LOG_INFO("qx-sc:workflow:start share window:{}", id);
  const std::unique_lock turn(m_turn, std::try_to_lock);
  if (!canShare("ShareWindow", listener, turn.owns_lock(), error)) {
    return false;
  }
  const auto window = IdToHandle<HWND>(id);
  if (!IsWindow(window)) {
    QX_LOG_ERROR("share window failed: window is not exit window id = {}", id);
    error = IScreenCapture::ShareErrorTargetMissing;
    return false;
  }
  LogWindowPosition(window);
  error = IScreenCapture::ShareErrorStartFailed;
  const MainTrackWindowEntry* const tracked = matchTrackWindow(window);
  const auto task =
      std::make_shared<CompleteTask<ScreenCaptureTaskWindow>>(window, m_filterWindowManager);
  if (tracked) {
    QX_LOG_INFO("set auto track window:{}", tracked->source.className);
    task->SetAutoTrackWindow(tracked->target);
  }
  return runTask(task, context, listener, error);
}

bool ScreenCaptureImpl::canShare(const char* operation,
                                 const IScreenCapture::ShareListener* listener, bool isMyTurn,
                                 IScreenCapture::ShareError& error) {
  error = IScreenCapture::ShareErrorNone;
  if (!isMyTurn || presentTask()) {
    QX_LOG_ERROR("{} m_task is running, please stop first", operation);
    error = IScreenCapture::ShareErrorTaskRunning;
    return false;
  }
  if (!listener) {
    QX_LOG_ERROR("Share Listener is NULL, please pass in the correct parameter");
    error = IScreenCapture::ShareErrorNullListener;
    return false;
  }
  return true;
}

const MainTrackWindowEntry* ScreenCaptureImpl::matchTrackWindow(HWND window) const {
  QX_LOG_INFO("begin match main track window");
  const auto match = std::find_if(m_trackWindowRules.begin(), m_trackWindowRules.end(),
                                  [window](const MainTrackWindowEntry& entry) {
                                    return WindowsUtil::IsWindowMatchRule(window, entry.source);
                                  });
  const bool found = match != m_trackWindowRules.end();
  if (found) {
    QX_LOG_INFO("get main track window:{}", match - m_trackWindowRules.begin());
  }
  QX_LOG_INFO("end match main track window");
  return found ? &*match : nullptr;
}

void ScreenCaptureImpl::configure(ScreenCaptureTask& task) {
  task.EnablePromptWindow(m_enablePromptWindow);
  task.SetPromptWindowInfo(m_promptWindowInfo);
  task.SetCaptureFPS(m_fps);
  task.SetAutoActiveShareWindow(m_autoActiveShareWindow);
  task.ShowCursor(m_showCursor);
  task.EnableFilterWindowWhenShareDesktop(m_enableFilterWindow);
  task.SetScreenFrameFormatType(m_frameFormatType);
  task.SetCaptureFrameResolutionLimit(m_resolutionLimit);
  task.SetScreenCaptureConfig(m_captureConfig);
  task.SetCaptureEngineConfig(m_engineTypes, m_wgcPriority);
}

// The host hears of the start in the middle of this, and its window procedures may run
// while this waits. From there it may call back into this object. Should it even stop the
// share there, the references here keep what still runs.
bool ScreenCaptureImpl::runTask(const std::shared_ptr<ScreenCaptureTask>& task, void* context,
                                IScreenCapture::ShareListener* hostListener,
                                IScreenCapture::ShareError& error) {
  std::shared_ptr<ShareListenerWrapper> listener;
  {
    const DeferredLog afterTheLock;
    const std::lock_guard lock(m_mutex);
    const auto interval = static_cast<std::int32_t>(m_captureConfig.KeepAliveInterval);
    listener = std::make_shared<ShareListenerWrapper>(context, hostListener, interval);
    task->SetKeepLiveCallback(
        [wrapper = listener.get()](const IScreenCapture::ScreenFrameData* frame) {
          wrapper->OnKeepLiveFrame(frame);
        });
    configure(*task);
    m_listener = listener;
    m_task = task;
  }
  try {
    const bool started = task->Start(listener.get());
    if (started && presentTask() != task) {
      QX_LOG_WARN("the share was stopped while it started");
      task->Stop();
      return false;
    }
    if (started) {
      listener->OnStart();
      task->BeginCapture();
      error = IScreenCapture::ShareErrorNone;
      return true;
    }
  } catch (...) {
    QX_LOG_ERROR("start of the share ended by an exception");
    task->Stop();
  }
  const std::lock_guard lock(m_mutex);
  if (m_task == task) {
    m_task.reset();  // the caller has it still
  }
  return false;
}

std::shared_ptr<ScreenCaptureTask> ScreenCaptureImpl::presentTask() const {
  const std::lock_guard lock(m_mutex);
  return m_task;
}

void ScreenCaptureImpl::SharePause() {
  QX_TRACE("ScreenCaptureImpl::SharePause");
  tell(&ScreenCaptureTask::Pause);
}

void ScreenCaptureImpl::ShareResume() {
  QX_TRACE("ScreenCaptureImpl::ShareResume");
  tell(&ScreenCaptureTask::Resume);
}

void ScreenCaptureImpl::ShareStop() {
  QX_TRACE("ScreenCaptureImpl::ShareStop");
  QX_LOG_INFO("qx-sc:workflow:stop share");
  endTask();
}

void ScreenCaptureImpl::endTask() {
  std::shared_ptr<ScreenCaptureTask> task = presentTask();
  // What the host calls from a window procedure while this waits must find the share, and
  // must not end it a second time.
  if ((m_stopping && m_turn.IsMine()) || (task && task->IsCaptureThread())) {
    QX_LOG_WARN("the share is stopping, or a listener of its own stops it");
    return;
  }
  const std::lock_guard turn(m_turn);
  task = presentTask();
  if (task) {
    m_stopping = true;
    task->Stop();
    m_stopping = false;
  }
  // The task goes first, and neither under the lock.
  std::shared_ptr<ShareListenerWrapper> listener;
  {
    const std::lock_guard lock(m_mutex);
    m_task.reset();
    listener.swap(m_listener);
  }
  task.reset();
}

void ScreenCaptureImpl::GetCaptureRect(IScreenCapture::CaptureRect& rect) {
  const std::shared_ptr<ScreenCaptureTask> task = presentTask();
  if (task) {
    task->GetCaptureRect(rect);
  } else {
    rect = {-1, -1, -1, -1};
  }
}

}  // namespace qx
