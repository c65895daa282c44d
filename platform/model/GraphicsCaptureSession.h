// Sessions of Windows.Graphics.Capture: what says that a pool gets pictures, and of what.
#pragma once

#include <windows_graphics_capture.h>

#include <memory>
#include <vector>

#include "platform/model/GraphicsCaptureItem.h"

namespace vwin::capture {

// Shared by a session and its pool.
struct SessionState {
  std::shared_ptr<const Source> source;
  SIZE poolSize{};
  bool started = false;
  bool ended = false;  // closed, or released for the last time
  bool cursor = true;
  bool border = true;
  bool fresh = true;  // the next picture is new, whatever it shows

  bool isRunning() const { return started && !ended && !source->closed; }
};

// `item` is the one that `state` has the source of; the session keeps it.
HRESULT MakeSession(wgc::IGraphicsCaptureItem* item, const std::shared_ptr<SessionState>& state,
                    wgc::IGraphicsCaptureSession** session);

// Those that haven't ended, the oldest first.
std::vector<std::shared_ptr<const SessionState>> Sessions(Lock& lock);

}  // namespace vwin::capture
