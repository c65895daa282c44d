#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "win/prompt/PromptWindow.h"
#include "win/source/VirtualDesktops.h"
#include "win/task/AeroPeekSwitch.h"
#include "win/task/ScreenCaptureTask.h"
#include "win/task/SlideShowWatch.h"
#include "win/util/WindowHelpers.h"

namespace qx {

// Why a tick of a window share captured nothing.
enum class WindowCaptureStatus {
  Failed = 0,         // no rectangle or no size could be worked out
  Hidden = 1,         // invisible, minimised, cloaked, or just back from that
  Moved = 2,          // the window has another rectangle than at the last tick
  OtherDesktop = 3,   // on a virtual desktop that the user does not see
  EngineFailed = 4,   // the engine captured nothing, and gave none of the reasons below
  OffScreen = 5,      // on no monitor
  FilterFailed = 6,   // what covers the window can't be kept out
  PauseInvoked = 7,   // the host asked for a pause
  FilterChanged = 8,  // the engine adapts to other windows to keep out
};

// The share of one top-level window. Each tick follows the window: a change of its
// rectangle pauses the share until it has stood still, and so does all that takes the
// window from the user's sight. When the window is a known application's main window,
// the share moves over to the window that the application opens for a slide show, and
// back.
//
// All that it keeps is the capture thread's.
class ScreenCaptureTaskWindow : public ScreenCaptureTask {
 public:
  ScreenCaptureTaskWindow(HWND window, std::shared_ptr<FilterWindowManager> filterWindowManager);

  // Whether the share raises the window: at its start, when the host resumes it, and
  // with a change of window.
  void SetAutoActiveShareWindow(bool active) override;
  // Before Start: the window to change to as soon as there is one.
  void SetAutoTrackWindow(const WindowsUtil::TrackWindowRule& rule) override;

 private:
  bool prepare() override;
  void surround() override;
  void raise() override;
  void captureStep(std::uint64_t nowMs) override;
  void changePrompt(const ShareWishes& wishes) override;
  std::unique_ptr<ScreenCaptureEngineProxy> makeEngine() override;
  void onBegun() override { watchForSlideShow(); }
  void release() override;

  bool captureFrame(std::uint64_t nowMs, WindowCaptureStatus& status);
  bool capture(Shot& shot, WindowCaptureStatus& status);
  bool hasChangedMeanwhile();
  void handleStatus(WindowCaptureStatus status, std::uint64_t nowMs);
  void handleOffScreen();
  void handleEngineFailure(std::uint64_t nowMs);
  void handleWindowGone();

  void readWindowRect();
  bool readRect(RECT& rect);
  bool isOutOfSight() const;
  bool isCloaked() const;
  bool isHidden(std::uint64_t nowMs);
  bool updateDesktopRect(const RECT& rect);
  void reportShareRect();
  bool listCoveringWindows(const RECT& rect, std::vector<HWND>& windows) const;

  void openPrompt();
  void updatePrompt(bool show);

  void watchForSlideShow();
  void lookForSlideShow();
  bool changeCaptureWindow(HWND window);

  HWND m_window;
  std::uint32_t m_style = 0;   // the window's, as of this tick
  RECT m_lastWindowRect = {};  // the window's, with its invisible frame
  RECT m_rectDesktop = {};     // the monitor, or its work area, with most of the window
  RECT m_rectWindow = {};      // the window's without it, as last seen
  RECT m_rectCapture = {};     // what is captured of it
  bool m_windowShown = true;   // false until a hidden window has been seen again
  CaptureRect m_reportedRect = {-1, -1, -1, -1};
  std::unique_ptr<PromptWindow> m_promptWindow;
  VirtualDesktops m_virtualDesktops;
  std::vector<RECT> m_monitorRects;  // as of the last look
  bool m_cutsOut = false;            // whether the present capture left out what covers the window
  std::vector<HWND> m_coveredBy;     // and what that was
  std::vector<HWND> m_nowCoveredBy;

  SlideShowWatch m_slideShow;
  AeroPeekSwitch m_aeroPeek;
};

}  // namespace qx
