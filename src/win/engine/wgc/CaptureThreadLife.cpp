#include "win/engine/wgc/CaptureThreadLife.h"

#include <algorithm>

#include "common/Logging.h"
#include "win/util/ComScope.h"
#include "win/util/RunClosed.h"
#include "win/util/Utils.h"
#include "win/util/Wait.h"

namespace qx {
namespace {

constexpr wchar_t kWindowClass[] = L"WGCHelperWindow";
constexpr UINT WM_START_CAPTURE = WM_USER + 101;  // wParam: a session's id
constexpr UINT WM_STOP_CAPTURE = WM_USER + 102;   // wParam: a session's id
constexpr UINT kPatience = 2000;
constexpr UINT_PTR kTimer = 1;
constexpr UINT kTimerMs = 50;

enum WindowState : std::int32_t { kNormal = 1, kMaximised = 2, kOutOfSight = 3 };

// None of these questions waits for the window.
WindowState StateOf(HWND window) {
  if (IsZoomed(window)) {
    return kMaximised;
  }
  return IsWindowVisible(window) && !IsIconic(window) ? kNormal : kOutOfSight;
}

}  // namespace

// --------------------------------------------------------------- the capture thread

CaptureThread::Life::Life(HWND window)
    : m_sharedWindow(window),
      m_windowState(window ? StateOf(window) : kNormal),
      m_upEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

void CaptureThread::Life::WaitUntilUp() const {
  static_cast<void>(WaitAnswering(m_upEvent.Get(), kPatience));
}

bool CaptureThread::Life::Start(const std::shared_ptr<CaptureSession>& session) {
  if (!m_window) {
    return false;
  }
  WPARAM id = 0;
  {
    const std::lock_guard lock(m_mutex);
    id = ++m_lastId;
    m_sessions.push_back({id, session});
  }
  if (!SendMessageTimeoutW(m_window, WM_START_CAPTURE, id, 0, SMTO_BLOCK, kPatience, nullptr)) {
    giveUp(id);
    return false;
  }
  return session->IsStarted();
}

void CaptureThread::Life::Stop(const std::shared_ptr<CaptureSession>& session) {
  WPARAM id = 0;
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = std::ranges::find(m_sessions, session, &Entry::session);
    if (entry == m_sessions.end()) {
      return;
    }
    id = entry->id;
  }
  DWORD_PTR result = 0;
  if (!SendMessageTimeoutW(m_window, WM_STOP_CAPTURE, id, 0, SMTO_BLOCK, kPatience, &result)) {
    giveUp(id);
  }
}

// A message that nobody waits for any more may not arrive, and the session may have been
// started in the last moment. Without this one it goes with the thread.
void CaptureThread::Life::giveUp(WPARAM id) {
  {
    const std::lock_guard lock(m_mutex);
    if (const auto entry = find(id); entry != m_sessions.end()) {
      entry->wanted = false;
    }
  }
  static_cast<void>(PostMessageW(m_window, WM_STOP_CAPTURE, id, 0));
}

DWORD CaptureThread::Life::End() {
  m_ending = true;
  static_cast<void>(PostMessageW(m_window, WM_QUIT, 0, 0) ||
                    PostThreadMessageW(m_threadId, WM_QUIT, 0, 0));
  const std::lock_guard lock(m_mutex);
  const bool late = m_busy && std::ranges::count(m_sessions, false, &Entry::wanted) > 0;
  return late ? 0 : kPatience;
}

// What has changed since the last look is forgotten with it.
void CaptureThread::Life::ForgetWindowStateChange() {
  if (m_windowStateChanged) {
    m_windowState = StateOf(m_sharedWindow);
    m_windowStateChanged = false;
  }
}

// ---------------------------------------------------------------- the helper thread

void CaptureThread::Life::Run() {
  // Whoever waits must hear of it, whatever ends it.
  struct Up {
    Life& life;
    ~Up() { SetEvent(life.m_upEvent.Get()); }
  } const up{*this};
  const ComScope com;
  m_threadId = GetCurrentThreadId();
  if (createWindow()) {
    serve();
  } else {
    QX_LOG_ERROR("CreateWindowEx WGCHelperWindow failed: last error:{}",
                 static_cast<std::uint32_t>(GetLastError()));
  }
}

// A window that doesn't know its life would serve nobody.
bool CaptureThread::Life::createWindow() {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = GetCurrentModuleHandle();
  windowClass.lpszClassName = kWindowClass;
  // From the second start on the class is there, and this fails.
  static_cast<void>(RegisterClassExW(&windowClass));
  const HWND window = CreateWindowExW(0, kWindowClass, kWindowClass, WS_OVERLAPPEDWINDOW, 0, 0, 0,
                                      0, nullptr, nullptr, windowClass.hInstance, this);
  if (!window) {
    return false;
  }
  if (GetWindowLongPtrW(window, GWLP_USERDATA) != reinterpret_cast<LONG_PTR>(this)) {
    DestroyWindow(window);
    return false;
  }
  m_window = window;
  return true;
}

void CaptureThread::Life::serve() {
  const HWND window = m_window;
  ShowWindow(window, SW_HIDE);
  UpdateWindow(window);
  // By the thread that has the window: the system gives it to no other.
  static_cast<void>(SetTimer(window, kTimer, m_sharedWindow ? kTimerMs : kLookMs, nullptr));
  SetEvent(m_upEvent.Get());
  RunClosed("WGCHelperWindow's thread met an exception", [this] {
    MSG message = {};
    while (!m_ending) {
      if (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
      } else if (!m_ending) {
        // Only its owner ends it, who uses the sessions until then.
        Sleep(kTimerMs);
      }
    }
  });
  static_cast<void>(KillTimer(window, kTimer));
  RunClosed("the end of the sessions met an exception", [this] { stopAll(); });
  m_window = nullptr;
  DestroyWindow(window);
}

LRESULT CALLBACK CaptureThread::Life::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                                      LPARAM lParam) noexcept {
  if (message == WM_NCCREATE) {
    const auto* const create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  auto* const life = reinterpret_cast<Life*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  bool handled = false;
  if (life) {
    RunClosed("WGCHelperWindow met an exception",
              [&] { handled = life->handleMessage(message, wParam); });
  }
  return handled ? 0 : DefWindowProcW(window, message, wParam, lParam);
}

bool CaptureThread::Life::handleMessage(UINT message, WPARAM wParam) {
  switch (message) {
    case WM_TIMER:
      if (m_sharedWindow) {
        checkWindowState();
      }
      return true;
    case WM_START_CAPTURE:
      startCapture(wParam);
      return true;
    case WM_STOP_CAPTURE:
      stopCapture(wParam);
      return true;
    default:
      return false;
  }
}

void CaptureThread::Life::checkWindowState() {
  const std::int32_t state = StateOf(m_sharedWindow);
  if (m_windowState.exchange(state) != state) {
    m_windowStateChanged = true;
  }
}

void CaptureThread::Life::startCapture(WPARAM id) {
  std::shared_ptr<CaptureSession> session;
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = find(id);
    if (entry == m_sessions.end() || !entry->wanted) {
      return;
    }
    session = entry->session;
  }
  m_busy = true;
  session->Start();
  m_busy = false;
  bool keep = false;
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = find(id);
    keep = entry != m_sessions.end() && entry->wanted && session->IsStarted();
  }
  if (!keep) {
    stopCapture(id);
  }
}

void CaptureThread::Life::stopCapture(WPARAM id) {
  std::shared_ptr<CaptureSession> session;
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = find(id);
    if (entry == m_sessions.end()) {
      return;
    }
    session = entry->session;
  }
  m_busy = true;
  session->Stop();
  m_busy = false;
  const std::lock_guard lock(m_mutex);
  if (const auto entry = find(id); entry != m_sessions.end()) {
    m_sessions.erase(entry);
  }
}

void CaptureThread::Life::stopAll() {
  std::vector<Entry> last;
  {
    const std::lock_guard lock(m_mutex);
    m_sessions.swap(last);
  }
  for (const Entry& entry : last) {
    entry.session->Stop();
  }
}

std::vector<CaptureThread::Life::Entry>::iterator CaptureThread::Life::find(WPARAM id) {
  return std::ranges::find(m_sessions, id, &Entry::id);
}

}  // namespace qx
