#include "win/prompt/PromptDesktop.h"

#include "common/Logging.h"

namespace qx {
namespace {

constexpr UINT_PTR kTimerId = 1;
constexpr UINT kTimerMs = 10;

LogRateLimiter emptyClientLog(kLogIntervalMs);
constexpr PromptFrame::Kind kKind = {L"OrvaSSPromptDesktop", "PromptDesktop", emptyClientLog};

}  // namespace

PromptDesktop::PromptDesktop(const RECT& monitor, bool show)
    : m_position{monitor.left, monitor.top, monitor.right - monitor.left,
                 monitor.bottom - monitor.top},
      m_frame(kKind, show) {}

bool PromptDesktop::Start() {
  return m_frame.Start([this] { live(); });
}

void PromptDesktop::live() {
  const HWND window = m_frame.Open(m_position.x, m_position.y, m_position.width, m_position.height);
  QX_LOG_INFO("OrvaSSPromptDesktop Param:left = {},top = {},width = {},height = {}", m_position.x,
              m_position.y, m_position.width, m_position.height);
  if (!window) {
    return;
  }
  // Nobody handles its messages: they make the loop look whether it is to go on.
  SetTimer(window, kTimerId, kTimerMs, nullptr);
  SetFocus(window);
  SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  m_frame.Serve();
  if (const HWND last = m_frame.TakeWindow()) {
    DestroyWindow(last);
  }
}

void PromptDesktop::Show(bool show) {
  QX_TRACE("PromptDesktop::Show");
  QX_LOG_INFO("Set PromptDesktop State {}", show ? "Show" : "Hide");
  m_frame.SetShow(show);
  if (const HWND window = m_frame.GetHwnd()) {
    ShowWindow(window, show ? SW_SHOW : SW_HIDE);
  }
}

void PromptDesktop::SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info) {
  QX_TRACE("PromptDesktop::SetPromptWindowInfo");
  m_frame.SetLook(info);
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
  if (!SetWindowPos(m_frame.GetHwnd(), HWND_TOPMOST, x, y, width, height, 0)) {
    QX_LOG_WARN("SetWindowPos Failed:{}", static_cast<std::uint32_t>(GetLastError()));
  }
}

}  // namespace qx
