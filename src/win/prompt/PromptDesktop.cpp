#include "win/prompt/PromptDesktop.h"

#include "common/Logging.h"

namespace qx {
namespace {

constexpr UINT_PTR kTimerId = 1;
constexpr UINT kTimerMs = 10;

LogRateLimiter emptyClientLog(kLogIntervalMs);
constexpr PromptFrame::Kind kKind = {L"OrvaSSPromptDesktop", "PromptDesktop", emptyClientLog};

void Arrange(HWND window, const PromptFrame::Wish& before, const PromptFrame::Wish& wish) {
  if (wish.visible != before.visible) {
    ShowWindow(window, wish.visible ? SW_SHOW : SW_HIDE);
  }
  const PromptFrame::Place& place = wish.place;
  if (place != before.place &&
      !SetWindowPos(window, HWND_TOPMOST, place.x, place.y, place.width, place.height, 0)) {
    QX_LOG_WARN("SetWindowPos Failed:{}", static_cast<std::uint32_t>(GetLastError()));
  }
}

void Live(PromptFrame::Life& life, const PromptFrame::Place& place) {
  const HWND window = life.Open();
  if (window) {
    // Nobody handles its messages: they make the loop look whether it is to go on.
    SetTimer(window, kTimerId, kTimerMs, nullptr);
    SetFocus(window);
    SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
    ShowWindow(window, SW_SHOW);
    UpdateWindow(window);
    life.EnterUp();
  }
  QX_LOG_INFO("OrvaSSPromptDesktop Param:left = {},top = {},width = {},height = {}", place.x,
              place.y, place.width, place.height);
  if (window) {
    life.Serve(Arrange);
  }
  if (const HWND last = life.GetWindow()) {
    DestroyWindow(last);
  }
}

}  // namespace

PromptDesktop::PromptDesktop(const RECT& monitor, bool show)
    : m_frame(
          kKind,
          {monitor.left, monitor.top, monitor.right - monitor.left, monitor.bottom - monitor.top},
          show) {}

bool PromptDesktop::Start() {
  return m_frame.Start(
      [place = m_frame.Asked().place](PromptFrame::Life& life) { Live(life, place); });
}

void PromptDesktop::Show(bool show) {
  QX_TRACE("PromptDesktop::Show");
  QX_LOG_INFO("Set PromptDesktop State {}", show ? "Show" : "Hide");
  PromptFrame::Wish wish = m_frame.Asked();
  wish.look.painted = show;
  wish.visible = show;
  m_frame.Ask(wish);
}

void PromptDesktop::SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info) {
  QX_TRACE("PromptDesktop::SetPromptWindowInfo");
  m_frame.AskForLook(info);
}

void PromptDesktop::UpdatePosition(std::int32_t x, std::int32_t y, std::int32_t width,
                                   std::int32_t height) {
  PromptFrame::Wish wish = m_frame.Asked();
  wish.place = {x, y, width, height};
  if (wish.place != m_frame.Asked().place) {
    QX_LOG_INFO("PromptDesktop::UpdatePosition, x:{}, y:{}, width:{}, height:{}", x, y, width,
                height);
  }
  m_frame.Ask(wish);
}

}  // namespace qx
