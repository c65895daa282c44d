#include "win/engine/wgc/ScreenCaptureEngineWGC.h"

#include <utility>

#include "common/Logging.h"
#include "win/engine/wgc/CaptureLibrary.h"
#include "win/source/WindowEnumeration.h"
#include "win/util/Clock.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

// How many captures in a row may find nothing before the session is started anew: the
// system may be about to draw.
constexpr std::int32_t kPatientCaptures = 3;
// A duplication may tell of a change before the session has its picture.
constexpr std::int32_t kLateLooks = 3;
// A window's border.
constexpr LONG kMargin = 2;

}  // namespace

ScreenCaptureEngineWGC::ScreenCaptureEngineWGC(HMONITOR monitor, HWND window,
                                               FilterWindowProvider filterWindows,
                                               bool dynamicCheck, bool dirtyInfo)
    : m_window(window),
      m_filterProvider(std::move(filterWindows)),
      m_dirtyInfo(dirtyInfo),
      m_thread(window) {
  m_source = monitor;
  static_cast<void>(CaptureLibrary::LoadCaptureFunctions());
  createDevice();
  ScreenCaptureEngineWGC::SetDynamicCheck(dynamicCheck);
}

ScreenCaptureEngineWGC::ScreenCaptureEngineWGC(HMONITOR monitor, bool dynamicCheck, bool dirtyInfo)
    : ScreenCaptureEngineWGC(monitor, nullptr, {}, dynamicCheck, dirtyInfo) {}

ScreenCaptureEngineWGC::ScreenCaptureEngineWGC(HWND window, FilterWindowProvider filterWindows,
                                               bool dynamicCheck, bool dirtyInfo)
    : ScreenCaptureEngineWGC(nullptr, window, std::move(filterWindows), dynamicCheck, dirtyInfo) {}

ScreenCaptureEngineWGC::~ScreenCaptureEngineWGC() { ScreenCaptureEngineWGC::UnInitialize(); }

// Without one the engine doesn't start.
void ScreenCaptureEngineWGC::createDevice() {
  bool faulted = false;
  const auto create = [&](D3D_DRIVER_TYPE type) {
    return WindowsUtil::SafeD3D11CreateDevice(
        nullptr, type, nullptr, D3D11_CREATE_DEVICE_BGRA_SUPPORT, nullptr, 0, D3D11_SDK_VERSION,
        m_device.Put(), nullptr, nullptr, faulted);
  };
  HRESULT hr = create(D3D_DRIVER_TYPE_HARDWARE);
  if (hr == DXGI_ERROR_UNSUPPORTED && !faulted) {
    hr = create(D3D_DRIVER_TYPE_WARP);
  }
  if (FAILED(hr) && !faulted) {
    QX_LOG_ERROR("Failed to create D3D11Device:{}", static_cast<std::int32_t>(hr));
  }
}

// A failure when there is none, or none any more.
HRESULT ScreenCaptureEngineWGC::deviceState() const {
  return m_device ? m_device->GetDeviceRemovedReason() : E_POINTER;
}

bool ScreenCaptureEngineWGC::Initialize() {
  if (m_session) {
    QX_LOG_ERROR("already init");
    return true;
  }
  const bool missed = m_missed != Missed::None;
  if (missed) {
    m_missed = Missed::Before;
  }
  if (missed || FAILED(deviceState())) {
    createDevice();
  }
  if (!m_reader.Init(m_device)) {
    QX_LOG_ERROR("m_direct11Scale Init failed");
    return false;
  }
  const CaptureSource source = {m_window ? nullptr : m_source, m_window};
  auto session = std::make_shared<CaptureSession>(source, m_device, m_showCursor);
  if (!m_thread.Start(session)) {
    m_reader.Release();
    return false;
  }
  m_session = std::move(session);
  m_firstFrame = true;
  m_anotherWanted = false;
  m_restartWanted = false;
  m_cursorTime = 0;
  return true;
}

void ScreenCaptureEngineWGC::UnInitialize() {
  if (m_session) {
    m_thread.Stop(std::exchange(m_session, nullptr));
  }
  m_reader.Release();
  if (m_dynamicCaptureHelper) {
    m_dynamicCaptureHelper->Reset();
  }
  m_firstFrame = true;
}

bool ScreenCaptureEngineWGC::restart() {
  m_thread.ForgetWindowStateChange();
  UnInitialize();
  return Initialize();
}

void ScreenCaptureEngineWGC::ShowCursor(bool show) {
  const bool changed = show != m_showCursor;
  ScreenCaptureEngine::ShowCursor(show);
  if (!m_session) {
    return;
  }
  if (!m_session->ShowCursor(show)) {
    m_restartWanted = m_restartWanted || changed;
  } else if (changed) {
    m_cursorTime = MonotonicMicros();
    WantAnotherPicture();
  }
}

void ScreenCaptureEngineWGC::SetDynamicCheck(bool check) {
  if (!check) {
    m_dynamicCaptureHelper.reset();
  } else if (!m_dynamicCaptureHelper) {
    m_dynamicCaptureHelper = std::make_unique<DynamicCaptureHelper>(m_dirtyInfo);
  }
}

void ScreenCaptureEngineWGC::DropPicture() {
  m_pictureDropped = true;
  WantAnotherPicture();
}

// Every session begins with a picture, so a first one is not asked for.
void ScreenCaptureEngineWGC::WantAnotherPicture() {
  m_anotherWanted = !m_firstFrame;
  m_emptyCaptures = 0;
}

bool ScreenCaptureEngineWGC::Capture(std::int32_t x, std::int32_t y, std::int32_t width,
                                     std::int32_t height, ScreenCaptureFrame& frame,
                                     CaptureResult& result) {
  result = CaptureResult::Failed;
  frame.SetDirty({});
  const bool captured = capture({x, y, x + width, y + height}, frame, result);
  if (result == CaptureResult::Success) {
    m_pictureDropped = false;
  } else if (captured && m_pictureDropped) {
    result = CaptureResult::NoChange;
    return false;
  }
  return captured;
}

bool ScreenCaptureEngineWGC::capture(const RECT& rect, ScreenCaptureFrame& frame,
                                     CaptureResult& result) {
  if (m_session && m_session->IsClosed()) {
    if (IsWindow(m_window)) {
      return restart();
    }
    QX_LOG_LIMITED(LogLevelError, "The target source has been closed");
    return false;
  }
  if (!m_session) {
    QX_LOG_LIMITED(LogLevelError, "The capture session has not been started");
    return false;
  }
  if (m_restartWanted || (!m_window && m_session->Source().monitor != m_source)) {
    return restart();
  }
  if (IsRectEmpty(&rect)) {
    return false;  // no picture is given away for it
  }
  const Change change = checkForChange(rect, frame);
  if (change == Change::None) {
    result = CaptureResult::NoChange;
    return false;
  }
  ComPtr<wgc::IDirect3D11CaptureFrame> taken;
  const HRESULT hr = m_session->TryGetNextFrame(taken);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "TryGetNextFrame failed:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  CapturedFrame captured(std::move(taken));
  if (!captured || showsOldCursor(captured)) {
    captured.Reset();
    return handleNoFrame(rect, change, result);
  }
  m_emptyCaptures = 0;
  if (!captured.Open() || !followSize(captured.Size())) {
    m_missed = Missed::Now;
    return false;
  }
  if (m_thread.HasWindowStateChanged()) {
    captured.Reset();
    return restart();
  }
  if (!copyPicture(captured, rect, frame, result)) {
    m_missed = Missed::Now;
    return false;
  }
  m_missed = Missed::None;
  return true;
}

// What lay in the pool when the cursor was turned on or off.
bool ScreenCaptureEngineWGC::showsOldCursor(const CapturedFrame& captured) {
  if (m_cursorTime != 0 && captured.IsOlderThan(m_cursorTime)) {
    m_anotherWanted = true;
    return true;
  }
  m_cursorTime = 0;
  return false;
}

// What the duplication told of is told once, and so is a picture of the pool.
ScreenCaptureEngineWGC::Change ScreenCaptureEngineWGC::checkForChange(const RECT& rect,
                                                                      ScreenCaptureFrame& frame) {
  if (m_firstFrame || !m_dynamicCaptureHelper) {
    return Change::Possible;
  }
  if (m_filterProvider) {
    m_filterProvider(rect, m_coveringWindows);
    // What lies below other programs' windows changes without the screen showing it.
    if (!m_coveringWindows.empty() && !WindowsUtil::AreWindowsOfCurrentProcess(m_coveringWindows)) {
      return Change::Possible;
    }
  }
  m_dynamicCaptureHelper->check(rect);
  frame.SetDirty(m_dynamicCaptureHelper->GetDirtyInfo());
  if (m_dynamicCaptureHelper->IsFrameChanged() ||
      (m_showCursor && m_dynamicCaptureHelper->IsMouseChanged())) {
    m_looksLeft = kLateLooks;
    return Change::Possible;
  }
  if (m_missed != Missed::None || m_anotherWanted || m_thread.HasWindowStateChanged() ||
      !EqualRect(&rect, &m_pictureRect)) {
    return Change::Possible;
  }
  if (m_looksLeft > 0) {
    --m_looksLeft;
    return Change::Lately;
  }
  return Change::None;
}

bool ScreenCaptureEngineWGC::handleNoFrame(const RECT& rect, Change change, CaptureResult& result) {
  const HRESULT state = deviceState();
  if (FAILED(state)) {
    // The pool may stay empty for ever.
    QX_LOG_LIMITED(LogLevelError, "the device was removed:{}", static_cast<std::int32_t>(state));
    return false;
  }
  switch (m_missed) {
    case Missed::Now:
      QX_LOG_LIMITED(LogLevelError, "the last picture is missed, and there is no other one");
      return false;
    case Missed::Before:
      // The session has yet to draw, which is neither a failure nor a success.
      result = CaptureResult::NoChange;
      return false;
    case Missed::None:
      break;
  }
  if (needsAnotherPicture(rect)) {
    return ++m_emptyCaptures < kPatientCaptures || restart();
  }
  if (change == Change::Lately) {
    result = CaptureResult::NoChange;
    return false;
  }
  return true;
}

bool ScreenCaptureEngineWGC::needsAnotherPicture(const RECT& rect) {
  if (m_anotherWanted || m_thread.HasWindowStateChanged()) {
    return true;
  }
  if (m_firstFrame || EqualRect(&rect, &m_pictureRect)) {
    return false;
  }
  Part part;
  if (findPart(rect, part) && part.whole == m_picturePart.whole &&
      EqualRect(&part.box, &m_picturePart.box)) {
    m_pictureRect = rect;  // only the place is another one
    return false;
  }
  WantAnotherPicture();
  return true;
}

// The frame in hand is used even so, and another one of the new size is wanted.
bool ScreenCaptureEngineWGC::followSize(const wgc::SizeInt32& size) {
  m_frameIsOld = size != m_session->ContentSize();
  if (!m_frameIsOld) {
    return true;
  }
  const HRESULT hr = m_session->Resize(size);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "Failed to Recreate:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

// In pixels of the window's picture. Its border is left out unless it fills the screen.
bool ScreenCaptureEngineWGC::findPart(const RECT& rect, Part& part) const {
  RECT window = rect;
  if (m_window && !WindowsUtil::GetCaptureRect(m_window, window)) {
    return false;
  }
  IntersectRect(&part.box, &rect, &window);
  OffsetRect(&part.box, -window.left, -window.top);
  part.whole = !m_window || (EqualRect(&rect, &window) && IsZoomed(m_window));
  if (!part.whole) {
    part.box = {part.box.left + kMargin, part.box.top + kMargin, part.box.right - kMargin,
                part.box.bottom - kMargin};
  }
  return true;
}

bool ScreenCaptureEngineWGC::copyPicture(const CapturedFrame& captured, const RECT& rect,
                                         ScreenCaptureFrame& frame, CaptureResult& result) {
  Part part;
  if (!findPart(rect, part)) {
    return false;
  }
  const std::int32_t width = rect.right - rect.left;
  const std::int32_t height = rect.bottom - rect.top;
  PictureReader::Wish wish = {
      .part = {0, 0, captured.Size().width, captured.Size().height},
      .rawWidth = width,
      .rawHeight = height,
      .width = m_targetWidth != 0 ? m_targetWidth : width,
      .height = m_targetHeight != 0 ? m_targetHeight : height,
      // A monitor's is never refused.
      .last = m_window ? ScreenCaptureFrame::Last::Kept : ScreenCaptureFrame::Last::Replaced};
  if (!part.whole) {
    const RECT all = wish.part;
    IntersectRect(&wish.part, &part.box, &all);
  }
  switch (m_reader.Read(captured.Texture(), wish, frame)) {
    case PictureReader::Outcome::Failed:
      return false;
    case PictureReader::Outcome::NoRoom:
      m_anotherWanted = true;
      return true;
    case PictureReader::Outcome::Read:
      break;
  }
  m_pictureRect = rect;
  m_picturePart = part;
  m_anotherWanted = std::exchange(m_frameIsOld, false);
  m_firstFrame = false;
  result = CaptureResult::Success;
  return true;
}

}  // namespace qx
