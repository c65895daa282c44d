#include "c/FrameQueue.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <new>
#include <utility>

namespace qx::c {

void FrameQueue::PushEvent(qx_event event) {
  // Goes after the lock.
  std::unique_ptr<Picture> earlier;
  const std::lock_guard lock(m_gate);
  if (m_closed) {
    return;
  }
  // What an earlier share has shown must not pass for this one's.
  if (event.type == QX_EVENT_START) {
    earlier.swap(m_newest);
  }
  event.frame = m_lastNumber;
  m_events.push_back(event);
  m_gate.WakeAll();
}

void FrameQueue::PushFrame(const IScreenCapture::ScreenFrameData& frame, const Dirty& dirty) {
  // Goes after the lock, should nobody want it.
  std::unique_ptr<Picture> picture = copyOf(frame);
  const std::lock_guard lock(m_gate);
  if (m_closed) {
    return;
  }
  ++m_lastNumber;
  if (!picture) {
    throw std::bad_alloc();
  }
  picture->info = {.size = sizeof(qx_frame_info),
                   .dirty_valid = dirty.valid,
                   .number = m_lastNumber,
                   .lost = 0,
                   .dirty_rect_count = dirty.rectCount,
                   .dirty_ratio = dirty.ratio};
  m_newest.swap(picture);
  keepSpare(picture);
  m_gate.WakeAll();
}

// Null without memory, and when nobody wants it.
std::unique_ptr<Picture> FrameQueue::copyOf(const IScreenCapture::ScreenFrameData& frame) {
  std::unique_ptr<Picture> picture;
  {
    const std::lock_guard lock(m_gate);
    if (m_closed) {
      return nullptr;
    }
    picture.swap(m_spares[m_spares[0] ? 0 : 1]);
  }
  try {
    if (!picture) {
      picture = std::make_unique<Picture>();
    }
    picture->Copy(frame);
    return picture;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// Leaves one that there is no place for. With the lock held.
void FrameQueue::keepSpare(std::unique_ptr<Picture>& picture) noexcept {
  if (picture && !m_closed) {
    const auto place = std::find(std::begin(m_spares), std::end(m_spares), nullptr);
    if (place != std::end(m_spares)) {
      place->swap(picture);
    }
  }
}

qx_result FrameQueue::Wait(std::uint32_t milliseconds) {
  const std::lock_guard lock(m_gate);
  const bool woken = m_gate.WaitUntil(
      milliseconds, [this] { return m_closed || !m_events.empty() || m_newest != nullptr; });
  if (m_closed) {
    return QX_ERROR_OBJECT;
  }
  return woken ? QX_OK : QX_ERROR_TIMEOUT;
}

qx_result FrameQueue::NextEvent(qx_event& event) {
  const std::lock_guard lock(m_gate);
  if (m_events.empty()) {
    return m_closed ? QX_ERROR_OBJECT : QX_ERROR_EMPTY;
  }
  event = m_events.front();
  m_events.pop_front();
  return QX_OK;
}

std::unique_ptr<Picture> FrameQueue::TakeFrame() {
  const std::lock_guard lock(m_gate);
  std::unique_ptr<Picture> picture = std::move(m_newest);
  if (picture) {
    picture->info.lost = picture->info.number - 1 - m_taken;
    ++m_taken;
  }
  return picture;
}

void FrameQueue::GiveBack(std::unique_ptr<Picture> picture) noexcept {
  const std::lock_guard lock(m_gate);
  keepSpare(picture);
}

void FrameQueue::Close() noexcept {
  std::deque<qx_event> events;
  std::unique_ptr<Picture> pictures[3];
  const std::lock_guard lock(m_gate);
  m_closed = true;
  m_events.swap(events);
  m_newest.swap(pictures[0]);
  m_spares[0].swap(pictures[1]);
  m_spares[1].swap(pictures[2]);
  m_gate.WakeAll();
}

}  // namespace qx::c
