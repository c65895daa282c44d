#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "win/util/Handles.h"

namespace qx {

// A thread of the library. An exception that leaves a body is logged at level 5
// and ends that thread only. It keeps the library loaded while it runs, so that a host
// may let go of it meanwhile.
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
  // again. Messages that are sent to the caller's windows are answered meanwhile. Does
  // nothing when not started. Never from the thread itself.
  void Join();

  // Join for at most so long. False: the body still runs, and nobody waits for it from
  // now on; what it uses it must own.
  bool JoinWithin(DWORD milliseconds);

  bool IsStarted() const { return static_cast<bool>(m_handle); }
  // Whether the caller runs on this thread.
  bool IsCurrent() const { return Id() == GetCurrentThreadId(); }
  // 0 while its body doesn't run.
  DWORD Id() const { return m_id ? m_id->load() : 0; }

  // Runs `body` on a thread that nobody waits for. False as for Start.
  static bool RunDetached(std::function<void()> body);

 private:
  KernelHandle m_handle;
  // Set by the thread itself while its body runs.
  std::shared_ptr<std::atomic<DWORD>> m_id;
};

}  // namespace qx
