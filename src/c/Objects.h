#pragma once

#include <qx-screen-capture-c.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "c/FrameQueue.h"
#include "c/HandleTable.h"
#include "c/SharingObject.h"
#include "common/Singleton.h"

namespace qx::c {

// A picture in the host's hands, which goes back to its queue with the last reference: a
// call may still be reading it when another thread releases it.
class Frame {
 public:
  explicit Frame(std::shared_ptr<FrameQueue> queue)
      : m_queue(std::move(queue)), m_picture(m_queue->TakeFrame()) {}
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;
  ~Frame() { m_queue->GiveBack(std::move(m_picture)); }

  // Null when the queue had none.
  const Picture* Get() const { return m_picture.get(); }

 private:
  const std::shared_ptr<FrameQueue> m_queue;
  std::unique_ptr<Picture> m_picture;
};

// All that the host holds.
class Objects : public Singleton<Objects> {
 public:
  HandleTable<qx_screen_capture, SharingObject> captures;
  HandleTable<qx_queue, FrameQueue> queues;
  HandleTable<qx_frame, Frame> frames;

 private:
  friend class Singleton<Objects>;
  Objects() = default;
};

}  // namespace qx::c
