#include "win/prompt/PromptDesktop.h"

#include <algorithm>

#include "common/Logging.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

constexpr wchar_t kClassName[] = L"OrvaSSPromptDesktop";
constexpr wchar_t kTitle[] = L"OrvaSSPromptWindow";
constexpr COLORREF kTransparentColor = RGB(255, 255, 255);
constexpr BYTE kAlpha = 128;
constexpr UINT_PTR kTimerId = 1;
// How long the end of the frame may wait when the message that asks for it is lost.
constexpr UINT kPollMs = 10;

COLORREF ToColor(const IScreenCapture::PromptWindowInfo& info) {
  const auto channel = [](std::int32_t value, int shift) {
    return static_cast<COLORREF>(value) << shift;
  };
  return channel(info.r, 0) | channel(info.g, 8) | channel(info.b, 16);
}

}  // namespace

PromptDesktop::PromptDesktop(const RECT& monitor, bool show)
    : m_position{monitor.left, monitor.top, monitor.right - monitor.left,
                 monitor.bottom - monitor.top},
      m_show(show) {
  const IScreenCapture::PromptWindowInfo defaults;
  m_color = ToColor(defaults);
  m_width = defaults.width;
}

bool PromptDesktop::Start() {
  m_stateChanged = KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!m_stateChanged) {
    return false;
  }
  m_running = true;
  m_state = State::Starting;
  if (!m_thread.Start([this] { run(); })) {
    m_state = State::NotStarted;
    return false;
  }
  // The time-out is for an event that the system failed to set.
  while (m_state == State::Starting) {
    WaitForSingleObject(m_stateChanged.Get(), kPollMs);
  }
  return m_state == State::Up;
}

void PromptDesktop::Stop() {
  if (!m_thread.IsStarted()) {
    return;
  }
  m_running = false;
  // A lost message is sent again: the thread must end, or the share never would.
  while (m_state != State::Ended) {
    if (const HWND window = m_hwnd) {
      PostMessageW(window, WM_QUIT, 0, 0);
    }
    WaitForSingleObject(m_stateChanged.Get(), kPollMs);
  }
  m_thread.Join();
}

void PromptDesktop::run() {
  // Whoever waits for the thread must hear of its end, whatever ends it.
  struct EndReport {
    PromptDesktop& prompt;
    ~EndReport() { prompt.enterState(State::Ended); }
  } const endReport{*this};

  if (!createWindow()) {
    return;
  }
  enterState(State::Up);
  serveMessages();
  DestroyWindow(m_hwnd.exchange(nullptr));
}

bool PromptDesktop::createWindow() {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = GetCurrentModuleHandle();
  windowClass.lpszClassName = kClassName;
  // From the second share on the class is there, and this fails.
  static_cast<void>(RegisterClassExW(&windowClass));

  const HWND window = CreateWindowExW(WS_EX_TOOLWINDOW, kClassName, kTitle, WS_POPUP, m_position.x,
                                      m_position.y, m_position.width, m_position.height, nullptr,
                                      nullptr, windowClass.hInstance, nullptr);
  m_hwnd = window;
  QX_LOG_INFO("OrvaSSPromptDesktop Param:left = {},top = {},width = {},height = {}", m_position.x,
              m_position.y, m_position.width, m_position.height);
  if (!window) {
    return false;
  }
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetWindowLongPtrW(window, GWL_EXSTYLE,
                    GetWindowLongPtrW(window, GWL_EXSTYLE) | WS_EX_LAYERED | WS_EX_TRANSPARENT);
  SetLayeredWindowAttributes(window, kTransparentColor, kAlpha, LWA_COLORKEY | LWA_ALPHA);
  // Nobody handles its messages: they make the loop look at m_running.
  SetTimer(window, kTimerId, kPollMs, nullptr);
  SetFocus(window);
  SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  return true;
}

// Ends at WM_QUIT, and at an error, which would only come again.
void PromptDesktop::serveMessages() {
  MSG message = {};
  while (m_running && GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void PromptDesktop::enterState(State state) {
  m_state = state;
  SetEvent(m_stateChanged.Get());
}

void PromptDesktop::Show(bool show) {
  QX_TRACE("PromptDesktop::Show");
  QX_LOG_INFO("Set PromptDesktop State {}", show ? "Show" : "Hide");
  m_show = show;
  invalidate();
  if (const HWND window = m_hwnd) {
    ShowWindow(window, show ? SW_SHOW : SW_HIDE);
  }
}

void PromptDesktop::SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info) {
  QX_TRACE("PromptDesktop::SetPromptWindowInfo");
  m_width = info.width;
  m_color = ToColor(info);
  invalidate();
}

// A null window would stand for all windows of the desktop.
void PromptDesktop::invalidate() {
  if (const HWND window = m_hwnd) {
    InvalidateRect(window, nullptr, FALSE);
  }
}

void PromptDesktop::UpdatePosition(std::int32_t x, std::int32_t y, std::int32_t width,
                                   std::int32_t height) {
  const Position position = {x, y, width, height};
  if (position == m_position) {
    return;
  }
  QX_LOG_INFO("PromptDesktop::UpdatePosition, x:{}, y:{}, width:{}, height:{}", x, y, width,
              height);
  m_position = position;
  if (!SetWindowPos(m_hwnd, HWND_TOPMOST, x, y, width, height, 0)) {
    QX_LOG_WARN("SetWindowPos Failed:{}", static_cast<std::uint32_t>(GetLastError()));
  }
}

LRESULT CALLBACK PromptDesktop::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                                LPARAM lParam) noexcept {
  if (message == WM_PAINT) {
    const auto self = reinterpret_cast<PromptDesktop*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self && self->paint(window)) {
      return 0;
    }
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

// False when the default procedure is to finish: it also validates a window that
// could not be painted, so that WM_PAINT does not come for ever.
bool PromptDesktop::paint(HWND window) {
  PAINTSTRUCT paintStruct;
  const HDC dc = BeginPaint(window, &paintStruct);
  if (!dc) {
    return false;
  }
  const bool show = m_show;
  const GdiBrush white(CreateSolidBrush(kTransparentColor));
  RECT client = {};
  GetClientRect(window, &client);
  FillRect(dc, &client, white.Get());
  if (show) {
    paintFrame(dc, client);
  }
  EndPaint(window, &paintStruct);
  return show;
}

void PromptDesktop::paintFrame(HDC dc, const RECT& client) const {
  if (client.left >= client.right || client.top >= client.bottom) {
    QX_LOG_LIMITED(LogLevelError,
                   "PromptDesktop GetClient Error: left = {}, top = {}, right = {}, bottom = {}",
                   static_cast<std::int32_t>(client.left), static_cast<std::int32_t>(client.top),
                   static_cast<std::int32_t>(client.right),
                   static_cast<std::int32_t>(client.bottom));
  }
  const LONG longerSide =
      std::max<LONG>({client.right - client.left, client.bottom - client.top, 0});
  const LONG width = std::clamp<LONG>(m_width, 0, longerSide);
  const GdiBrush brush(CreateSolidBrush(m_color));
  const RECT strips[] = {
      {client.left, client.top, client.right, client.top + width},
      {client.left, client.bottom - width, client.right, client.bottom},
      {client.left, client.top, client.left + width, client.bottom},
      {client.right - width, client.top, client.right, client.bottom},
  };
  for (const RECT& strip : strips) {
    FillRect(dc, &strip, brush.Get());
  }
}

}  // namespace qx
