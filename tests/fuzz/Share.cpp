#include "tests/fuzz/Share.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/fuzz/Host.h"
#include "tests/fuzz/Pixels.h"
#include "tests/fuzz/Promise.h"

namespace qx::fuzz {

qx_share_listener Share::allFunctions() {
  static const auto the = [](void* context) -> Share& { return *static_cast<Share*>(context); };
  qx_share_listener functions = {};
  functions.on_start = [](void* context) { the(context).hear(kStart, QX_EVENT_START); };
  functions.on_pause = [](void* context, qx_share_pause_reason reason) {
    the(context).hear(kPause, QX_EVENT_PAUSE, reason);
  };
  functions.on_resume = [](void* context) { the(context).hear(kResume, QX_EVENT_RESUME); };
  functions.on_stop = [](void* context) { the(context).hear(kStop, QX_EVENT_STOP); };
  functions.on_first_frame = [](void* context) {
    the(context).hear(kFirstFrame, QX_EVENT_FIRST_FRAME);
  };
  functions.on_frame = [](void* context, const qx_screen_frame_data* frame) {
    the(context).listen(kFrame, [&] { the(context).checkFrame(*frame); });
  };
  functions.on_frame_dirty_info = [](void* context, bool, std::uint64_t, double ratio) {
    the(context).listen(
        kDirty, [&] { Promise(std::isfinite(ratio) && ratio >= 0, "a ratio is a number"); });
  };
  functions.on_share_window_changed = [](void* context, std::int32_t, std::int32_t) {
    the(context).hear(kWindowChanged, QX_EVENT_SHARE_WINDOW_CHANGED);
  };
  functions.on_share_desktop_changed = [](void* context, std::int32_t) {
    the(context).hear(kDesktopChanged, QX_EVENT_SHARE_DESKTOP_CHANGED);
  };
  functions.on_capture_engine_name = [](void* context, qx_capture_engine_type engine) {
    the(context).hear(kEngine, QX_EVENT_CAPTURE_ENGINE_NAME, engine);
  };
  functions.on_frame_statistics = [](void* context, const qx_screen_frame_statistics* record) {
    Promise(record->has_fps && record->fps >= 0, "a rate is a number");
    the(context).hear(kStatistics, QX_EVENT_FRAME_STATISTICS);
  };
  functions.on_share_rect_changed = [](void* context, std::int32_t, std::int32_t,
                                       std::int32_t width, std::int32_t height) {
    Promise(width >= 0 && height >= 0, "a rectangle has a size");
    the(context).hear(kRect, QX_EVENT_SHARE_RECT_CHANGED);
  };
  return functions;
}

std::vector<std::byte> Share::Functions(Bytes& bytes) {
  constexpr std::size_t kBegin = offsetof(qx_share_listener, on_start);
  constexpr std::size_t kEach = sizeof(qx_share_listener::on_start);
  constexpr std::size_t kNewer = 24;
  const int age = bytes.Next();
  std::size_t size = sizeof(qx_share_listener);
  if (age >= 192) {
    size = age % 4 == 0 ? sizeof(size) / 2 : kBegin + static_cast<std::size_t>(age % 32) * 4;
  }
  m_known = size < kBegin ? 0 : std::min<std::size_t>((size - kBegin) / kEach, kOperations);
  m_given = age % 8 == 7 ? bytes.Next() + bytes.Next() * 256u : ~0u;
  m_given &= (1u << m_known) - 1;
  const auto bit = [&](Operation operation, qx_event_type type) {
    return isGiven(operation) ? Course::Bit(type) : 0u;
  };
  m_course =
      Course(bit(kStart, QX_EVENT_START) | bit(kPause, QX_EVENT_PAUSE) |
             bit(kFirstFrame, QX_EVENT_FIRST_FRAME) | bit(kEngine, QX_EVENT_CAPTURE_ENGINE_NAME));

  const qx_share_listener all = allFunctions();
  std::vector<std::byte> record(std::max(size, sizeof(all)));
  std::memcpy(record.data(), &all, sizeof(all));
  for (std::size_t i = 0; i < m_known; ++i) {
    if (!isGiven(static_cast<Operation>(i))) {
      std::memset(record.data() + kBegin + i * kEach, 0, kEach);
    }
  }
  record.resize(age == 1 ? size + kNewer : size);
  record.shrink_to_fit();
  const auto told =
      static_cast<std::uint32_t>(size < kBegin ? bytes.Next() % kBegin : record.size());
  std::memcpy(record.data(), &told, sizeof(told));
  return record;
}

template <typename Check>
void Share::listen(Operation operation, Check check) {
  Promise(isGiven(operation), "only functions that the host gave are called");
  Promise(!m_busy.exchange(true), "operations of a listener come one at a time");
  Promise(!over, "nothing is heard of a share that is over");
  checkThread();
  check();
  m_host.Listen(capture, m_script);
  Promise(!over, "no operation runs when a share is over");
  m_busy = false;
}

void Share::hear(Operation operation, qx_event_type type, std::int32_t value) {
  listen(operation, [&] {
    m_course.Follow(type, value);
    m_heardStart = m_course.HasStarted();
  });
}

void Share::checkThread() {
  if (m_heardStart) {
    const auto self = std::this_thread::get_id();
    Promise(m_thread.value_or(self) == self, "a share has one thread");
    m_thread = self;
  }
}

void Share::checkFrame(const qx_screen_frame_data& frame) {
  m_course.FollowFrame(frame.width == 0);
  if (frame.width == 0) {
    return;
  }
  static_cast<void>(ReadPicture(frame));
  if (hidesSecret && frame.format == QX_SCREEN_FRAME_FORMAT_ARGB && isGiven(kEngine) &&
      (m_course.Engines() & ~m_host.HidingEngines(*this)) == 0) {
    Promise(!HasColor(frame, Desk::kSecretColor), "what is left out is in no frame");
  }
}

}  // namespace qx::fuzz
