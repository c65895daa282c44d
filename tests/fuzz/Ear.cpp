#include "tests/fuzz/Ear.h"

#include <cmath>
#include <cstring>

#include "tests/fuzz/Host.h"
#include "tests/fuzz/Pixels.h"
#include "tests/fuzz/Promise.h"

namespace qx::fuzz {

qx_share_listener Ear::allFunctions() {
  static const auto the = [](void* context) -> Ear& { return *static_cast<Ear*>(context); };
  static const auto nothing = [] {};
  qx_share_listener functions = {};
  functions.on_start = [](void* context) { the(context).hear(kStart, nothing); };
  functions.on_pause = [](void* context, qx_share_pause_reason reason) {
    Ear& ear = the(context);
    ear.hear(kPause, [&] {
      Promise(reason >= QX_PAUSE_REASON_CAPTURE_FAILED && reason <= QX_PAUSE_REASON_FILTER_FAILED,
              "a pause has a reason");
      Promise(reason != ear.m_paused, "a pause is told once");
      ear.m_paused = reason;
    });
  };
  functions.on_resume = [](void* context) {
    Ear& ear = the(context);
    ear.hear(kResume, [&] {
      Promise(ear.m_paused != 0 || !ear.isGiven(kPause), "only what is paused is resumed");
      ear.m_paused = 0;
    });
  };
  functions.on_stop = [](void* context) {
    Ear& ear = the(context);
    ear.hear(kStop, [&] { ear.m_heardStop = true; });
  };
  functions.on_first_frame = [](void* context) {
    Ear& ear = the(context);
    ear.hear(kFirstFrame, [&] {
      Promise(!ear.m_heardFirstFrame, "a share has one first frame");
      ear.m_heardFirstFrame = true;
    });
  };
  functions.on_frame = [](void* context, const qx_screen_frame_data* frame) {
    Ear& ear = the(context);
    ear.hear(kFrame, [&] { ear.onFrame(*frame); });
  };
  functions.on_frame_dirty_info = [](void* context, bool, std::uint64_t, double ratio) {
    Ear& ear = the(context);
    ear.hear(kDirty, [&] { Promise(std::isfinite(ratio) && ratio >= 0, "a ratio is a number"); });
  };
  functions.on_share_window_changed = [](void* context, std::int32_t, std::int32_t) {
    the(context).hear(kWindowChanged, nothing);
  };
  functions.on_share_desktop_changed = [](void* context, std::int32_t) {
    the(context).hear(kDesktopChanged, nothing);
  };
  functions.on_capture_engine_name = [](void* context, qx_capture_engine_type engine) {
    Ear& ear = the(context);
    ear.hear(kEngine, [&] { ear.onEngine(engine); });
  };
  functions.on_frame_statistics = [](void* context, const qx_screen_frame_statistics* record) {
    the(context).hear(kStatistics,
                      [&] { Promise(record->has_fps && record->fps >= 0, "a rate is a number"); });
  };
  functions.on_share_rect_changed = [](void* context, std::int32_t, std::int32_t,
                                       std::int32_t width, std::int32_t height) {
    the(context).hear(kRect, [&] { Promise(width >= 0 && height >= 0, "a rectangle has a size"); });
  };
  return functions;
}

std::vector<std::byte> Ear::Functions(Bytes& bytes) {
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
void Ear::hear(Operation operation, Check check) {
  Promise(isGiven(operation), "only functions that the host gave are called");
  Promise(!m_busy.exchange(true), "operations of a listener come one at a time");
  Promise(!m_share.over, "nothing is heard of a share that is over");
  {
    const Host::Calling calling(m_share.capture);
    order(operation);
    check();
    m_host.Listen(m_script);
  }
  Promise(!m_share.over, "no operation runs when a share is over");
  m_busy = false;
}

// What an operation may follow.
void Ear::order(Operation operation) {
  Promise(!m_heardStop, "nothing follows the stop of a share");
  const bool before = !m_heardStart && HasStart();
  if (operation == kStart) {
    Promise(before, "a share starts once");
    Promise(m_engines != 0 || !isGiven(kEngine), "the first engine is named before the start");
    m_heardStart = true;
    return;
  }
  Promise(!before || (operation == kEngine && m_engines == 0),
          "one engine is named before the start, and nothing else");
  if (!before && HasStart()) {
    const auto self = std::this_thread::get_id();
    Promise(m_thread.value_or(self) == self, "a share has one thread");
    m_thread = self;
  }
}

void Ear::onEngine(qx_capture_engine_type engine) {
  Promise(engine >= QX_CAPTURE_ENGINE_NONE && engine <= QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW,
          "an engine has a name");
  m_engines |= 1u << engine;
}

void Ear::onFrame(const qx_screen_frame_data& frame) {
  if (frame.width == 0) {
    Promise(m_paused != 0 || !isGiven(kPause), "only a pause repeats what is no picture");
    return;
  }
  Promise(m_heardFirstFrame || !isGiven(kFirstFrame), "the first frame is announced");
  static_cast<void>(ReadPicture(frame));
  if (m_share.hidesSecret && frame.format == QX_SCREEN_FRAME_FORMAT_ARGB && isGiven(kEngine) &&
      (m_engines & ~m_host.HidingEngines(m_share)) == 0) {
    Promise(!HasColor(frame, Desk::kSecretColor), "what is left out is in no frame");
  }
}

}  // namespace qx::fuzz
