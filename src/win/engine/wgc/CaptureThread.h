#pragma once

#include <windows.h>

#include <memory>

#include "win/engine/wgc/CaptureSession.h"
#include "win/util/Thread.h"

namespace qx {

// An engine's helper thread with a hidden window: starts and stops sessions, and looks
// every 50 ms whether the shared window has been maximised, restored, hidden or minimised.
//
// Nobody waits for it longer than 2 seconds. What it works on it owns: a session that is
// started after all when nobody waits any more is stopped again, and one that can't be
// stopped in time is stopped when it can. The system may hang in either; the thread is
// left to itself then.
//
// One thread at a time calls.
class CaptureThread {
 public:
  // Comes up, if the system lets it. `window` is the shared one, or null: a monitor has
  // no such states, and then no timer wakes anybody.
  explicit CaptureThread(HWND window);
  CaptureThread(const CaptureThread&) = delete;
  CaptureThread& operator=(const CaptureThread&) = delete;
  ~CaptureThread();

  // True when it is started; otherwise the session is not for the caller any more.
  bool Start(const std::shared_ptr<CaptureSession>& session);
  // Of a session that was started here. It is not for the caller any more.
  void Stop(const std::shared_ptr<CaptureSession>& session);

  // Whether the shared window's state has changed since the start, or since it was told to
  // forget it.
  bool HasWindowStateChanged() const;
  void ForgetWindowStateChange();

 private:
  class Life;

  const std::shared_ptr<Life> m_life;  // the thread's, too
  Thread m_thread;
};

}  // namespace qx
