#include "win/engine/mag/ScreenCaptureEngineMag.h"

#include <algorithm>
#include <utility>

#include "common/Logging.h"
#include "win/engine/mag/Direct3D9Hook.h"
#include "win/engine/mag/MagThread.h"
#include "win/engine/mag/MagnificationLibrary.h"
#include "win/engine/mag/StretchRectHook.h"
#include "win/util/Clock.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

constexpr std::int32_t kBlackFramesToGiveUp = 5;
constexpr UINT kPatience = 1000;

std::uint32_t LastError() { return static_cast<std::uint32_t>(GetLastError()); }

// The magnifier only draws by way of Direct3D what it has to change.
bool ChangeColors(HWND window) {
  Magnification::ColorEffect effect = {};
  for (int i = 0; i < 5; ++i) {
    effect.transform[i][i] = 1.0F;
  }
  effect.transform[4][0] = 0.004F;  // a little more red
  return Magnification::MagSetColorEffect(window, &effect);
}

// One engine at a time hooks it; who comes meanwhile waits for that.
bool HookStretchRect() {
  Direct3D9Hook& hook = Direct3D9Hook::Instance();
  const Deadline deadline(kPatience);
  for (;;) {
    if (hook.HookStretchRect(StretchRectHook)) {
      return true;
    }
    while (hook.IsHookingStretchRect() && deadline.MillisLeft() > 0) {
      Sleep(1);
    }
    if (hook.IsHookingStretchRect() || !hook.GetStretchRectOriginal()) {
      return false;
    }
  }
}

// Only ever down.
std::int32_t Limited(std::int32_t size, std::int32_t target) {
  return target != 0 ? std::min(size, target) : size;
}

}  // namespace

ScreenCaptureEngineMag::ScreenCaptureEngineMag(HMONITOR monitor, FilterWindowProvider filterWindows,
                                               bool dynamicCheck, bool dirtyInfo,
                                               bool newMouseCaptureWay)
    : m_filterWindows(std::move(filterWindows)),
      m_dirtyInfo(dirtyInfo),
      m_newMouseCaptureWay(newMouseCaptureWay) {
  m_source = monitor;
  // Before there is a magnifier window. Without it the engine works unguarded.
  static_cast<void>(Direct3D9Hook::Instance().HookDirect3DCreate9Ex());
  SetDynamicCheck(dynamicCheck);
}

ScreenCaptureEngineMag::~ScreenCaptureEngineMag() {
  if (m_picture) {
    ScreenCaptureEngineMag::UnInitialize();
  }
}

bool ScreenCaptureEngineMag::Initialize() {
  if (m_magnificationWindow) {
    QX_LOG_ERROR("already init");
    return true;
  }
  if (m_source) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    if (!GetMonitorInfoW(m_source, &info)) {
      QX_LOG_ERROR("GetMonitorInfo failed: last error:{}", LastError());
      return false;
    }
    m_sourceRect = info.rcMonitor;
  }
  m_picture = std::make_shared<MagPicture>(m_newMouseCaptureWay);
  if (!start()) {
    UnInitialize();
    return false;
  }
  m_firstCapture = true;
  m_checkBlack = true;
  m_blackCount = 0;
  return true;
}

bool ScreenCaptureEngineMag::start() {
  m_magnificationWindow = createWindow();
  if (!m_magnificationWindow) {
    return false;
  }
  if (!HookStretchRect()) {
    QX_LOG_ERROR("HookStretchRect failed");
    return false;
  }
  if (!ChangeColors(m_magnificationWindow)) {
    QX_LOG_ERROR("MagSetColorEffect failed");
    return false;
  }
  setSourceRect(m_sourceRect, false);
  return true;
}

HWND ScreenCaptureEngineMag::createWindow() {
  MagThread& thread = MagThread::Instance();
  HWND window = nullptr;
  do {
    if (!thread.Initialize()) {
      QX_LOG_ERROR("MagThread Initialize failed");
      return nullptr;
    }
    window = thread.CreateMagWindowOnThread({m_sourceRect, m_picture});
    // Another engine, the last one, may have ended the thread in between.
  } while (!window && !thread.IsInitialized());
  if (!window) {
    QX_LOG_ERROR("CreateMagWindowOnThread: last error:{}", LastError());
  }
  return window;
}

void ScreenCaptureEngineMag::UnInitialize() {
  m_firstCapture = true;
  m_checkBlack = true;
  m_blackCount = 0;
  if (m_dynamicCaptureHelper) {
    m_dynamicCaptureHelper->Reset();
  }
  MagThread& thread = MagThread::Instance();
  if (m_magnificationWindow && !thread.DestroyMagWindowOnThread(m_magnificationWindow)) {
    m_picture.reset();  // SC-MagThread may be drawing with it
  }
  const bool locked = WindowsUtil::IsScreenLocked() || WindowsUtil::IsUacPrompt();
  if (locked || !thread.HasMagWindow()) {
    thread.UnInitialize(locked ? MagThread::Ending::Always : MagThread::Ending::IfUnused);
  }
  m_magnificationWindow = nullptr;
  m_picture.reset();
  m_surfaceWidth = 0;
  m_surfaceHeight = 0;
  m_sourceRect = {0, 0, 1, 1};
  m_hasPicture = false;
}

void ScreenCaptureEngineMag::SetTargetSize(std::int32_t width, std::int32_t height) {
  if (width == m_targetWidth && height == m_targetHeight) {
    return;
  }
  ScreenCaptureEngine::SetTargetSize(width, height);
  if (width != m_surfaceWidth || height != m_surfaceHeight) {
    m_firstCapture = true;
  }
}

void ScreenCaptureEngineMag::SetDynamicCheck(bool check) {
  if (!check) {
    m_dynamicCaptureHelper.reset();
  } else if (!m_dynamicCaptureHelper) {
    m_dynamicCaptureHelper = std::make_unique<DynamicCaptureHelper>(m_dirtyInfo);
  }
}

bool ScreenCaptureEngineMag::Capture(std::int32_t x, std::int32_t y, std::int32_t width,
                                     std::int32_t height, ScreenCaptureFrame& frame,
                                     CaptureResult& result) {
  result = CaptureResult::Failed;
  frame.SetDirty({});
  if (width < 1 || height < 1 || !canCapture()) {
    return false;
  }
  const RECT rect = {x, y, x + width, y + height};
  if (!EqualRect(&rect, &m_sourceRect)) {
    setSourceRect(rect, true);
  }
  if (m_filterWindows) {
    m_filterWindows(m_sourceRect, m_windows);
  }
  if (isUnchanged(frame)) {
    result = CaptureResult::NoChange;
    return false;
  }
  // What changed is told once.
  m_pictureMissed = true;
  if (!applyFilterList(result) || !waitForDrawing() || !render(frame)) {
    return false;
  }
  m_firstCapture = false;
  if (!checkBlackFrame(frame, result)) {
    return false;
  }
  result = CaptureResult::Success;
  return true;
}

bool ScreenCaptureEngineMag::canCapture() const {
  if (Direct3D9Hook::Instance().IsD3D9Exception()) {
    QX_LOG_ERROR("D3D9 exception occurred, capture failed");
    return false;
  }
  if (WindowsUtil::IsScreenLocked()) {
    QX_LOG_ERROR("screen lock, capture failed");
    return false;
  }
  // What IsUacPrompt says of a session that is not locked, for one question less.
  if (!WindowsUtil::CanSwitchToDefaultDesktop()) {
    QX_LOG_ERROR("uac prompt, capture failed");
    return false;
  }
  if (!m_magnificationWindow || !IsWindow(m_magnificationWindow)) {
    QX_LOG_ERROR("m_magnificationWindow is nullptr");
    return false;
  }
  return true;
}

void ScreenCaptureEngineMag::setSourceRect(const RECT& rect, bool needScale) {
  m_sourceRect = rect;
  m_needScale = m_needScale || needScale;
  const bool onScreen = WindowsUtil::IsRectOnAnyMonitor(rect);
  SetWindowPos(m_magnificationWindow, HWND_TOP, onScreen ? rect.left : 0, onScreen ? rect.top : 0,
               rect.right - rect.left, rect.bottom - rect.top, 0);
  static_cast<void>(Magnification::MagSetWindowSource(m_magnificationWindow, m_sourceRect));
}

// Whether the frame's picture may be repeated.
bool ScreenCaptureEngineMag::isUnchanged(ScreenCaptureFrame& frame) {
  if (m_firstCapture || m_needScale || !m_dynamicCaptureHelper) {
    return false;
  }
  // What lies below other programs' windows changes without the screen showing it.
  if (!m_source && !m_windows.empty() && !WindowsUtil::AreWindowsOfCurrentProcess(m_windows)) {
    return false;
  }
  m_dynamicCaptureHelper->check(m_sourceRect);
  frame.SetDirty(m_dynamicCaptureHelper->GetDirtyInfo());
  return !m_dynamicCaptureHelper->IsFrameChanged() &&
         !(m_showCursor && m_dynamicCaptureHelper->IsMouseChanged()) && !m_pictureMissed &&
         isLastPictureWithoutThem();
}

// Whether the frame's picture leaves out just the windows that are to be left out now.
bool ScreenCaptureEngineMag::isLastPictureWithoutThem() const {
  return m_hasPicture && std::ranges::is_permutation(m_windows, m_pictureWindows);
}

bool ScreenCaptureEngineMag::applyFilterList(CaptureResult& result) {
  const auto count = static_cast<DWORD>(m_windows.size());
  if (count == 0) {
    static_cast<void>(Magnification::MagSetWindowFilterList(m_magnificationWindow,
                                                            Magnification::kExclude, 0, nullptr));
    return true;
  }
  if (!m_firstCapture && count != m_lastFilterCount) {
    m_lastFilterCount = count;
    result = CaptureResult::FilterChanged;
    return false;
  }
  if (!Magnification::MagSetWindowFilterList(m_magnificationWindow, Magnification::kExclude, count,
                                             m_windows.data())) {
    QX_LOG_LIMITED(LogLevelWarn, "set exclude filter list failed,size:{} code:{}",
                   static_cast<std::uint32_t>(count), LastError());
    result = CaptureResult::FilterFailed;
    return false;
  }
  return true;
}

// A window may draw by itself, and what it began under another list must not pass for what
// is asked for under this one.
bool ScreenCaptureEngineMag::waitForDrawing() const {
  DWORD_PTR result = 0;
  if (isLastPictureWithoutThem() ||
      SendMessageTimeoutW(m_magnificationWindow, WM_NULL, 0, 0, SMTO_BLOCK, kPatience, &result)) {
    return true;
  }
  QX_LOG_LIMITED(LogLevelError, "the magnifier doesn't answer, last error:{}", LastError());
  return false;
}

// True when `frame` may be delivered.
bool ScreenCaptureEngineMag::render(ScreenCaptureFrame& frame) {
  const MagPicture::Wish wish = wishedPicture();
  m_picture->Ask(wish, frame);
  const bool drawn = Magnification::MagSetWindowSource(m_magnificationWindow, m_sourceRect);
  const std::uint32_t error = LastError();
  const MagPicture::Outcome outcome = m_picture->Take();
  if (!drawn) {
    QX_LOG_ERROR("MagSetWindowSource failed, last error:{}", error);
    return false;
  }
  switch (outcome) {
    case MagPicture::Outcome::Nothing:
      return false;
    case MagPicture::Outcome::NoRoom:
      // The last picture once more, if nothing in it is to be left out by now.
      return frame.Buffer() && isLastPictureWithoutThem();
    case MagPicture::Outcome::Arrived:
      break;
  }
  m_surfaceWidth = wish.width;
  m_surfaceHeight = wish.height;
  m_needScale = false;
  m_pictureWindows = m_windows;
  m_hasPicture = true;
  m_pictureMissed = false;
  return true;
}

MagPicture::Wish ScreenCaptureEngineMag::wishedPicture() const {
  const std::int32_t width = m_sourceRect.right - m_sourceRect.left;
  const std::int32_t height = m_sourceRect.bottom - m_sourceRect.top;
  return {.source = m_sourceRect,
          .width = Limited(width, m_useBasicGraphics ? 0 : m_targetWidth),
          .height = Limited(height, m_useBasicGraphics ? 0 : m_targetHeight),
          .needScale = m_needScale,
          .showCursor = m_showCursor};
}

bool ScreenCaptureEngineMag::checkBlackFrame(const ScreenCaptureFrame& frame,
                                             CaptureResult& result) {
  if (frame.Buffer() && m_checkBlack) {
    const auto width = static_cast<int>(frame.Width());
    if (isTransparentFrame(reinterpret_cast<const std::uint32_t*>(frame.Buffer().get()), width,
                           static_cast<int>(frame.Height()), width * 4)) {
      ++m_blackCount;
    } else {
      m_blackCount = 0;
      m_checkBlack = false;
    }
  }
  if (m_blackCount < kBlackFramesToGiveUp) {
    return true;
  }
  result = CaptureResult::BlackFrame;
  return false;
}

}  // namespace qx
