#include "win/prompt/PromptFrame.h"

#include <algorithm>
#include <utility>

#include "win/util/Utils.h"

namespace qx {
namespace {

constexpr wchar_t kTitle[] = L"OrvaSSPromptWindow";
constexpr COLORREF kTransparentColor = RGB(255, 255, 255);
constexpr BYTE kAlpha = 128;
// How long a wait may last when the system loses what ends it.
constexpr DWORD kPollMs = 10;

COLORREF ToColor(const IScreenCapture::PromptWindowInfo& info) {
  const auto channel = [](std::int32_t value, int shift) {
    return static_cast<COLORREF>(value) << shift;
  };
  return channel(info.r, 0) | channel(info.g, 8) | channel(info.b, 16);
}

}  // namespace

PromptFrame::PromptFrame(const Kind& kind, bool show) : m_kind(kind), m_show(show) {
  const IScreenCapture::PromptWindowInfo defaults;
  m_color = ToColor(defaults);
  m_width = defaults.width;
}

bool PromptFrame::Start(std::function<void()> life) {
  m_stateChanged = KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!m_stateChanged) {
    return false;
  }
  m_running = true;
  m_state = State::Starting;
  const auto body = [this, life = std::move(life)] {
    // Whoever waits for the thread must hear of its end, whatever ends it.
    struct EndReport {
      PromptFrame& frame;
      ~EndReport() {
        frame.m_hwnd = nullptr;
        frame.enterState(State::Ended);
      }
    } const endReport{*this};
    life();
  };
  if (!m_thread.Start(body)) {
    m_state = State::NotStarted;
    return false;
  }
  // The time-out is for an event that the system failed to set.
  while (m_state == State::Starting) {
    WaitForSingleObject(m_stateChanged.Get(), kPollMs);
  }
  return m_state == State::Up;
}

void PromptFrame::Stop() {
  if (!m_thread.IsStarted()) {
    return;
  }
  m_running = false;
  // To the thread, since the window may be gone, and its handle somebody else's by now.
  // A lost message is sent again: the thread must end, or the share never would.
  while (m_state != State::Ended) {
    PostThreadMessageW(m_thread.Id(), WM_QUIT, 0, 0);
    WaitForSingleObject(m_stateChanged.Get(), kPollMs);
  }
  m_thread.Join();
}

HWND PromptFrame::Open(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = GetCurrentModuleHandle();
  windowClass.lpszClassName = m_kind.className;
  // From the second share on the class is there, and this fails.
  static_cast<void>(RegisterClassExW(&windowClass));

  const HWND window =
      CreateWindowExW(WS_EX_TOOLWINDOW, m_kind.className, kTitle, WS_POPUP, x, y, width, height,
                      nullptr, nullptr, windowClass.hInstance, nullptr);
  if (!window) {
    return nullptr;
  }
  if (!attachTo(window)) {
    DestroyWindow(window);
    return nullptr;
  }
  SetWindowLongPtrW(window, GWL_EXSTYLE,
                    GetWindowLongPtrW(window, GWL_EXSTYLE) | WS_EX_LAYERED | WS_EX_TRANSPARENT);
  SetLayeredWindowAttributes(window, kTransparentColor, kAlpha, LWA_COLORKEY | LWA_ALPHA);
  return window;
}

// A window that doesn't know its frame could neither paint nor tell of its end.
bool PromptFrame::attachTo(HWND window) {
  const auto self = reinterpret_cast<LONG_PTR>(this);
  SetWindowLongPtrW(window, GWLP_USERDATA, self);
  if (GetWindowLongPtrW(window, GWLP_USERDATA) != self) {
    return false;
  }
  m_hwnd = window;
  return true;
}

// Ends at WM_QUIT, and at an error, which would only come again.
void PromptFrame::Serve() {
  enterState(State::Up);
  MSG message = {};
  while (m_running && GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void PromptFrame::enterState(State state) {
  m_state = state;
  SetEvent(m_stateChanged.Get());
}

void PromptFrame::SetShow(bool show) {
  m_show = show;
  invalidate();
}

void PromptFrame::SetLook(const IScreenCapture::PromptWindowInfo& info) {
  m_width = info.width;
  m_color = ToColor(info);
  invalidate();
}

// A null window would stand for all windows of the desktop.
void PromptFrame::invalidate() {
  if (const HWND window = m_hwnd) {
    InvalidateRect(window, nullptr, FALSE);
  }
}

LRESULT CALLBACK PromptFrame::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                              LPARAM lParam) noexcept {
  if (message == WM_PAINT || message == WM_NCDESTROY) {
    const auto self = reinterpret_cast<PromptFrame*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self && message == WM_PAINT && self->paint(window)) {
      return 0;
    }
    if (self && message == WM_NCDESTROY) {
      self->m_hwnd = nullptr;
      PostQuitMessage(0);
    }
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

// False when the default procedure is to finish: it also validates a window that
// could not be painted, so that WM_PAINT does not come for ever.
bool PromptFrame::paint(HWND window) {
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
    paintStrips(dc, client);
  }
  EndPaint(window, &paintStruct);
  return show;
}

void PromptFrame::paintStrips(HDC dc, const RECT& client) {
  if (IsRectEmpty(&client) && m_kind.emptyClientLog.Allow()) {
    QX_LOG_ERROR("{} GetClient Error: left = {}, top = {}, right = {}, bottom = {}", m_kind.logName,
                 static_cast<std::int32_t>(client.left), static_cast<std::int32_t>(client.top),
                 static_cast<std::int32_t>(client.right), static_cast<std::int32_t>(client.bottom));
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
