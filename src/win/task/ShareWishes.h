#pragma once

#include <qx-screen-capture.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>

#include "win/engine/ScreenCaptureEngineProxy.h"

namespace qx {

// What the host has set for a share.
struct ShareSettings {
  std::int32_t fps = 15;
  bool showCursor = true;
  bool autoActive = true;          // whether a shared window is raised
  bool enableFilterWindow = true;  // whether a monitor's picture leaves windows out
  bool showPrompt = true;          // the coloured frame
  bool pauseInvoked = false;       // the host asked for a pause
  IScreenCapture::ScreenFrameFormat format = IScreenCapture::ScreenFrameFormatARGB;
  IScreenCapture::ScreenFrameResolutionLimit limit;
  IScreenCapture::ScreenCaptureConfig config;
  IScreenCapture::PromptWindowInfo promptWindowInfo;
  EngineTypeSet engineTypes;  // empty: all; with the next counts when an engine is made
  bool wgcPriority = false;
};

// The settings as they are to be, and what is to be done once.
struct ShareWishes {
  ShareSettings settings;
  bool newShowPrompt = false;        // the host turned the prompt frame on or off
  bool newLook = false;              // it set how that frame looks
  std::optional<bool> dynamicCheck;  // for the engine in use
  bool rebuildForFilter = false;     // the engine is made with a setting that changed
  bool rebuildForConfig = false;
  bool raise = false;  // the shared window
};

// Where setters leave wishes for the capture thread, whatever that is doing. Its lock is
// held for copies only.
class WishBox {
 public:
  // `change` gets the present wishes; it must not call out. Wishes that it makes are
  // taken together with all others.
  template <typename Change>
  void Leave(Change change) {
    const std::lock_guard lock(m_mutex);
    change(m_wishes);
    m_any = true;
  }

  // False when there is nothing new; costs next to nothing then. Without memory the
  // wishes stay.
  bool Take(ShareWishes& taken) {
    if (!m_any) {
      return false;
    }
    const std::lock_guard lock(m_mutex);
    taken = m_wishes;
    m_wishes.newShowPrompt = m_wishes.newLook = m_wishes.raise = false;
    m_wishes.rebuildForFilter = m_wishes.rebuildForConfig = false;
    m_wishes.dynamicCheck.reset();
    m_any = false;
    return true;
  }

 private:
  std::mutex m_mutex;
  ShareWishes m_wishes;
  std::atomic<bool> m_any = true;
};

}  // namespace qx
