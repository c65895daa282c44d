#pragma once

#include <atomic>
#include <functional>

#include "win/util/Handles.h"

namespace qx {

// A thread of the library. An exception that leaves a body is logged at level 5
// and ends that thread only.
//
// The object takes one call at a time, IsCurrent and Id apart, which the thread itself
// may ask. The destructor joins.
class Thread {
 public:
  Thread() = default;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread() { Join(); }

  // False when the system gives no thread (logged); `body` is dropped then. Not
  // for a thread that is started and not joined.
  bool Start(std::function<void()> body);

  // Waits for the body to end and lets go of the thread; it can be started
  // again. Does nothing when not started. Never from the thread itself.
  void Join();

  bool IsStarted() const { return static_cast<bool>(m_handle); }
  // Whether the caller runs on this thread.
  bool IsCurrent() const;
  // 0 while its body doesn't run.
  DWORD Id() const { return m_id; }

  // Runs `body` on a thread that nobody waits for. It keeps the library loaded, so
  // that a host may let go of it meanwhile. False as for Start.
  static bool RunDetached(std::function<void()> body);

 private:
  KernelHandle m_handle;
  std::atomic<DWORD> m_id = 0;  // set by the thread itself while its body runs
};

}  // namespace qx
