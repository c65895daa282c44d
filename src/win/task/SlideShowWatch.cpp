#include "win/task/SlideShowWatch.h"

#include <string>
#include <utility>

namespace qx {
namespace {

constexpr double kIntervalMs = 1000.0;

// What a slide show's title ends in: the name of the document, without that of the
// application. Other applications don't say.
std::wstring DocumentName(HWND window) {
  if (WindowsUtil::GetWindowClassName(window) != "PPTFrameClass") {
    return {};
  }
  std::wstring title;
  WindowsUtil::GetWindowTitle(window, title);
  const std::size_t end = title.rfind(L" - ");
  return end == std::wstring::npos ? std::wstring() : title.substr(0, end);
}

}  // namespace

void SlideShowWatch::Start(ThreadTimer::Function look) {
  if (!m_rule.className.empty()) {
    m_task = m_timer.AddPeriodicTask(0.0, kIntervalMs, std::move(look));
  }
}

void SlideShowWatch::Stop() { m_timer.RemoveTask(std::exchange(m_task, ThreadTimer::kNoTask)); }

HWND SlideShowWatch::Find(HWND main) const {
  const std::wstring document = DocumentName(main);
  // A window that is gone has no name, and any slide show would pass for its own.
  if (!IsWindow(main)) {
    return nullptr;
  }
  const HWND found = WindowsUtil::FindTrackWindow(m_rule, document);
  return found == main ? nullptr : found;
}

}  // namespace qx
