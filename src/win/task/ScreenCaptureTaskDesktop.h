#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "win/prompt/PromptDesktop.h"
#include "win/task/ScreenCaptureTask.h"

namespace qx {

// The share of one monitor. Each tick follows the monitor's rectangle, and its
// handle when a display change gave it a new one; captures; and decides what a
// failure means: end the share, wait for a secure desktop to go, or try again.
class ScreenCaptureTaskDesktop : public ScreenCaptureTask {
 public:
  ScreenCaptureTaskDesktop(HMONITOR monitor,
                           std::shared_ptr<FilterWindowManager> filterWindowManager);
  // Ends a share that still runs; its listener hears nothing.
  ~ScreenCaptureTaskDesktop() override;

  bool Start(ShareListenerWrapper* listener, bool showPrompt) override;
  void EnablePromptWindow(bool enable) override;
  void SetPromptWindowInfo(const PromptWindowInfo& info) override;
  // Makes the engine anew when it changes.
  void EnableFilterWindowWhenShareDesktop(bool enable) override;

 private:
  void tearDown() override;
  void captureStep(const Settings& settings, std::uint64_t nowMs) override;
  bool createEngine(const Settings& settings) override;
  void followRect(const CaptureRect& rect);
  void handleCaptureFailure(std::uint64_t nowMs);
  bool updateMonitorRect();
  bool updateMonitorInfo();
  void listExcludedWindows(std::vector<HWND>& excluded);

  HMONITOR m_monitor;
  std::wstring m_deviceName;  // knows the monitor again when the handle went stale
  RECT m_monitorRect = {};    // pixels of the virtual screen; empty while unknown
  std::atomic<bool> m_enableFilterWindow = true;
  std::unique_ptr<PromptDesktop> m_promptDesktop;  // from Start to Stop
  std::vector<HWND> m_topLevelWindows;             // as of the last capture that asked
};

}  // namespace qx
