#pragma once

#include <qx-screen-capture-c.h>
#include <qx-screen-capture.h>

#include <cstdint>
#include <deque>
#include <memory>

#include "c/Gate.h"
#include "c/Picture.h"

namespace qx::c {

// What a listener would be told, for a host that asks: all events in order, and the newest
// frame. It is held by the host's handle, by the shares that deliver into it, and by the
// frames that the host has taken.
//
// Any thread. Pictures are copied without the lock, and their memory goes round: that of a
// frame that was replaced or released takes the next one, so that steady frames take none.
class FrameQueue {
 public:
  struct Dirty {
    bool valid = false;
    std::uint64_t rectCount = 0;
    double ratio = 0.0;
  };

  // The event's `frame` is filled in here. Throws std::bad_alloc.
  void PushEvent(qx_event event);
  // Throws std::bad_alloc; the frame counts as lost then.
  void PushFrame(const IScreenCapture::ScreenFrameData& frame, const Dirty& dirty);

  qx_result Wait(std::uint32_t milliseconds);
  qx_result NextEvent(qx_event& event);
  // Null without one.
  std::unique_ptr<Picture> TakeFrame();
  // What TakeFrame gave; may be null.
  void GiveBack(std::unique_ptr<Picture> picture) noexcept;

  // Who waits is told QX_ERROR_OBJECT; what is delivered from now on goes nowhere.
  void Close() noexcept;

 private:
  std::unique_ptr<Picture> copyOf(const IScreenCapture::ScreenFrameData& frame);
  void keepSpare(std::unique_ptr<Picture>& picture) noexcept;

  Gate m_gate;  // over all that follows; held for moments only
  bool m_closed = false;
  std::deque<qx_event> m_events;
  std::uint64_t m_lastNumber = 0;
  std::uint64_t m_taken = 0;
  std::unique_ptr<Picture> m_newest;
  // One for the next copy, and one for what the host has in hand meanwhile.
  std::unique_ptr<Picture> m_spares[2];
};

}  // namespace qx::c
