#pragma once

#include <qx-screen-capture-c.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <thread>
#include <vector>

#include "tests/fuzz/Bytes.h"

namespace qx::fuzz {

class Host;

// A share, as the host knows it.
struct Share {
  qx_screen_capture* capture;
  qx_queue* queue = nullptr;
  bool ofWindow = false;
  // None of its frames may show the secret window, as long as the engine leaves windows out.
  bool hidesSecret = false;
  std::atomic<bool> started = false;  // the start has returned
  std::atomic<bool> over = false;     // nothing may come of it any more
};

// A listener that holds the library to what it promises of one, and acts while it is told.
class Ear {
 public:
  // `script` is what it does.
  Ear(Host& host, Share& share, Bytes script) : m_host(host), m_share(share), m_script(script) {}
  Ear(const Ear&) = delete;
  Ear& operator=(const Ear&) = delete;

  // A record with some of the functions, for a header of some age, and no byte behind it.
  // Nothing when that is too old to have any.
  std::vector<std::byte> Functions(Bytes& bytes);
  bool HasFunctions() const { return m_known > 0; }

  bool HasStart() const { return isGiven(kStart); }
  bool HeardStart() const { return m_heardStart; }

 private:
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
  void hear(Operation operation, Check check);
  void order(Operation operation);
  void onEngine(qx_capture_engine_type engine);
  void onFrame(const qx_screen_frame_data& frame);

  Host& m_host;
  Share& m_share;
  Bytes m_script;
  unsigned m_given = 0;     // a bit for each operation
  std::size_t m_known = 0;  // so many have a place in the record

  std::atomic<bool> m_heardStart = false;
  std::atomic<bool> m_busy = false;
  // One operation at a time has these.
  std::optional<std::thread::id> m_thread;
  qx_share_pause_reason m_paused = 0;
  unsigned m_engines = 0;  // that have been named, a bit for each
  bool m_heardStop = false;
  bool m_heardFirstFrame = false;
};

}  // namespace qx::fuzz
