#pragma once

#include <qx-screen-capture.h>

#include <cstdint>
#include <optional>

#include "win/task/ShareListenerWrapper.h"
#include "win/task/ThreadTimer.h"

namespace qx {

// Whether a share is paused, and why: tells the host of each new reason and of the end,
// and has keep-live frames sent meanwhile. The capture thread's.
//
// There is one reason at a time. A new one takes the place of the old one, without a
// resume between.
class PauseMachine {
 public:
  // Both are borrowed. `keepLive` sends one frame.
  PauseMachine(ThreadTimer& timer, ThreadTimer::Function keepLive);

  // Before the first pause; borrowed.
  void SetListener(ShareListenerWrapper* listener) { m_listener = listener; }
  // Whether the host asked for a pause. That one outranks all that could end a pause.
  void SetInvoked(bool invoked) { m_invoked = invoked; }
  bool IsInvoked() const { return m_invoked; }

  void Pause(IScreenCapture::SharePauseReason reason);
  // Does nothing while the host's own pause lasts.
  void Resume();

 private:
  ThreadTimer& m_timer;
  const ThreadTimer::Function m_keepLive;
  ShareListenerWrapper* m_listener = nullptr;
  bool m_invoked = false;
  std::optional<IScreenCapture::SharePauseReason> m_reason;
  std::int32_t m_keepLiveTask = ThreadTimer::kNoTask;
};

}  // namespace qx
