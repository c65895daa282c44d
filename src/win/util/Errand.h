#pragma once

#include <functional>
#include <memory>

#include "win/util/Thread.h"

namespace qx {

// What a window that does not answer may cost one call of the library, in milliseconds.
inline constexpr DWORD kPatienceMs = 200;

// Work that may have to wait for somebody else: for the thread of another program's
// window, or for a network drive that is gone. It runs on a thread of its own, so that
// nobody waits for it longer than he says. Use it for calls that the system gives no
// time limit.
//
// One thread at a time calls an errand.
class Errand {
 public:
  // `work` must own all that it uses: it may still be under way when this is gone.
  explicit Errand(std::function<void()> work);
  Errand(const Errand&) = delete;
  Errand& operator=(const Errand&) = delete;
  // Waits for no work. What is under way ends by itself.
  ~Errand();

  // Does the work, and is true when that has ended. False: it takes longer than
  // `milliseconds`, or the last run still does, or there is no thread for it (logged).
  bool Run(DWORD milliseconds = kPatienceMs);

  // Whether a run takes longer than somebody waited. Run does nothing then.
  bool IsUnderWay() const;

 private:
  struct State;

  bool start();

  const std::shared_ptr<State> m_state;
  Thread m_thread;
};

// An errand that is run once.
bool RunWithin(DWORD milliseconds, std::function<void()> work);

}  // namespace qx
