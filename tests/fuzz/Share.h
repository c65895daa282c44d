#pragma once

#include <qx-screen-capture-c.h>

#include <atomic>
#include <cstddef>
#include <optional>
#include <thread>
#include <vector>

#include "tests/fuzz/Bytes.h"
#include "tests/fuzz/Course.h"

namespace qx::fuzz {

class Host;

// A share as its host knows it, and its listener, which holds the library to what it promises of
// one and acts while it is told.
class Share {
 public:
  // `script` is what the listener does.
  Share(Host& host, qx_screen_capture* object, Bytes script)
      : capture(object), m_host(host), m_script(script) {}
  Share(const Share&) = delete;
  Share& operator=(const Share&) = delete;

  // A record with some of the functions, for a header of some age, and no byte behind it. Nothing
  // when that is too old to have any.
  std::vector<std::byte> Functions(Bytes& bytes);
  bool HasFunctions() const { return m_known > 0; }
  bool HasStart() const { return isGiven(kStart); }
  bool HeardStart() const { return m_heardStart; }

  qx_screen_capture* const capture;
  qx_queue* queue = nullptr;  // takes the listener's place
  bool ofWindow = false;
  // None of its frames may show the secret window, as long as the engine leaves windows out.
  bool hidesSecret = false;
  std::atomic<bool> started = false;  // the start has returned
  std::atomic<bool> over = false;     // nothing may come of it any more

 private:
  // In the order of the record.
  enum Operation {
    kStart,
    kPause,
    kResume,
    kStop,
    kFirstFrame,
    kFrame,
    kDirty,
    kWindowChanged,
    kDesktopChanged,
    kEngine,
    kStatistics,
    kRect,
    kOperations
  };

  static qx_share_listener allFunctions();

  bool isGiven(Operation operation) const { return (m_given >> operation & 1) != 0; }
  template <typename Check>
  void listen(Operation operation, Check check);
  void hear(Operation operation, qx_event_type type, std::int32_t value = 0);
  void checkThread();
  void checkFrame(const qx_screen_frame_data& frame);

  Host& m_host;
  Bytes m_script;
  unsigned m_given = 0;     // a bit for each operation
  std::size_t m_known = 0;  // so many have a place in the record

  std::atomic<bool> m_heardStart = false;
  std::atomic<bool> m_busy = false;
  // One operation at a time has these.
  Course m_course;
  std::optional<std::thread::id> m_thread;
};

}  // namespace qx::fuzz
