#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "win/prompt/PromptDesktop.h"
#include "win/source/VirtualDesktops.h"
#include "win/task/ScreenCaptureTask.h"

namespace qx {

// The share of one monitor. Each tick follows the monitor's rectangle, and its
// handle when a display change gave it a new one; captures; and decides what a
// failure means: end the share, wait for a secure desktop to go, or try again. All that
// it keeps is the capture thread's.
class ScreenCaptureTaskDesktop : public ScreenCaptureTask {
 public:
  ScreenCaptureTaskDesktop(HMONITOR monitor,
                           std::shared_ptr<FilterWindowManager> filterWindowManager);

  // Makes the engine anew when it changes.
  void EnableFilterWindowWhenShareDesktop(bool enable) override;

 private:
  bool prepare() override;
  void surround() override;
  void captureStep(std::uint64_t nowMs) override;
  void changePrompt(const ShareWishes& wishes) override;
  std::unique_ptr<ScreenCaptureEngineProxy> makeEngine() override;
  void release() override;
  bool mayShowExcluded();
  void followRect(const CaptureRect& rect);
  void handleCaptureFailure(std::uint64_t nowMs);
  bool updateMonitorRect();
  bool updateMonitorInfo();
  void listExcludedWindows(std::vector<HWND>& excluded);

  HMONITOR m_monitor;
  std::wstring m_deviceName;  // knows the monitor again when the handle went stale
  RECT m_monitorRect = {};    // pixels of the virtual screen; empty while unknown
  std::unique_ptr<PromptDesktop> m_promptDesktop;
  VirtualDesktops m_virtualDesktops;
  std::vector<HWND> m_topLevelWindows;  // as of the last capture that asked
  bool m_knowsWindows = false;          // of some answer
  bool m_leavesOut = false;             // whether the present capture left windows out
  std::vector<HWND> m_excluded;         // and which
  std::vector<HWND> m_nowExcluded;
};

}  // namespace qx
