#include "win/task/ScreenCaptureTaskWindow.h"

#include <dwmapi.h>

#include <algorithm>
#include <string>
#include <utility>

#include "win/util/Clock.h"
#include "common/Logging.h"
#include "win/source/WindowEnumeration.h"
#include "win/task/CaptureRects.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

using WindowsUtil::TrackWindowRule;

constexpr std::uint64_t kFilterChangeWaitMs = 600;
constexpr double kTrackIntervalMs = 1000.0;

// What a slide show's title ends in: the name of the document, without that of the
// application. Other applications don't say.
std::wstring DocumentName(HWND window) {
  if (WindowsUtil::GetWindowClassName(window) != "PPTFrameClass") {
    return {};
  }
  std::wstring title;
  WindowsUtil::GetWindowTitle(window, title);
  const std::size_t end = title.rfind(L" - ");
  return end == std::wstring::npos ? std::wstring() : title.substr(0, end);
}

}  // namespace

ScreenCaptureTaskWindow::ScreenCaptureTaskWindow(
    HWND window, std::shared_ptr<FilterWindowManager> filterWindowManager)
    : ScreenCaptureTask(std::move(filterWindowManager)), m_window(window) {
  QX_TRACE("ScreenCaptureTaskWindow::ScreenCaptureTaskWindow");
}

ScreenCaptureTaskWindow::~ScreenCaptureTaskWindow() {
  tearDown();
  stopThread();
}

bool ScreenCaptureTaskWindow::Start(ShareListenerWrapper* listener, bool showPrompt) {
  if (isRunning() || !canRun()) {
    return false;
  }
  if (IsIconic(m_window)) {
    ShowWindow(m_window, SW_RESTORE);
  }
  if (!readRect(m_rectWindow)) {
    QX_LOG_ERROR("GetCaptureRect failed");
    return false;
  }
  if (!updateDesktopRect(m_rectWindow)) {
    return false;
  }
  IntersectRect(&m_rectCapture, &m_rectDesktop, &m_rectWindow);
  setCaptureRect(ToCaptureRect(m_rectCapture));
  m_listener = listener;
  if (!createFirstEngine(copySettings())) {
    QX_LOG_ERROR("createEngine failed");
    return false;
  }
  m_enablePrompt = showPrompt;
  static_cast<void>(m_timer.Run([this] {
    openPrompt();
    activateWindow();
  }));
  enterRunning();
  m_aeroPeek.TurnOff();
  return true;
}

void ScreenCaptureTaskWindow::BeginCapture() {
  ScreenCaptureTask::BeginCapture();
  if (isRunning()) {
    startTrackTimer();
  }
}

// The tick first: one in progress may yet start the search for a slide show.
void ScreenCaptureTaskWindow::tearDown() {
  stopTicks();
  stopTrackTimer();
  static_cast<void>(m_timer.Run([this] { m_promptWindow.reset(); }));
  releaseEngine();
  m_aeroPeek.PutBack();
}

// At once, between two ticks. Nobody waits for it.
void ScreenCaptureTaskWindow::onCaptureThread(ThreadTimer::Function work) {
  if (isRunning()) {
    m_timer.AddTask(0.0, 0.0, true, std::move(work));
  }
}

void ScreenCaptureTaskWindow::Resume() {
  ScreenCaptureTask::Resume();
  onCaptureThread([this] { activateWindow(); });
}

void ScreenCaptureTaskWindow::EnablePromptWindow(bool enable) {
  m_enablePrompt = enable;
  onCaptureThread([this] {
    if (m_promptWindow) {
      m_promptWindow->ShowPrompt(m_enablePrompt);
    }
  });
}

void ScreenCaptureTaskWindow::SetPromptWindowInfo(const PromptWindowInfo& info) {
  ScreenCaptureTask::SetPromptWindowInfo(info);
  onCaptureThread([this] {
    if (m_promptWindow) {
      m_promptWindow->SetPromptWindowInfo(copySettings().promptWindowInfo);
    }
  });
}

void ScreenCaptureTaskWindow::SetAutoActiveShareWindow(bool active) {
  QX_LOG_INFO("qx-sc:config:auto active share window {}", active);
  m_autoActive = active;
}

void ScreenCaptureTaskWindow::SetAutoTrackWindow(const TrackWindowRule& rule) {
  m_trackWindow = rule;
}

bool ScreenCaptureTaskWindow::createEngine(const Settings& settings) {
  EngineProxySettings proxy = proxySettings(
      settings,
      [this](const RECT& rect, std::vector<HWND>& windows) { listCoveringWindows(rect, windows); });
  return adoptEngine(std::make_unique<ScreenCaptureEngineProxy>(m_window, std::move(proxy)),
                     settings);
}

void ScreenCaptureTaskWindow::captureStep(const Settings& settings, std::uint64_t nowMs) {
  if (!IsWindow(m_window)) {
    handleWindowGone();
    return;
  }
  auto status = WindowCaptureStatus::Failed;
  const bool captured = captureFrame(settings, nowMs, status);
  updatePrompt(captured || status == WindowCaptureStatus::PauseInvoked);
  if (captured) {
    ResumeShare();
  } else {
    handleStatus(status, nowMs);
  }
}

// True when a picture was delivered or the last one still counts.
bool ScreenCaptureTaskWindow::captureFrame(const Settings& settings, std::uint64_t nowMs,
                                           WindowCaptureStatus& status) {
  status = WindowCaptureStatus::Failed;
  if (!WindowsUtil::IsWindowOnCurrentVirtualDesktop(m_window)) {
    status = WindowCaptureStatus::OtherDesktop;
    return false;
  }
  RECT rect = {};
  if (!readRect(rect)) {
    QX_LOG_LIMITED(LogLevelError, "GetCaptureRect failed");
    return false;
  }
  if (isHidden(settings, nowMs)) {
    status = WindowCaptureStatus::Hidden;
    return false;
  }
  if (!EqualRect(&rect, &m_rectWindow)) {
    m_rectWindow = rect;
    followWindow(rect);
    m_nextCaptureTime = nowMs + settings.config.MovedWindowStableKeepMinDuration;
    status = WindowCaptureStatus::Moved;
    return false;
  }
  if (!updateDesktopRect(rect)) {
    status = WindowCaptureStatus::OffScreen;
    return false;
  }
  if (!IntersectRect(&m_rectCapture, &m_rectDesktop, &m_rectWindow)) {
    QX_LOG_LIMITED(
        LogLevelWarn,
        "rectDesktop and rectWindow IntersectRect is null, desktop:{},{},{},{} rcWnd:{},{},{},{}",
        static_cast<std::int32_t>(m_rectDesktop.left), static_cast<std::int32_t>(m_rectDesktop.top),
        static_cast<std::int32_t>(m_rectDesktop.right),
        static_cast<std::int32_t>(m_rectDesktop.bottom), static_cast<std::int32_t>(rect.left),
        static_cast<std::int32_t>(rect.top), static_cast<std::int32_t>(rect.right),
        static_cast<std::int32_t>(rect.bottom));
    return false;
  }
  if (!m_engine->IsDesktopBased()) {
    m_rectCapture = rect;
  }
  Shot shot;
  shot.rect = ToCaptureRect(m_rectCapture);
  setCaptureRect(shot.rect);
  if (m_pauseInvoke) {
    status = WindowCaptureStatus::PauseInvoked;
    return false;
  }
  return chooseTargetSize(shot) && capture(settings, shot, status);
}

bool ScreenCaptureTaskWindow::capture(const Settings& settings, Shot& shot,
                                      WindowCaptureStatus& status) {
  m_engine->SetTargetSize(shot.targetWidth, shot.targetHeight);
  shot.timestamp = SystemMicros();
  auto result = CaptureResult::Failed;
  if (m_engine->Capture(shot.rect.x, shot.rect.y, shot.rect.width, shot.rect.height, m_captureFrame,
                        result)) {
    deliverCapture(settings, shot);
    return true;
  }
  QX_LOG_LIMITED(LogLevelError, "ScreenCaptureEngine Capture window failed");
  switch (result) {
    case CaptureResult::NoChange:
      deliverUnchanged(settings, shot.timestamp);
      return true;
    case CaptureResult::FilterFailed:
      status = WindowCaptureStatus::FilterFailed;
      return false;
    case CaptureResult::FilterChanged:
      status = WindowCaptureStatus::FilterChanged;
      return false;
    default:
      status = WindowCaptureStatus::EngineFailed;
      return false;
  }
}

// And the style, for the rest of the tick.
bool ScreenCaptureTaskWindow::readRect(RECT& rect) {
  m_style = WindowsUtil::StyleOf(m_window, GWL_STYLE);
  return WindowsUtil::GetCaptureRect(m_window, m_style, rect);
}

// A window that has just come back still counts: it is given time to draw itself.
bool ScreenCaptureTaskWindow::isHidden(const Settings& settings, std::uint64_t nowMs) {
  if (!IsWindowVisible(m_window) || WindowsUtil::HasAllBitsOf(m_style, WS_MINIMIZE)) {
    m_windowShown = false;
    return true;
  }
  if (!m_windowShown) {
    m_windowShown = true;
    m_nextCaptureTime = nowMs + settings.config.MovedWindowStableKeepMinDuration;
    return true;
  }
  return WindowsUtil::IsWindows8Point1OrGreater() && WindowsUtil::IsWindowCloaked(m_window);
}

void ScreenCaptureTaskWindow::handleStatus(WindowCaptureStatus status, std::uint64_t nowMs) {
  switch (status) {
    case WindowCaptureStatus::Failed:
      PauseShare(IScreenCapture::PauseReasonCaptureFailed);
      break;
    case WindowCaptureStatus::Hidden:
      PauseShare(IScreenCapture::PauseReasonWindowHidden);
      break;
    case WindowCaptureStatus::Moved:
      PauseShare(IScreenCapture::PauseReasonWindowMoved);
      break;
    case WindowCaptureStatus::OtherDesktop:
      PauseShare(IScreenCapture::PauseReasonOtherVirtualDesktop);
      break;
    case WindowCaptureStatus::EngineFailed:
      handleEngineFailure(nowMs);
      break;
    case WindowCaptureStatus::OffScreen:
      handleOffScreen();
      break;
    case WindowCaptureStatus::FilterFailed:
      PauseShare(IScreenCapture::PauseReasonFilterFailed);
      break;
    case WindowCaptureStatus::PauseInvoked:
      PauseShare(IScreenCapture::PauseReasonInvoked);
      break;
    case WindowCaptureStatus::FilterChanged:
      m_nextCaptureTime = nowMs + kFilterChangeWaitMs;
      break;
  }
}

void ScreenCaptureTaskWindow::handleOffScreen() {
  std::vector<HMONITOR> monitors;
  WindowsUtil::EnumMonitorHandles(monitors);
  if (!monitors.empty()) {
    PauseShare(IScreenCapture::PauseReasonWindowHidden);
    return;
  }
  QX_LOG_WARN("screen disconnect");
  endShare();
}

void ScreenCaptureTaskWindow::handleEngineFailure(std::uint64_t nowMs) {
  if (WindowsUtil::IsScreenLocked()) {
    QX_LOG_WARN("screen lock");
    endShare();
  } else if (WindowsUtil::IsUacPrompt()) {
    waitForSecureDesktop(nowMs);
  } else {
    PauseShare(IScreenCapture::PauseReasonCaptureFailed);
  }
}

void ScreenCaptureTaskWindow::handleWindowGone() {
  QX_LOG_WARN("window destroy");
  if (m_backWindow) {
    QX_LOG_INFO("track window destroy, back capture");
    if (changeCaptureWindow(m_backWindow)) {
      m_backWindow = nullptr;
      startTrackTimer();
      return;
    }
    QX_LOG_INFO("back capture failed");
  }
  endShare();
}

void ScreenCaptureTaskWindow::followWindow(const RECT& rect) {
  RECT whole = {};  // with the invisible frame
  if (GetWindowRect(m_window, &whole)) {
    QX_LOG_LIMITED(LogLevelInfo, "updateDesktopRect window rectWnd = {},{},{},{}",
                   static_cast<std::int32_t>(whole.left), static_cast<std::int32_t>(whole.top),
                   static_cast<std::int32_t>(whole.right), static_cast<std::int32_t>(whole.bottom));
  }
  updateDesktopRect(rect);
  reportShareRect();
}

// `rect` is what is to be captured of the window. False, with an empty rectangle, when
// it is on no monitor.
bool ScreenCaptureTaskWindow::updateDesktopRect(const RECT& rect) {
  RECT overlap = {};
  // Most windows lie on one monitor, which then is the one with most of them. Looking
  // at all monitors again would cost more than the rest of a tick.
  const bool onOneMonitor = WindowsUtil::IsWindowInOneMonitor(m_window, m_style, m_rectDesktop);
  if (onOneMonitor && WindowsUtil::RectsIntersect(m_rectDesktop, rect, overlap)) {
    return true;
  }
  m_rectDesktop = {};
  WindowsUtil::GetMonitorRects(!onOneMonitor, m_monitorRects);
  std::int64_t largest = 0;
  for (const RECT& candidate : m_monitorRects) {
    if (WindowsUtil::RectsIntersect(candidate, rect, overlap) &&
        WindowsUtil::AreaOf(overlap) > largest) {
      largest = WindowsUtil::AreaOf(overlap);
      m_rectDesktop = candidate;
    }
  }
  if (largest == 0) {
    QX_LOG_LIMITED(LogLevelError, "updateDesktopRect:rectDesktop empty");
    return false;
  }
  return true;
}

void ScreenCaptureTaskWindow::reportShareRect() {
  if (!WindowsUtil::IsRectOnAnyMonitor(m_rectDesktop)) {
    return;
  }
  RECT shown = m_rectWindow;
  if (m_engine->IsDesktopBased() && !IntersectRect(&shown, &m_rectDesktop, &m_rectWindow)) {
    return;
  }
  const CaptureRect rect = ToCaptureRect(shown);
  if (!SameRect(rect, m_reportedRect)) {
    m_reportedRect = rect;
    m_listener->OnShareRectChanged(rect.x, rect.y, rect.width, rect.height);
  }
}

// Whatever covers the window is kept out, but for what the host wants to show.
void ScreenCaptureTaskWindow::listCoveringWindows(const RECT& rect, std::vector<HWND>& windows) {
  windows.clear();
  if (const HWND prompt = m_promptWindow ? m_promptWindow->GetHwnd() : nullptr) {
    windows.push_back(prompt);
  }
  WindowsUtil::GetWindowsAbove(m_window, rect, windows);
  std::erase_if(windows, [this](HWND window) {
    const bool included = m_filterWindowManager->IsIncludedWindow(window);
    if (included) {
      QX_LOG_LIMITED(LogLevelInfo, "include Window {:#08x} when capture",
                     reinterpret_cast<std::uintptr_t>(window));
    }
    return included;
  });
}

// A share without its frame is still a share.
void ScreenCaptureTaskWindow::openPrompt() {
  auto prompt = std::make_unique<PromptWindow>(m_window, m_enablePrompt);
  prompt->SetPromptWindowInfo(copySettings().promptWindowInfo);
  if (!prompt->Start()) {
    return;
  }
  if (GetWindowLongPtrW(m_window, GWL_EXSTYLE) & WS_EX_TOPMOST) {
    prompt->SetTopmost();
  }
  m_promptWindow = std::move(prompt);
}

void ScreenCaptureTaskWindow::updatePrompt(bool show) {
  if (m_promptWindow) {
    m_promptWindow->UpdatePosition(show && m_enablePrompt,
                                   m_engine->IsDesktopBased() ? m_rectDesktop : m_rectCapture,
                                   m_rectCapture);
  }
}

// The system lets a thread raise windows that shares its input with the foreground.
void ScreenCaptureTaskWindow::activateWindow() {
  if (!m_autoActive) {
    return;
  }
  const DWORD foreground = GetWindowThreadProcessId(GetForegroundWindow(), nullptr);
  const DWORD self = GetCurrentThreadId();
  const bool attached = foreground != 0 && AttachThreadInput(foreground, self, TRUE);
  BringWindowToTop(m_window);
  if (attached) {
    AttachThreadInput(foreground, self, FALSE);
  }
}

void ScreenCaptureTaskWindow::startTrackTimer() {
  if (!m_trackWindow.className.empty()) {
    m_trackTimerTask = m_timer.AddPeriodicTask(0.0, kTrackIntervalMs, [this] { trackStep(); });
  }
}

void ScreenCaptureTaskWindow::stopTrackTimer() {
  m_timer.RemoveTask(m_trackTimerTask.exchange(ThreadTimer::kNoTask));
}

void ScreenCaptureTaskWindow::trackStep() {
  if (!isCapturing()) {
    return;
  }
  const std::wstring document = DocumentName(m_window);
  // A window that is gone has no name, and any slide show would pass for its own.
  if (!IsWindow(m_window)) {
    return;
  }
  const HWND found = WindowsUtil::FindTrackWindow(m_trackWindow, document);
  if (!found || found == m_window) {
    return;
  }
  QX_LOG_INFO("find track window:{}, change capture", m_trackWindow.className);
  m_backWindow = m_window;
  if (changeCaptureWindow(found)) {
    stopTrackTimer();
    return;
  }
  QX_LOG_INFO("change capture track window failed:{}", m_trackWindow.className);
  endShare();
}

bool ScreenCaptureTaskWindow::changeCaptureWindow(HWND window) {
  if (!IsWindow(window) || !isRunning()) {
    return false;
  }
  m_window = window;
  m_listener->OnShareWindowChanged(HandleToId(window), 0);
  if (IsIconic(window)) {
    ShowWindow(window, SW_RESTORE);
  }
  RECT rect = {};
  if (readRect(rect)) {
    updateDesktopRect(rect);
  } else {
    QX_LOG_ERROR("updateDesktopRect:GetCaptureRect failed");
    m_rectDesktop = {};
  }
  destroyEngine();
  if (!createEngine(copySettings())) {
    QX_LOG_ERROR("createEngine failed");
    return false;
  }
  m_promptWindow.reset();
  openPrompt();
  activateWindow();
  return true;
}

}  // namespace qx
