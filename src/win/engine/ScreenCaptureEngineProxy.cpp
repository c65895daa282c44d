#include "win/engine/ScreenCaptureEngineProxy.h"

#include <utility>

#include "common/Logging.h"
#include "win/util/SystemProbes.h"

namespace qx {
namespace {

constexpr std::int32_t kFailuresToRestart = 3;
constexpr std::int32_t kFailuresToGiveUp = 10;

}  // namespace

MachineFacts MachineFacts::Read() {
  HRESULT probe = S_OK;
  return {
      .integrateGPU = WindowsUtil::IsRunOnIntegrateGPU(&probe),
      .windows81OrGreater = WindowsUtil::IsWindows8Point1OrGreater(),
      .windows10OrGreater = WindowsUtil::IsWindows10OrGreater(),
      .windows11OrGreater = WindowsUtil::IsWindows11OrGreater(),
      .aeroEnabled = WindowsUtil::IsDwmCompositionEnabled(),
      .remoteSession = WindowsUtil::IsRemoteSession(),
      .canUseMag = WindowsUtil::CanUseMagCapture(),
  };
}

ScreenCaptureEngineProxy::ScreenCaptureEngineProxy(HMONITOR monitor, EngineProxySettings settings,
                                                   const EngineFactories& factories,
                                                   const MachineFacts& facts)
    : m_isDesktop(true), m_settings(std::move(settings)) {
  m_source = monitor;
  createCaptureEngineForDesktop(factories, facts);
}

ScreenCaptureEngineProxy::ScreenCaptureEngineProxy(HWND window, EngineProxySettings settings,
                                                   const EngineFactories& factories,
                                                   const MachineFacts& facts)
    : m_isDesktop(false), m_settings(std::move(settings)) {
  createCaptureEngineForWindow(window, factories, facts);
}

// The magnifier is the one engine that can leave windows out of a monitor's
// picture, so it goes first when that is wanted and behind the faster ones when
// it is not.
void ScreenCaptureEngineProxy::createCaptureEngineForDesktop(const EngineFactories& factories,
                                                             const MachineFacts& facts) {
  QX_LOG_INFO(
      "integrateGPU = {}, windows81OrGreater = {}, windows10OrGreater = {}, windows11OrGreater = "
      "{}, aeroEnabled = {}, m_wgcPriority = {}",
      facts.integrateGPU, facts.windows81OrGreater, facts.windows10OrGreater,
      facts.windows11OrGreater, facts.aeroEnabled, m_settings.wgcPriority);
  const bool filter = m_settings.enableFilterWindow;
  const bool dxgi = facts.integrateGPU && facts.windows81OrGreater &&
                    isAllowed(IScreenCapture::CaptureEngineDXGI);
  const bool wgc = facts.windows11OrGreater && isAllowed(IScreenCapture::CaptureEngineWGC);
  const auto addGpuEngines = [&] {
    const bool dirtyInfo = !filter && m_settings.dirtyInfo;
    if (dxgi && !m_settings.wgcPriority) {
      addDxgi(factories, dirtyInfo);
    }
    if (wgc) {
      addWgc(factories.wgcMonitor(m_source, m_settings.dynamicCheck && !facts.remoteSession,
                                  m_settings.dirtyInfo));
    }
    if (dxgi && m_settings.wgcPriority) {
      addDxgi(factories, dirtyInfo);
    }
  };

  if (!filter) {
    addGpuEngines();
  }
  if (facts.aeroEnabled && facts.integrateGPU && facts.canUseMag &&
      isAllowed(IScreenCapture::CaptureEngineMag)) {
    addMag(m_source, factories, facts);
  }
  if (filter) {
    addGpuEngines();
  }
  if (isAllowed(IScreenCapture::CaptureEngineGDIBitBlt)) {
    addGdi(nullptr, true,
           filter && !facts.aeroEnabled ? m_settings.filterWindows : FilterWindowProvider(),
           factories);
  }
}

// Printing shows a window's true content only from Windows 10 on.
void ScreenCaptureEngineProxy::createCaptureEngineForWindow(HWND window,
                                                            const EngineFactories& factories,
                                                            const MachineFacts& facts) {
  QX_LOG_INFO(
      "integrateGPU = {}, windows81OrGreater = {}, windows10OrGreater = {}, windows11OrGreater = "
      "{}, aeroEnabled = {}",
      facts.integrateGPU, facts.windows81OrGreater, facts.windows10OrGreater,
      facts.windows11OrGreater, facts.aeroEnabled);
  if (facts.windows11OrGreater && isAllowed(IScreenCapture::CaptureEngineWGC)) {
    addWgc(factories.wgcWindow(window, m_settings.filterWindows,
                               m_settings.dynamicCheck && !facts.remoteSession,
                               m_settings.dirtyInfo));
  }
  if (facts.aeroEnabled && facts.integrateGPU && isAllowed(IScreenCapture::CaptureEngineMag)) {
    addMag(nullptr, factories, facts);
  }
  const auto addPrinting = [&] {
    if (isAllowed(IScreenCapture::CaptureEngineGDIPrintWindow)) {
      QX_LOG_INFO("Capture engines add ScreenCaptureEngineGDI(PrintWindow)");
      addGdi(window, false, {}, factories);
    }
  };
  const auto addCopying = [&](FilterWindowProvider filterWindows) {
    if (isAllowed(IScreenCapture::CaptureEngineGDIBitBlt)) {
      QX_LOG_INFO("Capture engines add ScreenCaptureEngineGDI(BitBlt)");
      addGdi(window, true, std::move(filterWindows), factories);
    }
  };
  if (facts.windows10OrGreater) {
    addPrinting();
    addCopying({});
  } else {
    addCopying(facts.aeroEnabled ? FilterWindowProvider() : m_settings.filterWindows);
    addPrinting();
  }
}

void ScreenCaptureEngineProxy::addDxgi(const EngineFactories& factories, bool dirtyInfo) {
  m_captureEngine.push_back({false, factories.dxgi(m_source, m_settings.dynamicCheck, dirtyInfo)});
  QX_LOG_INFO("Capture engines add ScreenCaptureEngineDXGI");
}

void ScreenCaptureEngineProxy::addWgc(EngineFactories::Engine engine) {
  m_captureEngine.push_back({false, std::move(engine)});
  QX_LOG_INFO("Capture engines add ScreenCaptureEngineWGC");
}

void ScreenCaptureEngineProxy::addMag(HMONITOR monitor, const EngineFactories& factories,
                                      const MachineFacts& facts) {
  const bool dynamicCheck =
      m_settings.dynamicCheck && facts.windows81OrGreater && !facts.remoteSession;
  m_captureEngine.push_back(
      {true, factories.mag(monitor, m_settings.filterWindows, dynamicCheck, m_settings.dirtyInfo,
                           m_settings.newMouseCaptureWay)});
  QX_LOG_INFO("Capture engines add ScreenCaptureEngineMag");
}

void ScreenCaptureEngineProxy::addGdi(HWND window, bool bitBlt, FilterWindowProvider filterWindows,
                                      const EngineFactories& factories) {
  m_captureEngine.push_back({true, factories.gdi(window, bitBlt, std::move(filterWindows))});
}

bool ScreenCaptureEngineProxy::isAllowed(CaptureEngineType type) const {
  return m_settings.allowed.empty() || m_settings.allowed.contains(type);
}

bool ScreenCaptureEngineProxy::Initialize() {
  m_currentEngine = 0;
  startNextEngine(Walk::First);
  QX_LOG_INFO("m_currentEngine = {}", m_currentEngine);
  if (!currentEngine()) {
    return false;
  }
  notifyEngineChanged();
  return true;
}

void ScreenCaptureEngineProxy::UnInitialize() {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->UnInitialize();
  }
}

CaptureEngineType ScreenCaptureEngineProxy::GetEngineType() const {
  const ScreenCaptureEngine* const engine = currentEngine();
  return engine ? engine->GetEngineType() : IScreenCapture::CaptureEngineNone;
}

bool ScreenCaptureEngineProxy::IsDesktopBased() const {
  const ScreenCaptureEngine* const engine = currentEngine();
  return !engine || engine->IsDesktopBased();
}

void ScreenCaptureEngineProxy::DropPicture() {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->DropPicture();
  }
}

void ScreenCaptureEngineProxy::WantAnotherPicture() {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->WantAnotherPicture();
  }
}

bool ScreenCaptureEngineProxy::IsWaiting() const {
  const ScreenCaptureEngine* const engine = currentEngine();
  return engine && engine->IsWaiting();
}

void ScreenCaptureEngineProxy::SetSource(HMONITOR source) {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->SetSource(source);
  }
  ScreenCaptureEngine::SetSource(source);
}

void ScreenCaptureEngineProxy::SetTargetSize(std::int32_t width, std::int32_t height) {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->SetTargetSize(width, height);
  }
  ScreenCaptureEngine::SetTargetSize(width, height);
}

void ScreenCaptureEngineProxy::SetUseBasicGraphics(bool use) {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->SetUseBasicGraphics(use);
  }
  ScreenCaptureEngine::SetUseBasicGraphics(use);
}

void ScreenCaptureEngineProxy::ShowCursor(bool show) {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->ShowCursor(show);
  }
  ScreenCaptureEngine::ShowCursor(show);
}

void ScreenCaptureEngineProxy::SetDynamicCheck(bool check) {
  if (ScreenCaptureEngine* const engine = currentEngine()) {
    engine->SetDynamicCheck(check);
  }
}

bool ScreenCaptureEngineProxy::Capture(std::int32_t x, std::int32_t y, std::int32_t width,
                                       std::int32_t height, ScreenCaptureFrame& frame,
                                       CaptureResult& result) {
  if (!m_isDesktop && currentEngine()) {
    followIncludeWindows();
  }
  ScreenCaptureEngine* const engine = currentEngine();
  if (!engine) {
    return false;
  }
  if (!engine->Capture(x, y, width, height, frame, result)) {
    handleFailure(result);
    return false;
  }
  QX_LOG_LIMITED(LogLevelInfo, "ScreenCaptureEngineProxy Capture Engine:{:#x}:{}",
                 reinterpret_cast<std::uintptr_t>(this), EngineClassName(engine->GetEngineType()));
  m_failCounter = 0;
  return true;
}

void ScreenCaptureEngineProxy::followIncludeWindows() {
  if (!m_settings.filterWindowManager->NeedIncludeWindow()) {
    if (m_currentEngine == 0) {
      return;
    }
    currentEngine()->UnInitialize();
    m_currentEngine = 0;
  } else {
    if (m_captureEngine[m_currentEngine].canInclude) {
      return;
    }
    currentEngine()->UnInitialize();
    ++m_currentEngine;
  }
  m_failCounter = 0;
  startNextEngine(Walk::Later);
  notifyEngineChanged();
}

// Starts the first entry from m_currentEngine on that works for this share; those that
// don't start go. The log follows the first walk only.
void ScreenCaptureEngineProxy::startNextEngine(Walk walk) {
  while (m_currentEngine < m_captureEngine.size()) {
    const bool needInclude = m_settings.filterWindowManager->NeedIncludeWindow();
    if (walk == Walk::First) {
      QX_LOG_INFO("NeedIncludeWindow = {}", needInclude);
    }
    const Entry& entry = m_captureEngine[m_currentEngine];
    if (!m_isDesktop && needInclude && !entry.canInclude) {
      ++m_currentEngine;
      continue;
    }
    // Of all settings, since its first picture may be drawn as it starts.
    entry.engine->ShowCursor(m_showCursor);
    if (entry.engine->Initialize()) {
      refreshNewEngineConfig();
      return;
    }
    if (walk == Walk::First) {
      QX_LOG_WARN("{} init failed", EngineClassName(entry.engine->GetEngineType()));
    }
    eraseCurrentEntry();
  }
}

void ScreenCaptureEngineProxy::handleFailure(CaptureResult result) {
  switch (result) {
    case CaptureResult::EngineLost:
      QX_LOG_WARN("current engine error, change to next engine");
      changeToNextEngine();
      return;
    case CaptureResult::BlackFrame:
      if (GetEngineType() == IScreenCapture::CaptureEngineMag) {
        QX_LOG_WARN("mag engine capture black frame, change to next engine");
        changeToNextEngine();
      }
      return;
    case CaptureResult::FilterFailed:
    case CaptureResult::FilterChanged:
    case CaptureResult::NoChange:
      return;
    case CaptureResult::Success:
    case CaptureResult::Failed:
      break;
  }
  if (!IsWaiting()) {
    ++m_failCounter;
    onCaptureFailed();
  }
}

void ScreenCaptureEngineProxy::onCaptureFailed() {
  const auto self = reinterpret_cast<std::uintptr_t>(this);
  if (m_failCounter >= kFailuresToGiveUp) {
    QX_LOG_WARN("current engine capture({:#x}:{}) failed too much, failCounter:{}", self,
                EngineClassName(GetEngineType()), m_failCounter);
    changeToNextEngine();
    return;
  }
  if (m_failCounter % kFailuresToRestart != 0) {
    return;
  }
  ScreenCaptureEngine* const engine = currentEngine();
  engine->UnInitialize();
  if (engine->Initialize()) {
    refreshNewEngineConfig();
    return;
  }
  QX_LOG_WARN("current engine capture({:#x}:{}) init failed, change to next", self,
              EngineClassName(GetEngineType()));
  changeToNextEngine();
}

void ScreenCaptureEngineProxy::changeToNextEngine() {
  currentEngine()->UnInitialize();
  eraseCurrentEntry();
  m_failCounter = 0;
  startNextEngine(Walk::Later);
  notifyEngineChanged();
  if (m_currentEngineType == IScreenCapture::CaptureEngineNone) {
    QX_LOG_LIMITED(LogLevelWarn, "m_captureEngine are all failed");
  }
}

// Hands what was set so far to the engine that has just started.
void ScreenCaptureEngineProxy::refreshNewEngineConfig() {
  SetSource(m_source);
  SetUseBasicGraphics(m_useBasicGraphics);
  ShowCursor(m_showCursor);
  SetTargetSize(m_targetWidth, m_targetHeight);
}

void ScreenCaptureEngineProxy::notifyEngineChanged() {
  const CaptureEngineType type = GetEngineType();
  if (type != m_currentEngineType) {
    m_currentEngineType = type;
    m_settings.engineChanged(type);
  }
}

ScreenCaptureEngine* ScreenCaptureEngineProxy::currentEngine() const {
  return m_currentEngine < m_captureEngine.size() ? m_captureEngine[m_currentEngine].engine.get()
                                                  : nullptr;
}

// The entry behind it moves up and becomes the present one.
void ScreenCaptureEngineProxy::eraseCurrentEntry() {
  m_captureEngine.erase(m_captureEngine.begin() + static_cast<std::ptrdiff_t>(m_currentEngine));
}

}  // namespace qx
