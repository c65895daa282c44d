#include "win/list/ThumbnailWindow.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "common/Logging.h"
#include "win/util/Clock.h"
#include "win/util/SystemProbes.h"
#include "win/util/Utils.h"
#include "win/util/Wait.h"

namespace qx {
namespace {

// The list of windows leaves this class out.
constexpr wchar_t kName[] = L"ThumbnailWindow";
constexpr DWORD kPatience = 1000;
// What a window's frame has left and right that is not the window's.
constexpr LONG kEdge = 2;

LONG WidthOf(const RECT& rect) { return rect.right - rect.left; }
LONG HeightOf(const RECT& rect) { return rect.bottom - rect.top; }

// The part of a window's picture that is shown.
struct Part {
  LONG left = 0;
  LONG top = 0;
  SIZE size = {};
};

// The frame bounds of a window, or its rectangle where they are not to be had.
RECT FrameOf(HWND target, const RECT& window) {
  RECT frame = window;
  if (FAILED(DwmGetWindowAttribute(target, DWMWA_EXTENDED_FRAME_BOUNDS, &frame, sizeof(frame)))) {
    frame = window;
  }
  return frame;
}

// A maximised window hangs over the monitor's edges.
Part MaximisedPart(const RECT& window, SIZE size) {
  const LONG dx = WidthOf(window) - size.cx;
  const LONG dy = HeightOf(window) - size.cy;
  return {dx / 2, dy / 2, {size.cx - dx, size.cy - dy}};
}

// The compositor keeps the picture that a minimised window had, while its rectangle is
// that of a title bar off the screen. What is not the restored size is of an older kind.
Part MinimisedPart(HWND target, const RECT& window, SIZE size) {
  WINDOWPLACEMENT placement = {};
  placement.length = sizeof(placement);
  GetWindowPlacement(target, &placement);  // stays empty when it fails
  const RECT& normal = placement.rcNormalPosition;
  const RECT frame = FrameOf(target, window);
  const LONG dw = WidthOf(window) - WidthOf(frame);
  const LONG dh = HeightOf(window) - HeightOf(frame);
  const LONG left = frame.left - window.left;
  const LONG top = frame.top - window.top;
  if (size.cx == WidthOf(normal) && size.cy == HeightOf(normal)) {
    size.cx -= dw != 0 ? dw : dh / 2;
    size.cy -= dh != 0 ? dh : dw / 2;
    return {left + kEdge, top, {size.cx - 2 * kEdge, size.cy}};
  }
  if (dw != 0 || dh != 0) {
    size.cx -= std::max(dw, dh);
    size.cy -= std::max(dw, dh);
  }
  const LONG edge = std::max(left, top);
  return {edge + kEdge, edge, {size.cx - 2 * kEdge, size.cy}};
}

Part OrdinaryPart(HWND target, const RECT& window, SIZE size) {
  const RECT frame = FrameOf(target, window);
  return {frame.left - window.left + kEdge, frame.top - window.top, {size.cx - 2 * kEdge, size.cy}};
}

// `size` is that of the whole picture.
Part ShownPart(HWND target, SIZE size) {
  if (!WindowsUtil::IsWindows8OrGreater()) {
    return {0, 0, size};
  }
  RECT window = {};
  GetWindowRect(target, &window);
  const void* const named = target;
  if (IsZoomed(target)) {
    QX_LOG_INFO("ThumbnailWindow::SetTarget IsZoomed {}", named);
    return MaximisedPart(window, size);
  }
  if (IsIconic(target)) {
    QX_LOG_INFO("ThumbnailWindow::SetTarget IsIconic {}", named);
    return MinimisedPart(target, window, size);
  }
  QX_LOG_INFO("ThumbnailWindow::SetTarget else {}", named);
  return OrdinaryPart(target, window, size);
}

}  // namespace

// What the window's thread works on.
struct ThumbnailWindow::Life {
  enum class Phase { Starting, Up, Down };

  explicit Life(const RECT& place) : rect(place) {}

  const RECT rect;
  KernelHandle started;  // manual-reset
  std::atomic<Phase> phase = Phase::Starting;
  std::atomic<bool> ending = false;
  std::atomic<HWND> window = nullptr;

  void Run() {
    if (open()) {
      enter(Phase::Up);
      serve();
    }
    if (const HWND last = window.exchange(nullptr)) {
      DestroyWindow(last);
    }
    enter(Phase::Down);
  }

 private:
  void enter(Phase next) {
    phase = next;
    SetEvent(started.Get());
  }

  bool open() {
    GdiBrush black(CreateSolidBrush(0));
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = DefWindowProcW;
    windowClass.hInstance = GetCurrentModuleHandle();
    windowClass.hbrBackground = black.Get();
    windowClass.lpszClassName = kName;
    // From the second start on the class is there, and this fails.
    if (RegisterClassExW(&windowClass)) {
      static_cast<void>(black.Release());  // the class has it now
    }
    const HWND made = CreateWindowExW(WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW, kName, kName, WS_POPUP,
                                      rect.left, rect.top, WidthOf(rect), HeightOf(rect), nullptr,
                                      nullptr, windowClass.hInstance, nullptr);
    if (!made) {
      QX_LOG_WARN("ThumbnailWindow could not be made,last Error:{}",
                  static_cast<std::uint32_t>(GetLastError()));
      return false;
    }
    SetWindowLongPtrW(made, GWL_EXSTYLE,
                      GetWindowLongPtrW(made, GWL_EXSTYLE) | WS_EX_LAYERED | WS_EX_TRANSPARENT);
    // Has the loop look whether it is to end, should the message be lost that says so.
    SetTimer(made, 1, kPollMs, nullptr);
    // It gets no focus and is shown without being activated: that would take the keyboard
    // from the window in which the user writes, while this program is in front, and wait
    // for the threads of windows that lose it.
    SetWindowPos(made, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
    ShowWindow(made, SW_SHOWNA);
    UpdateWindow(made);
    window = made;
    return true;
  }

  void serve() const {
    MSG message = {};
    // An error would only come again.
    while (!ending && GetMessageW(&message, nullptr, 0, 0) > 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
};

bool ThumbnailWindow::Start(const RECT& rect) {
  Stop();
  m_rect = rect;
  m_life = std::make_shared<Life>(rect);
  m_life->started = KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!m_life->started || !m_thread.Start([life = m_life] { life->Run(); })) {
    return false;
  }
  const Deadline deadline(kPatience);
  while (m_life->phase == Life::Phase::Starting && deadline.MillisLeft() > 0) {
    static_cast<void>(
        WaitAnswering(m_life->started.Get(), std::min<DWORD>(kPollMs, deadline.MillisLeft())));
  }
  return m_life->phase == Life::Phase::Up;
}

void ThumbnailWindow::Stop() {
  m_thumbnail.Reset();
  if (!m_thread.IsStarted()) {
    return;
  }
  m_life->ending = true;
  // To the thread: the window may have been closed from outside.
  PostThreadMessageW(m_thread.Id(), WM_QUIT, 0, 0);
  if (!m_thread.JoinWithin(kPatience)) {
    QX_LOG_WARN("ThumbnailWindow does not end in time");
  }
}

HWND ThumbnailWindow::GetWindowHandle() const {
  return m_thread.IsStarted() ? m_life->window.load() : nullptr;
}

bool ThumbnailWindow::SetTarget(HWND target, RECT& hostRect, SIZE& normalSize) {
  m_thumbnail.Reset();
  if (!show(target, normalSize)) {
    m_thumbnail.Reset();
    return false;
  }
  hostRect = m_rect;
  return true;
}

bool ThumbnailWindow::show(HWND target, SIZE& normalSize) {
  const HWND host = GetWindowHandle();
  SIZE size = {};
  if (!host || FAILED(DwmRegisterThumbnail(host, target, m_thumbnail.Put())) ||
      FAILED(DwmQueryThumbnailSourceSize(m_thumbnail.Get(), &size))) {
    return false;
  }
  const Part part = ShownPart(target, size);
  DWM_THUMBNAIL_PROPERTIES properties = {};
  properties.dwFlags = DWM_TNP_RECTDESTINATION | DWM_TNP_RECTSOURCE | DWM_TNP_VISIBLE;
  properties.rcDestination = {0, 0, WidthOf(m_rect), HeightOf(m_rect)};
  properties.rcSource = {part.left, part.top, part.left + part.size.cx, part.top + part.size.cy};
  properties.fVisible = TRUE;
  if (FAILED(DwmUpdateThumbnailProperties(m_thumbnail.Get(), &properties))) {
    return false;
  }
  normalSize = part.size;
  return true;
}

}  // namespace qx
