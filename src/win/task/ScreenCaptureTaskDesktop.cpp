#include "win/task/ScreenCaptureTaskDesktop.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "common/Logging.h"
#include "win/source/WindowEnumeration.h"
#include "win/task/CaptureRects.h"
#include "win/util/Clock.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

bool ReadMonitor(HMONITOR monitor, MONITORINFOEXW& info) {
  info = {};
  info.cbSize = sizeof(info);
  return GetMonitorInfoW(monitor, &info) != FALSE;
}

}  // namespace

ScreenCaptureTaskDesktop::ScreenCaptureTaskDesktop(
    HMONITOR monitor, std::shared_ptr<FilterWindowManager> filterWindowManager)
    : ScreenCaptureTask(std::move(filterWindowManager)), m_monitor(monitor) {
  QX_TRACE("ScreenCaptureTaskDesktop::ScreenCaptureTaskDesktop");
}

bool ScreenCaptureTaskDesktop::prepare() {
  MONITORINFOEXW info;
  if (!ReadMonitor(m_monitor, info)) {
    QX_LOG_ERROR("GetMonitorInfo failed,error:{}", static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  m_deviceName = info.szDevice;
  m_monitorRect = info.rcMonitor;
  setCaptureRect(ToCaptureRect(m_monitorRect));
  if (!createEngine()) {
    QX_LOG_ERROR("CreateEngine failed");
    return false;
  }
  return true;
}

void ScreenCaptureTaskDesktop::surround() {
  m_promptDesktop = std::make_unique<PromptDesktop>(m_monitorRect, settings().showPrompt);
  m_promptDesktop->SetPromptWindowInfo(settings().promptWindowInfo);
  // A share without its frame is still a share.
  static_cast<void>(m_promptDesktop->Start());
}

void ScreenCaptureTaskDesktop::release() { m_promptDesktop.reset(); }

void ScreenCaptureTaskDesktop::changePrompt(const ShareWishes& wishes) {
  if (!m_promptDesktop) {
    return;
  }
  if (wishes.newShowPrompt) {
    m_promptDesktop->Show(settings().showPrompt);
  }
  if (wishes.newLook) {
    m_promptDesktop->SetPromptWindowInfo(settings().promptWindowInfo);
  }
}

void ScreenCaptureTaskDesktop::EnableFilterWindowWhenShareDesktop(bool enable) {
  QX_LOG_INFO("qx-sc:config:enable filter window {}", enable);
  wish([enable](ShareWishes& wishes) {
    if (enable != wishes.settings.enableFilterWindow) {
      wishes.settings.enableFilterWindow = enable;
      wishes.rebuildForFilter = true;
      // What was meant for the engine that goes.
      wishes.dynamicCheck.reset();
    }
  });
}

std::unique_ptr<ScreenCaptureEngineProxy> ScreenCaptureTaskDesktop::makeEngine() {
  return std::make_unique<ScreenCaptureEngineProxy>(
      m_monitor, proxySettings([this](const RECT&, std::vector<HWND>& windows) {
        listExcludedWindows(windows);
        m_excluded = windows;
        m_leavesOut = true;
      }));
}

void ScreenCaptureTaskDesktop::captureStep(std::uint64_t nowMs) {
  if (!updateMonitorRect()) {
    QX_LOG_WARN("update capture frame size failed");
    endShare();
    return;
  }
  Shot shot;
  shot.rect = ToCaptureRect(m_monitorRect);
  if (shot.rect.width == 0 || shot.rect.height == 0) {
    return;
  }
  followRect(shot.rect);
  if (pauseMachine().IsInvoked()) {
    pauseMachine().Pause(IScreenCapture::PauseReasonInvoked);
    return;
  }
  pauseMachine().Resume();
  if (!delivery().ChooseTargetSize(settings(), shot)) {
    return;
  }
  aimEngine(shot);
  shot.timestamp = SystemMicros();
  auto result = CaptureResult::Failed;
  m_leavesOut = false;
  if (engine()->Capture(shot.rect.x, shot.rect.y, shot.rect.width, shot.rect.height,
                        delivery().Frame(), result)) {
    if (mayShowExcluded()) {
      dropPicture();
    } else {
      delivery().DeliverCapture(settings(), shot);
    }
  } else if (result == CaptureResult::NoChange) {
    delivery().DeliverUnchanged(settings(), shot);
  } else {
    handleCaptureFailure(nowMs);
  }
}

// A window may have come into sight after the engine was told what to leave out.
bool ScreenCaptureTaskDesktop::mayShowExcluded() {
  if (!m_leavesOut || !filterWindowManager().HasExcludeWindows()) {
    return false;
  }
  listExcludedWindows(m_nowExcluded);
  return !m_knowsWindows ||
         std::any_of(m_nowExcluded.begin(), m_nowExcluded.end(), [this](HWND window) {
           return std::find(m_excluded.begin(), m_excluded.end(), window) == m_excluded.end();
         });
}

void ScreenCaptureTaskDesktop::followRect(const CaptureRect& rect) {
  CaptureRect old;
  GetCaptureRect(old);
  if (SameRect(rect, old)) {
    return;
  }
  setCaptureRect(rect);
  listener().OnShareRectChanged(rect.x, rect.y, rect.width, rect.height);
  if (m_promptDesktop) {
    m_promptDesktop->UpdatePosition(rect.x, rect.y, rect.width, rect.height);
  }
}

// What the engine says does not matter here, only what the system says. With
// neither a reason to stop nor to wait, the next tick tries again, and the proxy
// counts.
void ScreenCaptureTaskDesktop::handleCaptureFailure(std::uint64_t nowMs) {
  QX_LOG_LIMITED(LogLevelError, "ScreenCaptureTaskDesktop Capture desktop failed");
  bool stop = false;
  if (WindowsUtil::IsScreenLocked()) {
    QX_LOG_WARN("screen lock, stop share");
    stop = true;
  }
  MONITORINFOEXW info;
  if (!ReadMonitor(m_monitor, info) && !updateMonitorInfo()) {
    QX_LOG_WARN("Monitor disconnected, stop share");
    stop = true;
  }
  if (WindowsUtil::IsUacPrompt()) {
    // The monitors look gone from a secure desktop; they come back with the user's.
    waitForSecureDesktop(nowMs);
  } else if (stop) {
    endShare();
  }
}

// False when the monitor is gone.
bool ScreenCaptureTaskDesktop::updateMonitorRect() {
  MONITORINFOEXW info;
  if (!ReadMonitor(m_monitor, info)) {
    QX_LOG_WARN("GetMonitorInfo failed, error:{}", static_cast<std::uint32_t>(GetLastError()));
    if (!updateMonitorInfo()) {
      QX_LOG_WARN("Monitor disconnected");
      return false;
    }
    // The next tick reads the rectangle through the new handle.
    info = {};
  }
  if (!EqualRect(&info.rcMonitor, &m_monitorRect)) {
    const CaptureRect rect = ToCaptureRect(info.rcMonitor);
    QX_LOG_INFO("Monitor Rect x:{}, y:{}, width:{}, height:{}", rect.x, rect.y, rect.width,
                rect.height);
  }
  m_monitorRect = info.rcMonitor;
  return true;
}

// Looks the device up again after a display change gave it a new handle.
bool ScreenCaptureTaskDesktop::updateMonitorInfo() {
  std::vector<HMONITOR> monitors;
  WindowsUtil::EnumMonitorHandles(monitors);
  for (const HMONITOR monitor : monitors) {
    MONITORINFOEXW info;
    if (!ReadMonitor(monitor, info)) {
      QX_LOG_WARN("GetMonitorInfo failed when update monitor info, error:{}",
                  static_cast<std::uint32_t>(GetLastError()));
      continue;
    }
    if (m_deviceName == info.szDevice) {
      m_monitor = monitor;
      if (engine()) {
        engine()->SetSource(monitor);
      }
      listener().OnShareDesktopChanged(HandleToId(monitor));
      return true;
    }
  }
  return false;
}

// The frame around the monitor and what the host excludes. A window on both
// lists stays in the picture. As long as the system does not tell what windows there
// are, those of the last answer count.
void ScreenCaptureTaskDesktop::listExcludedWindows(std::vector<HWND>& excluded) {
  if (WindowsUtil::EnumTopLevelWindows(
          m_topLevelWindows, WindowsUtil::EnumMode::VisibleNotMinimized, m_virtualDesktops)) {
    m_knowsWindows = true;
  }
  excluded.clear();
  if (const HWND prompt = m_promptDesktop ? m_promptDesktop->GetHwnd() : nullptr) {
    excluded.push_back(prompt);
  }
  for (const HWND window : m_topLevelWindows) {
    if (filterWindowManager().IsIncludedWindow(window)) {
      QX_LOG_LIMITED(LogLevelInfo, "include Window {:#08x} when capture",
                     reinterpret_cast<std::uintptr_t>(window));
    } else if (filterWindowManager().IsExcludedWindow(window)) {
      excluded.push_back(window);
    }
  }
}

}  // namespace qx
