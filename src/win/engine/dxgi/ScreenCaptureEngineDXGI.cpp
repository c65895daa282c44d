#include "win/engine/dxgi/ScreenCaptureEngineDXGI.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

#include "common/Logging.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

// What the cursor counts for among the changed rectangles.
constexpr double kCursorArea = 500.0;

std::int32_t WidthOf(const RECT& rect) { return static_cast<std::int32_t>(rect.right - rect.left); }
std::int32_t HeightOf(const RECT& rect) {
  return static_cast<std::int32_t>(rect.bottom - rect.top);
}

// Only ever down.
std::int32_t Limited(std::int32_t size, std::int32_t target) {
  return target != 0 ? std::min(size, target) : size;
}

}  // namespace

ScreenCaptureEngineDXGI::ScreenCaptureEngineDXGI(HMONITOR monitor, bool dynamicCheck,
                                                 bool dirtyInfo)
    : m_dirtyInfo(dirtyInfo), m_dynamicCheck(dynamicCheck) {
  SetSource(monitor);
}

ScreenCaptureEngineDXGI::~ScreenCaptureEngineDXGI() { release(); }

void ScreenCaptureEngineDXGI::SetSource(HMONITOR source) {
  ScreenCaptureEngine::SetSource(source);
  m_monitorRect = WindowsUtil::GetMonitorRect(source);
}

bool ScreenCaptureEngineDXGI::Initialize() {
  if (m_duplication) {
    QX_LOG_INFO("already Initialize");
    return true;
  }
  m_duplication = DXGIDuplicationManager::Instance().GetDXGIDuplication(m_source, this,
                                                                        DuplicationUse::Capture);
  m_duplicatedMonitor = m_source;
  if (!m_duplication) {
    QX_LOG_INFO("init failed");
    return false;
  }
  if (!m_direct11Scale.Init(m_duplication->device, m_duplication->rotation)) {
    QX_LOG_ERROR("m_direct11Scale.Init failed");
    release();
    return false;
  }
  DXGI_OUTDUPL_DESC desc = {};
  m_duplication->duplication->GetDesc(&desc);
  if (desc.ModeDesc.Format != DXGI_FORMAT_B8G8R8A8_UNORM) {
    release();
    QX_LOG_ERROR("IDXGIDuplicateOutput does not use RGBA (8 bit):{}",
                 static_cast<std::int32_t>(desc.ModeDesc.Format));
    return false;
  }
  return true;
}

void ScreenCaptureEngineDXGI::UnInitialize() {
  if (!m_duplication) {
    QX_LOG_WARN("need Initialize first");
    return;
  }
  release();
}

// All references to the device go before the manager is told: the system gives the
// monitor's duplication anew only when nobody holds the old one.
void ScreenCaptureEngineDXGI::release() {
  m_checkBlackFrame = true;
  m_blackCheckFrame.Reset();
  m_cpuAccess.Reset();
  m_direct11Scale.Release();
  if (m_duplication) {
    m_duplication.reset();
    DXGIDuplicationManager::Instance().ReleaseDXGIDuplication(m_duplicatedMonitor, this,
                                                              DuplicationUse::Capture);
  }
  m_hasDesktop = false;
  m_pictureMissed = false;
  m_frameChanged = true;
  m_mouseChanged = true;
  m_lastPresentTime = 0;
  m_lastMouseUpdateTime = 0;
}

bool ScreenCaptureEngineDXGI::recreate(const RECT& monitorRect) {
  QX_LOG_INFO("recreate ScreenCaptureEngineDXGI");
  UnInitialize();
  m_monitorRect = monitorRect;
  return Initialize();
}

// A duplication that has given no picture yet is about to.
void ScreenCaptureEngineDXGI::WantAnotherPicture() {
  if (!m_checkBlackFrame) {
    m_anotherWanted = true;
    m_blackCheckFrame.Reset();
  }
}

bool ScreenCaptureEngineDXGI::Capture(std::int32_t x, std::int32_t y, std::int32_t width,
                                      std::int32_t height, ScreenCaptureFrame& frame,
                                      CaptureResult& result) {
  result = CaptureResult::Failed;
  frame.SetDirty({});
  if (!m_duplication || !m_duplication->duplication) {
    QX_LOG_LIMITED(LogLevelError, "m_duplication is nullptr");
    return false;
  }
  DXGI_OUTDUPL_FRAME_INFO frameInfo = {};
  ComPtr<IDXGIResource> resource;
  HRESULT hr = acquireFrame(frameInfo, resource);
  if (hr == DXGI_ERROR_WAIT_TIMEOUT && m_anotherWanted && !m_checkBlackFrame &&
      canTellStillScreen()) {
    if (!recreate(m_monitorRect)) {
      return false;  // whoever counts the failures tries again
    }
    hr = acquireFrame(frameInfo, resource);
  }
  if (FAILED(hr)) {
    return handleNoFrame(hr, frame, result);
  }
  const AcquiredFrame acquired(m_duplication->duplication.Get());
  updateMetadata(frameInfo);
  const bool unchanged = !m_hasDesktop || (m_dynamicCheck && !m_pictureMissed && !m_anotherWanted &&
                                           !m_frameChanged && (!m_showCursor || !m_mouseChanged));
  m_pictureMissed = m_pictureMissed || (!unchanged && resource);  // until it is fetched
  // Also while no cursor is wanted: the system tells of each shape once.
  static_cast<void>(m_direct11Scale.UpdateCursor(m_duplication->duplication.Get(), frameInfo));
  if (unchanged) {
    result = CaptureResult::NoChange;
    return false;
  }
  frame.SetDirty({m_dirtyRatio, m_dirtyRectCount, true});
  return captureFrame(resource.Get(), {x, y, x + width, y + height}, frame, result);
}

// Never waits: the share's timer sets the pace.
HRESULT ScreenCaptureEngineDXGI::acquireFrame(DXGI_OUTDUPL_FRAME_INFO& frameInfo,
                                              ComPtr<IDXGIResource>& resource) {
  return m_duplication->duplication->AcquireNextFrame(0, &frameInfo, resource.Put());
}

// Whether a time-out means that nothing has changed. A picture that could not be fetched
// comes again only after a restart, which enough failures bring.
bool ScreenCaptureEngineDXGI::canTellStillScreen() const {
  return m_dynamicCheck && !m_pictureMissed && !WindowsUtil::IsRemoteSession();
}

bool ScreenCaptureEngineDXGI::handleNoFrame(HRESULT hr, ScreenCaptureFrame& frame,
                                            CaptureResult& result) {
  if (hr == DXGI_ERROR_ACCESS_LOST) {
    QX_LOG_WARN("AcquireNextFrame return DXGI_ERROR_ACCESS_LOST");
    const RECT monitorRect = WindowsUtil::GetMonitorRect(m_source);
    if (IsRectEmpty(&monitorRect) || EqualRect(&monitorRect, &m_monitorRect)) {
      return false;  // whoever counts the failures restarts the engine
    }
    if (!recreate(monitorRect)) {
      result = CaptureResult::EngineLost;
      return false;
    }
    return true;  // the last picture once more
  }
  if (hr == DXGI_ERROR_WAIT_TIMEOUT && canTellStillScreen()) {
    // A share of a still screen would begin with nothing to show.
    const bool taken = takeTestedPicture(frame);
    result = taken ? CaptureResult::Success : CaptureResult::NoChange;
    return taken;
  }
  QX_LOG_LIMITED(LogLevelError, "AcquireNextFrame failed res:{}", static_cast<std::int32_t>(hr));
  return false;
}

bool ScreenCaptureEngineDXGI::captureFrame(IDXGIResource* resource, const RECT& rect,
                                           ScreenCaptureFrame& frame, CaptureResult& result) {
  if (!resource) {
    static_cast<void>(takeTestedPicture(frame));
    result = CaptureResult::Success;
    return true;
  }
  ComPtr<ID3D11Texture2D> texture;
  const HRESULT hr = resource->QueryInterface(IID_ID3D11Texture2D, texture.PutVoid());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "convert IDXGIResource to ID3D11Texture2D failed res:{}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  if (m_checkBlackFrame) {
    checkForBlack(texture.Get(), rect, result);
    // A share that is under way has waited for it.
    const bool taken = m_anotherWanted && takeTestedPicture(frame);
    result = taken ? CaptureResult::Success : result;
    return taken;
  }
  if (!copyFrame(texture.Get(), rect, frame)) {
    QX_LOG_LIMITED(LogLevelError, "copyFrame failed");
    return false;
  }
  m_blackCheckFrame.Reset();
  m_anotherWanted = false;
  result = CaptureResult::Success;
  return true;
}

// A picture that passes waits for the next call.
void ScreenCaptureEngineDXGI::checkForBlack(ID3D11Texture2D* texture, const RECT& rect,
                                            CaptureResult& result) {
  if (!copyFrame(texture, rect, m_blackCheckFrame)) {
    QX_LOG_LIMITED(LogLevelError, "copyFrame failed");
    return;
  }
  const ScreenCaptureFrame::Pixels& pixels = m_blackCheckFrame.Buffer();
  if (!pixels) {
    return;
  }
  const auto width = static_cast<int>(m_blackCheckFrame.Width());
  if (isTransparentFrame(reinterpret_cast<const std::uint32_t*>(pixels.get()), width,
                         static_cast<int>(m_blackCheckFrame.Height()), width * 4)) {
    QX_LOG_LIMITED(LogLevelWarn, "find black frame, drop it.");
    result = CaptureResult::BlackFrame;
    return;
  }
  m_checkBlackFrame = false;
}

bool ScreenCaptureEngineDXGI::takeTestedPicture(ScreenCaptureFrame& frame) {
  if (m_checkBlackFrame || !m_blackCheckFrame.Buffer()) {
    return false;
  }
  frame = std::move(m_blackCheckFrame);
  m_blackCheckFrame.Reset();
  m_anotherWanted = false;
  frame.SetDirty({m_dirtyRatio, m_dirtyRectCount, true});
  return true;
}

// A frame without metadata has no changed rectangles. When they can't be read the
// last figures stay.
void ScreenCaptureEngineDXGI::updateMetadata(const DXGI_OUTDUPL_FRAME_INFO& frameInfo) {
  const std::int64_t mouseTime = frameInfo.LastMouseUpdateTime.QuadPart;
  const std::int64_t presentTime = frameInfo.LastPresentTime.QuadPart;
  m_mouseChanged = std::exchange(m_lastMouseUpdateTime, mouseTime) != mouseTime;
  m_frameChanged = std::exchange(m_lastPresentTime, presentTime) != presentTime;
  // A duplication may begin with news of the pointer alone, and an empty picture. Later
  // frames without a time of their own bring the desktop as it was.
  m_hasDesktop = m_hasDesktop || presentTime != 0;
  std::span<const RECT> dirtyRects;
  if (!m_dirtyInfo || !m_metadata.Read(m_duplication->duplication.Get(), frameInfo, dirtyRects)) {
    return;
  }
  double area = TotalArea(dirtyRects);
  m_dirtyRectCount = dirtyRects.size();
  if (m_mouseChanged) {
    ++m_dirtyRectCount;
    area += kCursorArea;
  }
  const auto whole = static_cast<double>(WindowsUtil::AreaOf(m_monitorRect));
  m_dirtyRatio = whole > 0.0 ? area / whole : 0.0;
}

// The whole desktop is drawn; the rectangle only gives the size.
bool ScreenCaptureEngineDXGI::copyFrame(ID3D11Texture2D* texture, RECT rect,
                                        ScreenCaptureFrame& frame) {
  RECT inside = {};
  IntersectRect(&inside, &rect, &m_monitorRect);
  if (!EqualRect(&inside, &rect)) {
    QX_LOG_LIMITED(
        LogLevelWarn,
        "capture rect:{},{},{},{} not sub rect of monitor:{},{},{},{}, so use intersect "
        "rect:{},{},{},{}",
        static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(rect.top),
        static_cast<std::int32_t>(rect.right), static_cast<std::int32_t>(rect.bottom),
        static_cast<std::int32_t>(m_monitorRect.left), static_cast<std::int32_t>(m_monitorRect.top),
        static_cast<std::int32_t>(m_monitorRect.right),
        static_cast<std::int32_t>(m_monitorRect.bottom), static_cast<std::int32_t>(inside.left),
        static_cast<std::int32_t>(inside.top), static_cast<std::int32_t>(inside.right),
        static_cast<std::int32_t>(inside.bottom));
    rect = inside;
  }
  if (IsRectEmpty(&rect)) {
    return false;
  }
  const std::int32_t sourceWidth = WidthOf(rect);
  const std::int32_t sourceHeight = HeightOf(rect);
  const std::int32_t width = Limited(sourceWidth, m_targetWidth);
  const std::int32_t height = Limited(sourceHeight, m_targetHeight);
  QX_LOG_LIMITED(LogLevelInfo, "qx-sc:frame:scale by GPU {}x{} -> {}x{}", sourceWidth, sourceHeight,
                 width, height);
  ComPtr<ID3D11Texture2D> scaled;
  static_cast<void>(m_direct11Scale.Scale(texture, scaled, sourceWidth, sourceHeight, width, height,
                                          m_showCursor));
  if (!m_cpuAccess.Fit(m_duplication->device.Get(), scaled.Get())) {
    QX_LOG_LIMITED(LogLevelError, "checkCreateTexture failed");
    return false;
  }
  return readBack(scaled.Get(), static_cast<std::uint32_t>(width),
                  static_cast<std::uint32_t>(height), frame);
}

// The frame is touched only when there is something to put into it. Without memory for
// it the last picture goes out again.
bool ScreenCaptureEngineDXGI::readBack(ID3D11Texture2D* texture, std::uint32_t width,
                                       std::uint32_t height, ScreenCaptureFrame& frame) {
  m_duplication->context->CopyResource(m_cpuAccess.Texture(), texture);
  DXGI_MAPPED_RECT mapped = {};
  const HRESULT hr = m_cpuAccess.Surface()->Map(&mapped, DXGI_MAP_READ);
  if (hr != S_OK) {
    QX_LOG_LIMITED(LogLevelError, "surface map failed res:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  m_pictureMissed = !frame.Resize(width, height);
  if (m_pictureMissed) {
    QX_LOG_LIMITED(LogLevelWarn, "resize buffer failed, use last");
  } else {
    CopyRows(frame.Buffer().get(), mapped.pBits, static_cast<std::size_t>(mapped.Pitch), width,
             height);
  }
  static_cast<void>(m_cpuAccess.Surface()->Unmap());
  return true;
}

}  // namespace qx
