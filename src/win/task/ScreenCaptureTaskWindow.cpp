#include "win/task/ScreenCaptureTaskWindow.h"

#include <dwmapi.h>

#include <algorithm>
#include <utility>

#include "common/Logging.h"
#include "win/source/WindowEnumeration.h"
#include "win/task/CaptureRects.h"
#include "win/util/Clock.h"
#include "win/util/RunClosed.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"
#include "win/util/WindowActions.h"

namespace qx {
namespace {

constexpr std::uint64_t kFilterChangeWaitMs = 600;

}  // namespace

ScreenCaptureTaskWindow::ScreenCaptureTaskWindow(
    HWND window, std::shared_ptr<FilterWindowManager> filterWindowManager)
    : ScreenCaptureTask(std::move(filterWindowManager)), m_window(window), m_slideShow(timer()) {
  QX_TRACE("ScreenCaptureTaskWindow::ScreenCaptureTaskWindow");
}

bool ScreenCaptureTaskWindow::prepare() {
  WindowsUtil::RestoreWindow(m_window);
  readWindowRect();
  if (!readRect(m_rectWindow)) {
    QX_LOG_ERROR("GetCaptureRect failed");
    return false;
  }
  if (!updateDesktopRect(m_rectWindow)) {
    return false;
  }
  IntersectRect(&m_rectCapture, &m_rectDesktop, &m_rectWindow);
  setCaptureRect(ToCaptureRect(m_rectCapture));
  if (!createEngine()) {
    QX_LOG_ERROR("createEngine failed");
    return false;
  }
  return true;
}

void ScreenCaptureTaskWindow::surround() {
  openPrompt();
  m_aeroPeek.TurnOff();
}

// What belongs to the user first.
void ScreenCaptureTaskWindow::release() {
  m_aeroPeek.PutBack();
  m_promptWindow.reset();
}

void ScreenCaptureTaskWindow::raise() {
  if (settings().autoActive) {
    WindowsUtil::RaiseWindow(m_window);
  }
}

void ScreenCaptureTaskWindow::changePrompt(const ShareWishes& wishes) {
  if (!m_promptWindow) {
    return;
  }
  if (wishes.newShowPrompt) {
    m_promptWindow->ShowPrompt(settings().showPrompt);
  }
  if (wishes.newLook) {
    m_promptWindow->SetPromptWindowInfo(settings().promptWindowInfo);
  }
}

void ScreenCaptureTaskWindow::SetAutoActiveShareWindow(bool active) {
  QX_LOG_INFO("qx-sc:config:auto active share window {}", active);
  wish([active](ShareWishes& wishes) { wishes.settings.autoActive = active; });
}

void ScreenCaptureTaskWindow::SetAutoTrackWindow(const WindowsUtil::TrackWindowRule& rule) {
  m_slideShow.SetRule(rule);
}

std::unique_ptr<ScreenCaptureEngineProxy> ScreenCaptureTaskWindow::makeEngine() {
  return std::make_unique<ScreenCaptureEngineProxy>(
      m_window, proxySettings([this](const RECT& rect, std::vector<HWND>& windows) {
        static_cast<void>(listCoveringWindows(rect, windows));
        m_coveredBy = windows;
        m_cutsOut = true;
      }));
}

void ScreenCaptureTaskWindow::captureStep(std::uint64_t nowMs) {
  if (!IsWindow(m_window)) {
    handleWindowGone();
    return;
  }
  readWindowRect();
  auto status = WindowCaptureStatus::Failed;
  const bool captured = captureFrame(nowMs, status);
  updatePrompt(captured || status == WindowCaptureStatus::PauseInvoked);
  if (captured) {
    pauseMachine().Resume();
  } else {
    handleStatus(status, nowMs);
  }
}

// True when a picture was delivered or the last one still counts.
bool ScreenCaptureTaskWindow::captureFrame(std::uint64_t nowMs, WindowCaptureStatus& status) {
  status = WindowCaptureStatus::Failed;
  if (!m_virtualDesktops.IsWindowOnCurrentVirtualDesktop(m_window)) {
    status = WindowCaptureStatus::OtherDesktop;
    return false;
  }
  RECT rect = {};
  if (!readRect(rect)) {
    QX_LOG_LIMITED(LogLevelError, "GetCaptureRect failed");
    return false;
  }
  if (isHidden(nowMs)) {
    status = WindowCaptureStatus::Hidden;
    return false;
  }
  if (!EqualRect(&rect, &m_rectWindow)) {
    m_rectWindow = rect;
    updateDesktopRect(rect);
    reportShareRect();
    holdOff(nowMs + settings().config.MovedWindowStableKeepMinDuration);
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
  if (!engine()->IsDesktopBased()) {
    m_rectCapture = rect;
  }
  Shot shot;
  shot.rect = ToCaptureRect(m_rectCapture);
  setCaptureRect(shot.rect);
  if (pauseMachine().IsInvoked()) {
    status = WindowCaptureStatus::PauseInvoked;
    return false;
  }
  return delivery().ChooseTargetSize(settings(), shot) && capture(shot, status);
}

bool ScreenCaptureTaskWindow::capture(Shot& shot, WindowCaptureStatus& status) {
  aimEngine(shot);
  shot.timestamp = SystemMicros();
  auto result = CaptureResult::Failed;
  m_cutsOut = false;
  if (engine()->Capture(shot.rect.x, shot.rect.y, shot.rect.width, shot.rect.height,
                        delivery().Frame(), result)) {
    if (hasChangedMeanwhile()) {
      dropPicture();
    } else {
      delivery().DeliverCapture(settings(), shot);
    }
    return true;
  }
  QX_LOG_LIMITED(LogLevelError, "ScreenCaptureEngine Capture window failed");
  switch (result) {
    case CaptureResult::NoChange:
      delivery().DeliverUnchanged(settings(), shot);
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

// A copy of the screen shows what is behind the window when that goes away, or goes below
// another one, in the middle of a capture.
bool ScreenCaptureTaskWindow::hasChangedMeanwhile() {
  if (!engine()->IsDesktopBased()) {
    return false;
  }
  RECT rect = {};
  if (!readRect(rect) || !EqualRect(&rect, &m_rectWindow) || isOutOfSight() || isCloaked()) {
    return true;
  }
  if (!m_cutsOut) {
    return false;
  }
  return !listCoveringWindows(m_rectCapture, m_nowCoveredBy) || m_nowCoveredBy != m_coveredBy;
}

// With the invisible frame, as of this tick.
void ScreenCaptureTaskWindow::readWindowRect() {
  RECT rect = {};
  if (!GetWindowRect(m_window, &rect) || EqualRect(&rect, &m_lastWindowRect)) {
    return;
  }
  m_lastWindowRect = rect;
  QX_LOG_LIMITED(LogLevelInfo, "updateDesktopRect window rectWnd = {},{},{},{}",
                 static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(rect.top),
                 static_cast<std::int32_t>(rect.right), static_cast<std::int32_t>(rect.bottom));
}

// And the style, for the rest of the tick.
bool ScreenCaptureTaskWindow::readRect(RECT& rect) {
  m_style = WindowsUtil::StyleOf(m_window, GWL_STYLE);
  return WindowsUtil::GetCaptureRect(m_window, m_style, rect);
}

bool ScreenCaptureTaskWindow::isOutOfSight() const {
  return !IsWindowVisible(m_window) || WindowsUtil::HasAllBitsOf(m_style, WS_MINIMIZE);
}

bool ScreenCaptureTaskWindow::isCloaked() const {
  return WindowsUtil::IsWindows8Point1OrGreater() && WindowsUtil::IsWindowCloaked(m_window);
}

// A window that has just come back still counts: it is given time to draw itself.
bool ScreenCaptureTaskWindow::isHidden(std::uint64_t nowMs) {
  if (isOutOfSight()) {
    m_windowShown = false;
    return true;
  }
  if (!m_windowShown) {
    m_windowShown = true;
    holdOff(nowMs + settings().config.MovedWindowStableKeepMinDuration);
    return true;
  }
  return isCloaked();
}

void ScreenCaptureTaskWindow::handleStatus(WindowCaptureStatus status, std::uint64_t nowMs) {
  switch (status) {
    case WindowCaptureStatus::Failed:
      pauseMachine().Pause(IScreenCapture::PauseReasonCaptureFailed);
      break;
    case WindowCaptureStatus::Hidden:
      pauseMachine().Pause(IScreenCapture::PauseReasonWindowHidden);
      break;
    case WindowCaptureStatus::Moved:
      pauseMachine().Pause(IScreenCapture::PauseReasonWindowMoved);
      break;
    case WindowCaptureStatus::OtherDesktop:
      pauseMachine().Pause(IScreenCapture::PauseReasonOtherVirtualDesktop);
      break;
    case WindowCaptureStatus::EngineFailed:
      handleEngineFailure(nowMs);
      break;
    case WindowCaptureStatus::OffScreen:
      handleOffScreen();
      break;
    case WindowCaptureStatus::FilterFailed:
      pauseMachine().Pause(IScreenCapture::PauseReasonFilterFailed);
      break;
    case WindowCaptureStatus::PauseInvoked:
      pauseMachine().Pause(IScreenCapture::PauseReasonInvoked);
      break;
    case WindowCaptureStatus::FilterChanged:
      holdOff(nowMs + kFilterChangeWaitMs);
      break;
  }
}

void ScreenCaptureTaskWindow::handleOffScreen() {
  std::vector<HMONITOR> monitors;
  WindowsUtil::EnumMonitorHandles(monitors);
  if (!monitors.empty()) {
    pauseMachine().Pause(IScreenCapture::PauseReasonWindowHidden);
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
    pauseMachine().Pause(IScreenCapture::PauseReasonCaptureFailed);
  }
}

void ScreenCaptureTaskWindow::handleWindowGone() {
  QX_LOG_WARN("window destroy");
  if (const HWND main = m_slideShow.MainWindow()) {
    QX_LOG_INFO("track window destroy, back capture");
    if (changeCaptureWindow(main)) {
      m_slideShow.SetMainWindow(nullptr);
      watchForSlideShow();
      return;
    }
    QX_LOG_INFO("back capture failed");
  }
  endShare();
}

// `rect` is what is to be captured of the window. False, with an empty rectangle, when
// it is on no monitor.
bool ScreenCaptureTaskWindow::updateDesktopRect(const RECT& rect) {
  RECT overlap = {};
  // Most windows lie on one monitor, which then is the one with most of them. Looking
  // at all monitors again would cost more than the rest of a tick.
  const bool onOneMonitor =
      WindowsUtil::IsWindowInOneMonitor(m_lastWindowRect, m_style, m_rectDesktop);
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
  if (engine()->IsDesktopBased() && !IntersectRect(&shown, &m_rectDesktop, &m_rectWindow)) {
    return;
  }
  const CaptureRect rect = ToCaptureRect(shown);
  if (!SameRect(rect, m_reportedRect)) {
    m_reportedRect = rect;
    listener().OnShareRectChanged(rect.x, rect.y, rect.width, rect.height);
  }
}

// Whatever covers the window is kept out, but for what the host wants to show. False when
// there may be more.
bool ScreenCaptureTaskWindow::listCoveringWindows(const RECT& rect,
                                                  std::vector<HWND>& windows) const {
  windows.clear();
  if (const HWND prompt = m_promptWindow ? m_promptWindow->GetHwnd() : nullptr) {
    windows.push_back(prompt);
  }
  const bool all = WindowsUtil::GetWindowsAbove(m_window, rect, windows) ||
                   WindowsUtil::HasAllBitsOf(m_style, WS_CHILD);
  std::erase_if(windows, [this](HWND window) {
    const bool included = filterWindowManager().IsIncludedWindow(window);
    if (included) {
      QX_LOG_LIMITED(LogLevelInfo, "include Window {:#08x} when capture",
                     reinterpret_cast<std::uintptr_t>(window));
    }
    return included;
  });
  return all;
}

// A share without its frame is still a share.
void ScreenCaptureTaskWindow::openPrompt() {
  RunClosed("the start of a prompt frame met an exception", [this] {
    auto prompt = std::make_unique<PromptWindow>(m_window, settings().showPrompt);
    prompt->SetPromptWindowInfo(settings().promptWindowInfo);
    if (!prompt->Start()) {
      return;
    }
    if (GetWindowLongPtrW(m_window, GWL_EXSTYLE) & WS_EX_TOPMOST) {
      prompt->SetTopmost();
    }
    m_promptWindow = std::move(prompt);
  });
}

void ScreenCaptureTaskWindow::updatePrompt(bool show) {
  if (m_promptWindow) {
    m_promptWindow->UpdatePosition(show && settings().showPrompt,
                                   engine()->IsDesktopBased() ? m_rectDesktop : m_rectCapture,
                                   m_rectCapture);
  }
}

void ScreenCaptureTaskWindow::watchForSlideShow() {
  m_slideShow.Start([this] { lookForSlideShow(); });
}

void ScreenCaptureTaskWindow::lookForSlideShow() {
  const HWND main = m_window;
  const HWND found = isCapturing() ? m_slideShow.Find(main) : nullptr;
  if (!found) {
    return;
  }
  QX_LOG_INFO("find track window:{}, change capture", m_slideShow.ClassName());
  if (changeCaptureWindow(found)) {
    m_slideShow.SetMainWindow(main);
    m_slideShow.Stop();
    return;
  }
  // One that has closed meanwhile was not found.
  if (!IsWindow(found) && (m_window == main || changeCaptureWindow(main))) {
    return;
  }
  QX_LOG_INFO("change capture track window failed:{}", m_slideShow.ClassName());
  endShare();
}

bool ScreenCaptureTaskWindow::changeCaptureWindow(HWND window) {
  if (!IsWindow(window) || !isRunning()) {
    return false;
  }
  m_window = window;
  listener().OnShareWindowChanged(HandleToId(window), 0);
  // The host knows of the move: a lack of memory must not leave it half done.
  bool made = false;
  RunClosed("a change of window met an exception", [&] {
    WindowsUtil::RestoreWindow(window);
    readWindowRect();
    RECT rect = {};
    if (readRect(rect)) {
      updateDesktopRect(rect);
    } else {
      QX_LOG_ERROR("updateDesktopRect:GetCaptureRect failed");
      m_rectDesktop = {};
    }
    destroyEngine();
    made = createEngine();
  });
  if (!made) {
    QX_LOG_ERROR("createEngine failed");
    return false;
  }
  m_promptWindow.reset();
  openPrompt();
  RunClosed("raising a window met an exception", [this] { raise(); });
  return true;
}

}  // namespace qx
