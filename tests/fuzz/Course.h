#pragma once

#include <qx-screen-capture-c.h>

#include <cstdint>

namespace qx::fuzz {

// The order in which a share tells what happens. Who hears it may hear a part only.
class Course {
 public:
  static constexpr unsigned Bit(qx_event_type type) { return 1u << type; }

  // A bit for each type that is heard.
  explicit Course(unsigned heard = ~0u) : m_heard(heard) {}

  // `value` is a pause's reason or an engine.
  void Follow(qx_event_type type, std::int32_t value = 0);
  void FollowFrame(bool isEmpty);

  bool HasStarted() const { return m_started; }
  // All that were named, a bit for each; 0 when nobody hears of them.
  unsigned Engines() const { return m_engines; }

 private:
  bool hears(qx_event_type type) const { return (m_heard & Bit(type)) != 0; }

  unsigned m_heard;
  bool m_started = false;
  bool m_stopped = false;
  bool m_firstFrame = false;
  qx_share_pause_reason m_paused = 0;
  unsigned m_engines = 0;
};

}  // namespace qx::fuzz
