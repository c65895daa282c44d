#include "win/util/Errand.h"

#include <atomic>
#include <utility>

#include "common/Logging.h"
#include "win/util/Clock.h"
#include "win/util/RunClosed.h"
#include "win/util/Wait.h"

namespace qx {

// The thread's as well as the errand's.
struct Errand::State {
  explicit State(std::function<void()> what) : work(std::move(what)) {}

  const std::function<void()> work;
  KernelHandle begin;  // auto-reset both
  KernelHandle done;
  std::atomic<bool> underWay = false;
  std::atomic<bool> ending = false;

  void Serve() {
    for (;;) {
      const bool begun = WaitAnswering(begin.Get(), kLookMs);
      if (ending) {
        return;
      }
      if (!begun) {
        continue;
      }
      RunClosed("an errand ended by an exception", work);
      underWay = false;
      SetEvent(done.Get());
      if (ending) {
        return;
      }
    }
  }
};

Errand::Errand(std::function<void()> work) : m_state(std::make_shared<State>(std::move(work))) {}

Errand::~Errand() {
  m_state->ending = true;
  if (!m_thread.IsStarted()) {
    return;
  }
  static_cast<void>(SetEvent(m_state->begin.Get()) || SetEvent(m_state->begin.Get()));
  static_cast<void>(m_thread.JoinWithin(IsUnderWay() ? 0 : kPatienceMs));
}

bool Errand::IsUnderWay() const { return m_state->underWay; }

bool Errand::start() {
  const auto makeEvent = [](KernelHandle& event) {
    if (!event) {
      event = KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    }
    return static_cast<bool>(event);
  };
  if (!makeEvent(m_state->begin) || !makeEvent(m_state->done)) {
    QX_LOG_ERROR("no event for an errand,error:{}", static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  return m_thread.Start([state = m_state] { state->Serve(); });
}

bool Errand::Run(DWORD milliseconds) {
  if (IsUnderWay() || (!m_thread.IsStarted() && !start())) {
    return false;
  }
  // The signal of a run that nobody waited for.
  static_cast<void>(WaitAnswering(m_state->done.Get(), 0));
  m_state->underWay = true;
  if (!SetEvent(m_state->begin.Get())) {
    m_state->underWay = false;
    return false;
  }
  // What comes while it is under way is the last run's, which ended before and signals now.
  const Deadline deadline(milliseconds);
  while (WaitAnswering(m_state->done.Get(), deadline.MillisLeft()) && IsUnderWay()) {
  }
  return !IsUnderWay();  // even when the system failed to signal the end
}

bool RunWithin(DWORD milliseconds, std::function<void()> work) {
  Errand errand(std::move(work));
  return errand.Run(milliseconds);
}

}  // namespace qx
