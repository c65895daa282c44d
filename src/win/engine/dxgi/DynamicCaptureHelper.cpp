#include "win/engine/dxgi/DynamicCaptureHelper.h"

#include <span>
#include <utility>

#include "common/Logging.h"
#include "win/source/WindowEnumeration.h"
#include "win/util/Clock.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

constexpr std::uint64_t kFullCaptureMs = 1000;
// The prompt frame's shadow at a window's edges changes all the time.
constexpr LONG kEdgeStrip = 10;

// A rectangle of a turned monitor's picture as its card holds it, on the upright one.
RECT Upright(const RECT& rect, DXGI_MODE_ROTATION rotation, const RECT& monitor) {
  const LONG width = monitor.right - monitor.left;
  const LONG height = monitor.bottom - monitor.top;
  switch (rotation) {
    case DXGI_MODE_ROTATION_ROTATE90:
      return {width - rect.bottom, rect.left, width - rect.top, rect.right};
    case DXGI_MODE_ROTATION_ROTATE180:
      return {width - rect.right, height - rect.bottom, width - rect.left, height - rect.top};
    case DXGI_MODE_ROTATION_ROTATE270:
      return {rect.top, height - rect.right, rect.bottom, height - rect.left};
    default:
      return rect;
  }
}

}  // namespace

DynamicCaptureHelper::DynamicCaptureHelper(bool dirtyInfo) : m_dirtyInfo(dirtyInfo) {
  QX_TRACE("DynamicCaptureHelper::DynamicCaptureHelper");
}

DynamicCaptureHelper::~DynamicCaptureHelper() { releaseDuplication(); }

void DynamicCaptureHelper::Reset() {
  releaseDuplication();
  m_monitor = nullptr;
  m_monitorRect = {};
  m_captureRect = {};
  m_frameChanged = true;
  m_mouseChanged = true;
  m_dirtyRectCount = 0;
  m_dirtyRatio = 0.0;
  m_lastPresentTime = 0;
  m_lastMouseUpdateTime = 0;
  m_lastFullTime = 0;
  m_metadata = {};
}

void DynamicCaptureHelper::check(const RECT& rect) {
  m_frameChanged = true;
  m_mouseChanged = true;
  m_dirtyRectCount = 0;
  m_dirtyRatio = 0.0;
  const std::uint64_t now = SystemMillis();
  // A clock that was set back must not silence the helper until it has caught up: the
  // difference wraps and is as good as a long time.
  if (now - m_lastFullTime > kFullCaptureMs) {
    m_lastFullTime = now;
    return;
  }
  if (!EqualRect(&rect, &m_captureRect) || (!m_hasDuplication && hasMonitorChanged())) {
    m_captureRect = rect;
    updateMonitor();
  }
  if (!m_monitor) {
    return;  // asking for it would use up one of the process's attempts
  }
  const auto record =
      DXGIDuplicationManager::Instance().GetDXGIDuplication(m_monitor, this, DuplicationUse::Watch);
  m_hasDuplication = record != nullptr;
  if (record) {
    process(*record);
  }
}

// Nobody else tells while the duplication is somebody else's. Asking for that of a monitor
// that is gone would use up the process's attempts.
bool DynamicCaptureHelper::hasMonitorChanged() const {
  const RECT rect = WindowsUtil::GetMonitorRect(m_monitor);
  return m_monitor && !EqualRect(&rect, &m_monitorRect);
}

void DynamicCaptureHelper::updateMonitor() {
  WindowsUtil::EnumMonitorHandles(m_monitors);
  for (const HMONITOR monitor : m_monitors) {
    m_monitorRect = WindowsUtil::GetMonitorRect(monitor);
    RECT overlap = {};
    if (IntersectRect(&overlap, &m_monitorRect, &m_captureRect)) {
      if (monitor != m_monitor) {
        QX_LOG_INFO("monitor updated");
        releaseDuplication();
        m_monitor = monitor;
      }
      return;
    }
  }
  QX_LOG_LIMITED(LogLevelError, "can't get monitor");
  releaseDuplication();
  m_monitor = nullptr;
  m_monitorRect = {};
}

void DynamicCaptureHelper::releaseDuplication() {
  DXGIDuplicationManager::Instance().ReleaseDXGIDuplication(m_monitor, this, DuplicationUse::Watch);
  m_hasDuplication = false;
}

// Whatever goes wrong here leaves both flags true.
void DynamicCaptureHelper::process(const DXGIDuplication& record) {
  IDXGIOutputDuplication* const duplication = record.duplication.Get();
  DXGI_OUTDUPL_FRAME_INFO info = {};
  ComPtr<IDXGIResource> resource;
  const HRESULT hr = duplication->AcquireNextFrame(0, &info, resource.Put());
  if (hr == DXGI_ERROR_ACCESS_LOST) {
    QX_LOG_WARN("AcquireNextFrame return DXGI_ERROR_ACCESS_LOST");
    releaseDuplication();
    m_captureRect = {};  // the monitor may be another one now
    return;
  }
  if (hr == DXGI_ERROR_WAIT_TIMEOUT) {
    m_frameChanged = false;
    m_mouseChanged = false;
    return;
  }
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "AcquireNextFrame failed res:{}", static_cast<std::int32_t>(hr));
    return;
  }
  const AcquiredFrame frame(duplication);
  const std::int64_t mouseTime = info.LastMouseUpdateTime.QuadPart;
  m_mouseChanged = std::exchange(m_lastMouseUpdateTime, mouseTime) != mouseTime;
  if (EqualRect(&m_captureRect, &m_monitorRect)) {
    processWholeMonitor(duplication, info);
  } else {
    processPartOfMonitor(record, info);
  }
}

void DynamicCaptureHelper::processWholeMonitor(IDXGIOutputDuplication* duplication,
                                               const DXGI_OUTDUPL_FRAME_INFO& info) {
  const std::int64_t presentTime = info.LastPresentTime.QuadPart;
  m_frameChanged = std::exchange(m_lastPresentTime, presentTime) != presentTime;
  std::span<const RECT> dirtyRects;
  if (!m_dirtyInfo || !m_metadata.Read(duplication, info, dirtyRects)) {
    return;
  }
  m_dirtyRectCount = dirtyRects.size();
  m_dirtyRatio = TotalArea(dirtyRects) / static_cast<double>(WindowsUtil::AreaOf(m_captureRect));
}

void DynamicCaptureHelper::processPartOfMonitor(const DXGIDuplication& record,
                                                const DXGI_OUTDUPL_FRAME_INFO& info) {
  const POINT pointer = {info.PointerPosition.Position.x + m_monitorRect.left,
                         info.PointerPosition.Position.y + m_monitorRect.top};
  m_mouseChanged = m_mouseChanged && PtInRect(&m_captureRect, pointer);
  std::span<const RECT> dirtyRects;
  if (!m_metadata.Read(record.duplication.Get(), info, dirtyRects)) {
    return;
  }
  m_frameChanged = false;
  double area = 0.0;
  for (const RECT& dirty : dirtyRects) {
    RECT rect = Upright(dirty, record.rotation, m_monitorRect);
    OffsetRect(&rect, m_monitorRect.left, m_monitorRect.top);
    RECT changed = {};
    if (!IntersectRect(&changed, &rect, &m_captureRect) || isEdgeStrip(changed)) {
      continue;
    }
    m_frameChanged = true;
    if (!m_dirtyInfo) {
      return;
    }
    ++m_dirtyRectCount;
    area += static_cast<double>(WindowsUtil::AreaOf(changed));
  }
  m_dirtyRatio = area / static_cast<double>(WindowsUtil::AreaOf(m_captureRect));
}

bool DynamicCaptureHelper::isEdgeStrip(const RECT& changed) const {
  const bool atSide = changed.left == m_captureRect.left || changed.right == m_captureRect.right;
  const bool atTopOrBottom =
      changed.top == m_captureRect.top || changed.bottom == m_captureRect.bottom;
  return (changed.right - changed.left == kEdgeStrip && atSide) ||
         (changed.bottom - changed.top == kEdgeStrip && atTopOrBottom);
}

}  // namespace qx
