#include "win/prompt/PromptWindow.h"

#include <algorithm>
#include <limits>

#include "common/Logging.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

LogRateLimiter emptyClientLog(kLogIntervalMs);
constexpr PromptFrame::Kind kKind = {L"OrvaSSPromptWindow", "PromptWindow", emptyClientLog};

void LogEmptyPlace(const RECT& desktop, const RECT& outer, const RECT& clipped) {
  const auto number = [](LONG value) { return static_cast<std::int32_t>(value); };
  QX_LOG_LIMITED(LogLevelError,
                 "PromptWindow GetClient Error: rectDesktop left = {}, top = {}, right = {}, "
                 "bottom = {},\t\t  rectWindow1 left = {}, top = {}, right = {}, bottom = {}, "
                 "\t\t  rectWindow2 left = {}, top = {}, right = {}, bottom = {}",
                 number(desktop.left), number(desktop.top), number(desktop.right),
                 number(desktop.bottom), number(outer.left), number(outer.top), number(outer.right),
                 number(outer.bottom), number(clipped.left), number(clipped.top),
                 number(clipped.right), number(clipped.bottom));
}

// A host may ask for any thickness.
RECT Grown(const RECT& rect, std::int64_t by) {
  const auto limited = [](std::int64_t value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<LONG>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
  };
  return {limited(rect.left - by), limited(rect.top - by), limited(rect.right + by),
          limited(rect.bottom + by)};
}

void SetOwner(HWND window, HWND owner) {
  SetWindowLongPtrW(window, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner));
}

// Where the frame lies around `window`, cut at the edges of `desktop`.
PromptFrame::Place ToPlace(const RECT& desktop, const RECT& window, std::int32_t width) {
  const RECT outer = Grown(window, width);
  RECT clipped = {};
  static_cast<void>(WindowsUtil::RectsIntersect(desktop, outer, clipped));
  if (IsRectEmpty(&desktop) || IsRectEmpty(&outer) || IsRectEmpty(&clipped)) {
    LogEmptyPlace(desktop, outer, clipped);
  }
  return {clipped.left, clipped.top, clipped.right - clipped.left, clipped.bottom - clipped.top};
}

void Arrange(HWND window, HWND target, const PromptFrame::Wish& before,
             const PromptFrame::Wish& wish) {
  if (wish.topmost != before.topmost) {
    SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
  }
  // No style at all means that it could not be read.
  const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
  if (wish.placed && style != 0 && (style & WS_MAXIMIZE) == 0) {
    SetWindowLongPtrW(window, GWL_STYLE, style | WS_MAXIMIZE);
  }
  const PromptFrame::Place& place = wish.place;
  if (place != before.place) {
    MoveWindow(window, place.x, place.y, place.width, place.height, TRUE);
  }
  if (wish.visible != before.visible) {
    SetOwner(window, nullptr);
    ShowWindow(window, wish.visible ? SW_SHOW : SW_HIDE);
    SetOwner(window, target);
  }
}

void Live(PromptFrame::Life& life, HWND target) {
  const HWND window = life.Open();
  if (!window) {
    return;
  }
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  life.EnterUp();
  // From here on the target shares its input with the frame, and can take it along.
  SetOwner(window, target);
  SetWindowPos(window, target, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOOWNERZORDER);
  life.Serve([target](HWND frame, const PromptFrame::Wish& before, const PromptFrame::Wish& wish) {
    Arrange(frame, target, before, wish);
  });
  // Off the screen now; the system destroys it with the thread.
  if (const HWND last = life.GetWindow()) {
    SetOwner(last, nullptr);
    CloseWindow(last);
  }
}

}  // namespace

PromptWindow::PromptWindow(HWND target, bool show) : m_target(target), m_frame(kKind, {}, show) {}

bool PromptWindow::Start() {
  return m_frame.Start([target = m_target](PromptFrame::Life& life) { Live(life, target); });
}

void PromptWindow::UpdatePosition(bool show, const RECT& rectDesktop, const RECT& rectWindow) {
  if (!m_frame.GetHwnd()) {
    return;
  }
  PromptFrame::Wish wish = m_frame.Asked();
  if (!EqualRect(&rectDesktop, &m_rectDesktop) || !EqualRect(&rectWindow, &m_rectWindow) ||
      show != wish.visible) {
    wish.place = ToPlace(rectDesktop, rectWindow, GetWidth());
    wish.visible = show;
    wish.placed = true;
    m_rectDesktop = rectDesktop;
    m_rectWindow = rectWindow;
  }
  m_frame.Ask(wish);
}

void PromptWindow::SetTopmost() {
  PromptFrame::Wish wish = m_frame.Asked();
  wish.topmost = true;
  m_frame.Ask(wish);
}

void PromptWindow::ShowPrompt(bool show) {
  QX_TRACE("PromptWindow::ShowPrompt");
  QX_LOG_INFO("Set Prompt Window State:{}", show ? "Show" : "Hide");
  PromptFrame::Wish wish = m_frame.Asked();
  wish.look.painted = show;
  m_frame.Ask(wish);
}

void PromptWindow::SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info) {
  QX_TRACE("PromptWindow::SetPromptWindowInfo");
  m_frame.AskForLook(info);
}

}  // namespace qx
