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

}  // namespace

PromptWindow::PromptWindow(HWND target, bool show) : m_target(target), m_frame(kKind, show) {}

bool PromptWindow::Start() {
  return m_frame.Start([this] { live(); });
}

// From the moment that the target owns the window it can take it along.
void PromptWindow::live() {
  const HWND window = m_frame.Open(0, 0, 0, 0);
  if (!window) {
    return;
  }
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  SetOwner(window, m_target);
  SetWindowPos(window, m_target, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOOWNERZORDER);
  m_frame.Serve();
  // Off the screen now; the system destroys it with the thread.
  if (const HWND last = m_frame.TakeWindow()) {
    CloseWindow(last);
  }
}

void PromptWindow::Stop() {
  if (const HWND window = m_frame.GetHwnd()) {
    SetOwner(window, nullptr);
  }
  m_frame.Stop();
}

void PromptWindow::UpdatePosition(bool show, const RECT& rectDesktop, const RECT& rectWindow) {
  const HWND window = m_frame.GetHwnd();
  if (!window) {
    return;
  }
  // No style at all means that it could not be read. To write it makes the system wait
  // for the frame's thread, twice: too much for every frame of a share.
  const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
  if (style != 0 && (style & WS_MAXIMIZE) == 0) {
    SetWindowLongPtrW(window, GWL_STYLE, style | WS_MAXIMIZE);
  }
  if (EqualRect(&rectDesktop, &m_rectDesktop) && EqualRect(&rectWindow, &m_rectWindow) &&
      show == m_shown) {
    return;
  }
  const RECT outer = Grown(rectWindow, m_frame.GetWidth());
  RECT clipped = {};
  static_cast<void>(WindowsUtil::RectsIntersect(rectDesktop, outer, clipped));
  if (IsRectEmpty(&rectDesktop) || IsRectEmpty(&outer) || IsRectEmpty(&clipped)) {
    LogEmptyPlace(rectDesktop, outer, clipped);
  }
  MoveWindow(window, clipped.left, clipped.top, clipped.right - clipped.left,
             clipped.bottom - clipped.top, TRUE);
  m_rectDesktop = rectDesktop;
  m_rectWindow = rectWindow;
  if (show != m_shown) {
    SetOwner(window, nullptr);
    ShowWindow(window, show ? SW_SHOW : SW_HIDE);
    SetOwner(window, m_target);
    m_shown = show;
  }
}

void PromptWindow::ShowPrompt(bool show) {
  QX_TRACE("PromptWindow::ShowPrompt");
  QX_LOG_INFO("Set Prompt Window State:{}", show ? "Show" : "Hide");
  m_frame.SetShow(show);
}

void PromptWindow::SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo& info) {
  QX_TRACE("PromptWindow::SetPromptWindowInfo");
  m_frame.SetLook(info);
}

}  // namespace qx
