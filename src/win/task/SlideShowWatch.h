#pragma once

#include <windows.h>

#include <cstdint>

#include "win/task/ThreadTimer.h"
#include "win/util/WindowHelpers.h"

namespace qx {

// Looks for the window that a known application opens for a slide show, once a second
// while its main window is shared, and knows the way back. The capture thread's.
class SlideShowWatch {
 public:
  explicit SlideShowWatch(ThreadTimer& timer) : m_timer(timer) {}

  // Before the share starts: what the slide show looks like. Without a class name there
  // is nothing to look for.
  void SetRule(const WindowsUtil::TrackWindowRule& rule) { m_rule = rule; }
  const std::string& ClassName() const { return m_rule.className; }

  // Calls `look` now and every second until Stop.
  void Start(ThreadTimer::Function look);
  void Stop();

  // The slide show of this main window, or null.
  HWND Find(HWND main) const;

  // The main window while its slide show is shared, else null.
  HWND MainWindow() const { return m_main; }
  void SetMainWindow(HWND main) { m_main = main; }

 private:
  ThreadTimer& m_timer;
  WindowsUtil::TrackWindowRule m_rule;
  HWND m_main = nullptr;
  std::int32_t m_task = ThreadTimer::kNoTask;
};

}  // namespace qx
