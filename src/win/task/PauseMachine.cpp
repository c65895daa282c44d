#include "win/task/PauseMachine.h"

#include <utility>

#include "common/Logging.h"

namespace qx {

PauseMachine::PauseMachine(ThreadTimer& timer, ThreadTimer::Function keepLive)
    : m_timer(timer), m_keepLive(std::move(keepLive)) {}

void PauseMachine::Pause(IScreenCapture::SharePauseReason reason) {
  if (m_reason == reason) {
    return;
  }
  if (m_keepLiveTask == ThreadTimer::kNoTask) {
    // A period of 0 would keep the thread busy.
    const std::int32_t interval = m_listener->GetKeepAliveInterval();
    m_keepLiveTask = m_timer.AddPeriodicTask(0.0, interval == 0 ? 1 : interval, m_keepLive);
    QX_LOG_INFO("qx-sc:workflow:pause share add keep_live_timer_task");
  }
  m_reason = reason;
  m_listener->OnPause(reason);
  QX_LOG_INFO("qx-sc:workflow:pause share, reason:{}", static_cast<std::int32_t>(reason));
}

void PauseMachine::Resume() {
  if (m_invoked) {
    QX_LOG_LIMITED(LogLevelInfo, "qx-sc:workflow:can not resume because of pause_invoke");
    return;
  }
  const std::int32_t keepLiveTask = std::exchange(m_keepLiveTask, ThreadTimer::kNoTask);
  if (keepLiveTask != ThreadTimer::kNoTask) {
    m_timer.RemoveTask(keepLiveTask);
    QX_LOG_INFO("qx-sc:workflow:resume share remove keep_live_timer_task");
  }
  if (!m_reason) {
    return;
  }
  m_reason.reset();
  m_listener->OnResume();
  QX_LOG_INFO("qx-sc:workflow:resume share");
}

}  // namespace qx
