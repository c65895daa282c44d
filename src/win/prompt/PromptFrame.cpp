#include "win/prompt/PromptFrame.h"

#include <algorithm>
#include <utility>

#include "win/util/Clock.h"
#include "win/util/Errand.h"
#include "win/util/Utils.h"
#include "win/util/Wait.h"

namespace qx {
namespace {

constexpr wchar_t kTitle[] = L"OrvaSSPromptWindow";
constexpr COLORREF kTransparentColor = RGB(255, 255, 255);
constexpr BYTE kAlpha = 128;
// Has the thread look at what is wished.
constexpr UINT kWake = WM_APP;
constexpr UINT_PTR kTimer = 1;

PromptFrame::Look ToLook(const IScreenCapture::PromptWindowInfo& info, bool painted) {
  const auto channel = [](std::int32_t value, int shift) {
    return static_cast<COLORREF>(value) << shift;
  };
  return {painted, channel(info.r, 0) | channel(info.g, 8) | channel(info.b, 16), info.width};
}

// Otherwise it would hide what it lies over, and take its clicks. Only a window that is
// layered takes attributes.
bool MakeSeeThrough(HWND window) {
  SetWindowLongPtrW(window, GWL_EXSTYLE,
                    GetWindowLongPtrW(window, GWL_EXSTYLE) | WS_EX_LAYERED | WS_EX_TRANSPARENT);
  return SetLayeredWindowAttributes(window, kTransparentColor, kAlpha, LWA_COLORKEY | LWA_ALPHA) !=
         FALSE;
}

}  // namespace

PromptFrame::PromptFrame(const Kind& kind, const Place& place, bool painted)
    : m_asked{.place = place, .look = ToLook({}, painted)},
      m_life(std::make_shared<Life>(kind, m_asked)) {}

bool PromptFrame::Start(std::function<void(Life&)> life) {
  m_life->m_phaseChanged = KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!m_life->m_phaseChanged) {
    return false;
  }
  m_life->m_phase = Life::Phase::Starting;
  const auto body = [state = m_life, life = std::move(life)] {
    // Whoever waits for the thread must hear of its end, whatever ends it.
    struct End {
      Life& life;
      ~End() { life.end(); }
    } const end{*state};
    life(*state);
  };
  if (!m_thread.Start(body)) {
    return false;
  }
  while (m_life->m_phase == Life::Phase::Starting) {
    static_cast<void>(WaitAnswering(m_life->m_phaseChanged.Get(), kPollMs));
  }
  return m_life->m_phase == Life::Phase::Up;
}

void PromptFrame::Stop() {
  if (!m_thread.IsStarted()) {
    return;
  }
  const Deadline deadline(kPatienceMs);
  m_life->m_stopping = true;
  // To the thread, since the window may be gone, and its handle somebody else's by now.
  // A message can get lost, so it is sent again.
  while (m_life->m_phase != Life::Phase::Down && deadline.MillisLeft() > 0) {
    PostThreadMessageW(m_thread.Id(), WM_QUIT, 0, 0);
    static_cast<void>(WaitAnswering(m_life->m_phaseChanged.Get(),
                                    std::min<DWORD>(kPollMs, deadline.MillisLeft())));
  }
  if (!m_thread.JoinWithin(deadline.MillisLeft())) {
    QX_LOG_WARN("{} is still waiting for another window", m_life->m_kind.logName);
  }
}

void PromptFrame::Ask(const Wish& wish) {
  if (wish == m_asked && !m_owesWake) {
    return;
  }
  m_asked = wish;
  {
    const std::lock_guard lock(m_life->m_mutex);
    m_life->m_wish = wish;
  }
  m_owesWake = GetHwnd() && !PostThreadMessageW(m_thread.Id(), kWake, 0, 0);
}

void PromptFrame::AskForLook(const IScreenCapture::PromptWindowInfo& info) {
  Wish wish = m_asked;
  wish.look = ToLook(info, wish.look.painted);
  Ask(wish);
}

HWND PromptFrame::GetHwnd() const { return m_thread.IsStarted() ? m_life->GetWindow() : nullptr; }

void PromptFrame::Life::enter(Phase phase) {
  m_phase = phase;
  SetEvent(m_phaseChanged.Get());
}

// What is left of the window goes with the thread, but this may go before.
void PromptFrame::Life::end() {
  if (const HWND last = m_window.exchange(nullptr)) {
    SetWindowLongPtrW(last, GWLP_USERDATA, 0);
  }
  enter(Phase::Down);
}

HWND PromptFrame::Life::Open() {
  {
    const std::lock_guard lock(m_mutex);
    m_present = m_wish;
  }
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = GetCurrentModuleHandle();
  windowClass.lpszClassName = m_kind.className;
  // From the second share on the class is there, and this fails.
  static_cast<void>(RegisterClassExW(&windowClass));

  const Place& place = m_present.place;
  const HWND window =
      CreateWindowExW(WS_EX_TOOLWINDOW, m_kind.className, kTitle, WS_POPUP, place.x, place.y,
                      place.width, place.height, nullptr, nullptr, windowClass.hInstance, nullptr);
  if (!window || !attachTo(window) || !MakeSeeThrough(window)) {
    if (window) {
      DestroyWindow(window);
    }
    // Start needs to know no more.
    enter(Phase::Down);
    return nullptr;
  }
  // Has Serve look for what it was not told: any message can get lost.
  static_cast<void>(SetTimer(window, kTimer, kLookMs, nullptr));
  return window;
}

// A window that doesn't know its frame could neither paint nor tell of its end.
bool PromptFrame::Life::attachTo(HWND window) {
  const auto self = reinterpret_cast<LONG_PTR>(this);
  SetWindowLongPtrW(window, GWLP_USERDATA, self);
  if (GetWindowLongPtrW(window, GWLP_USERDATA) != self) {
    return false;
  }
  m_window = window;
  return true;
}

// Ends at WM_QUIT, and at an error, which would only come again.
void PromptFrame::Life::Serve(const Arrange& arrange) {
  MSG message = {};
  while (!m_stopping && GetMessageW(&message, nullptr, 0, 0) > 0) {
    // Whatever woke the thread: a wake that got lost is made good by the next message.
    fulfil(arrange);
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void PromptFrame::Life::fulfil(const Arrange& arrange) {
  const Wish before = m_present;
  {
    const std::lock_guard lock(m_mutex);
    m_present = m_wish;
  }
  const HWND window = m_window;
  if (!window || m_present == before) {
    return;
  }
  if (m_present.look != before.look) {
    InvalidateRect(window, nullptr, FALSE);
  }
  arrange(window, before, m_present);
}

LRESULT CALLBACK PromptFrame::Life::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                                    LPARAM lParam) noexcept {
  if (message == WM_PAINT || message == WM_NCDESTROY) {
    const auto self = reinterpret_cast<Life*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self && message == WM_PAINT && self->paint(window)) {
      return 0;
    }
    if (self && message == WM_NCDESTROY) {
      self->m_window = nullptr;
      PostQuitMessage(0);
    }
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

// False when the default procedure is to finish: it also validates a window that
// could not be painted, so that WM_PAINT does not come for ever.
bool PromptFrame::Life::paint(HWND window) {
  PAINTSTRUCT paintStruct;
  const HDC dc = BeginPaint(window, &paintStruct);
  if (!dc) {
    return false;
  }
  const GdiBrush white(CreateSolidBrush(kTransparentColor));
  RECT client = {};
  GetClientRect(window, &client);
  FillRect(dc, &client, white.Get());
  if (m_present.look.painted) {
    paintStrips(dc, client);
  }
  EndPaint(window, &paintStruct);
  return m_present.look.painted;
}

void PromptFrame::Life::paintStrips(HDC dc, const RECT& client) {
  if (IsRectEmpty(&client) && m_kind.emptyClientLog.Allow()) {
    QX_LOG_ERROR("{} GetClient Error: left = {}, top = {}, right = {}, bottom = {}", m_kind.logName,
                 static_cast<std::int32_t>(client.left), static_cast<std::int32_t>(client.top),
                 static_cast<std::int32_t>(client.right), static_cast<std::int32_t>(client.bottom));
  }
  const LONG longerSide =
      std::max<LONG>({client.right - client.left, client.bottom - client.top, 0});
  const LONG width = std::clamp<LONG>(m_present.look.width, 0, longerSide);
  const GdiBrush brush(CreateSolidBrush(m_present.look.color));
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
