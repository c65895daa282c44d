#include "tests/fuzz/Host.h"

#include <algorithm>
#include <cstring>

#include "platform/control/Clock.h"

namespace qx::fuzz {

namespace {

using namespace std::chrono_literals;

constexpr int kMostActs = 150;
constexpr std::size_t kDeepest = 2;
constexpr std::size_t kMostCaptures = 4;
constexpr std::size_t kMostWorkers = 2;
constexpr qx_share_error kUntold = 77;

// The objects whose listeners the thread is in, the outermost first.
thread_local std::vector<const qx_screen_capture*> t_calling;

bool isCallingFor(const qx_screen_capture* capture) {
  return capture && std::ranges::find(t_calling, capture) != t_calling.end();
}

}  // namespace

// What the process keeps of the input before this one is set anew.
Host::Host(Desk& desk) : m_desk(desk) {
  qx_screen_capture* const capture = qx_create();
  qx_set_can_use_mag_capture(capture, true);
  qx_register_log_callback(&onLog);
  qx_get_desktop_list(
      capture, [](const qx_desktop_info*, std::int32_t, void*) {}, nullptr);
  qx_get_window_list(
      capture, [](const qx_window_info*, std::int32_t, void*) {}, nullptr);
  m_captures.Add(capture);
  m_queues.Add(qx_queue_create());
}

void Host::Play(Bytes bytes) {
  for (int i = 0; i < kMostActs && !bytes.IsEmpty(); ++i) {
    act(bytes);
  }
}

void Host::Listen(const qx_screen_capture* capture, Bytes& script) {
  if (m_ending || script.IsEmpty() || t_calling.size() == kDeepest) {
    return;
  }
  t_calling.push_back(capture);
  act(script);
  t_calling.pop_back();
}

void Host::End() {
  m_desk.Calm();
  for (Worker& worker : m_workers) {
    WaitForSingleObject(worker.thread, INFINITE);
    CloseHandle(worker.thread);
  }
  m_ending = true;
  vwin::control::Settle();
  m_desk.Calm();  // workers and listeners went on acting
  vwin::control::Settle();
  for (qx_screen_capture* const capture : m_captures.All()) {
    endShare(capture, true);
  }
  for (qx_queue* const queue : m_queues.All()) {
    drainQueue(queue);
    endQueue(queue);
  }
  vwin::control::Settle();
  vwin::control::Advance(10s);
  for (qx_frame* const frame : m_frames.All()) {
    readFrame(frame, true);
  }
  for (const Answer& answer : m_answers) {
    Promise(answer.times == (answer.due ? 1 : 0), "who asks for a list is answered once");
  }
}

void Host::act(Bytes& bytes) {
  using Act = void (Host::*)(Bytes&);
  static constexpr Act kActs[] = {
      &Host::passTime,      &Host::passTime,      &Host::passTime,      &Host::passTime,
      &Host::actOnDesk,     &Host::actOnDesk,     &Host::actOnDesk,     &Host::actOnDesk,
      &Host::actOnDesk,     &Host::actOnDesk,     &Host::share,         &Host::share,
      &Host::share,         &Host::stop,          &Host::create,        &Host::destroy,
      &Host::changeSetting, &Host::changeSetting, &Host::changeSetting, &Host::changeSetting,
      &Host::changeSetting, &Host::changeSetting, &Host::hideSecret,    &Host::changeRules,
      &Host::changeRules,   &Host::callProcess,   &Host::list,          &Host::list,
      &Host::getText,       &Host::createQueue,   &Host::destroyQueue,  &Host::wait,
      &Host::nextEvent,     &Host::drain,         &Host::useFrame,      &Host::work};
  (this->*bytes.OneOf(kActs))(bytes);
}

// ------------------------------------------------------------------- objects

void Host::create(Bytes&) {
  if (m_captures.Count() < kMostCaptures) {
    if (qx_screen_capture* const capture = qx_create()) {
      m_captures.Add(capture);
    }
  }
}

void Host::destroy(Bytes& bytes) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  if (mayEnd(capture)) {
    endShare(capture, true);
  }
}

void Host::stop(Bytes& bytes) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  if (mayEnd(capture)) {
    endShare(capture, false);
  }
}

// Two listeners that end each other's shares would wait for each other.
bool Host::mayEnd(const qx_screen_capture* capture) const {
  return isCallingFor(capture) ||
         std::ranges::all_of(t_calling, [&](const qx_screen_capture* calling) {
           return !calling || m_captures.Place(calling) < m_captures.Place(capture);
         });
}

void Host::endShare(qx_screen_capture* capture, bool destroys) {
  const std::vector<Share*> ending = startedSharesOf(capture);
  const bool begun = destroys && m_captures.BeginEnd(capture);
  const qx_result result = with(m_captures, capture, destroys ? qx_destroy : qx_share_stop);
  if (isCallingFor(capture)) {
    Promise(result == QX_ERROR_WRONG_THREAD || result == QX_ERROR_OBJECT,
            "a listener can't end its own share");
  } else {
    Promise(result == QX_OK || result == QX_ERROR_OBJECT, "a share can be ended");
  }
  if (begun || result == QX_ERROR_OBJECT) {
    m_captures.End(capture, result != QX_ERROR_WRONG_THREAD);
  }
  if (result == QX_OK) {
    for (Share* const share : ending) {
      share->over = true;
    }
  }
}

// -------------------------------------------------------------------- shares

void Host::share(Bytes& bytes) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  const int kind = bytes.Next();
  Share& share = newShare(capture, bytes.Part());
  share.ofWindow = kind % 2 == 1;
  const std::int32_t id = share.ofWindow ? m_desk.AnyWindowId(bytes) : m_desk.AnyMonitorId(bytes);
  share.hidesSecret = share.hidesSecret && !(share.ofWindow && id == m_desk.SecretId());
  const std::vector<std::byte> record = share.Functions(bytes);
  const bool toQueue = kind / 2 % 2 == 0;
  if (toQueue) {
    setQueue(share, m_queues.Any(bytes));
  }
  const auto* const functions =
      kind == 254 ? nullptr : reinterpret_cast<const qx_share_listener*>(record.data());
  const bool hears = functions && share.HasFunctions();
  qx_share_error why = kUntold;
  qx_share_error* const error = kind % 16 == 15 ? nullptr : &why;

  const bool gone = m_captures.IsGone(capture) || (toQueue && m_queues.IsGone(share.queue));
  const std::vector<Share*> earlier = startedSharesOf(capture);
  const qx_result result =
      toQueue ? (share.ofWindow ? qx_share_window_to_queue : qx_share_desktop_to_queue)(
                    capture, id, share.queue, error)
              : (share.ofWindow ? qx_share_window : qx_share_desktop)(capture, &share, id,
                                                                      functions, error);
  const bool there = m_captures.IsThere(capture) && (!toQueue || m_queues.IsThere(share.queue));
  Promise(!error || why != kUntold, "why a share did not start is told");
  if (result == QX_OK) {
    Promise(!error || why == QX_SHARE_ERROR_NONE, "a share that starts has no error");
    for (Share* const other : earlier) {
      other->over = true;
    }
    share.started = true;
  } else {
    share.over = true;
  }
  if (result == QX_ERROR_OBJECT) {
    Promise(!there, "a share needs an object and a queue");
    return;
  }
  Promise(!gone, "what is gone shares nothing");
  Promise(result == QX_OK || result == (toQueue || hears ? QX_ERROR_SHARE : QX_ERROR_ARGUMENT),
          "a share starts or does not, and was " + std::to_string(result));
  if (!toQueue) {
    Promise(hears || result != QX_OK, "a share needs a listener with a function");
    Promise(share.HeardStart() == (share.HasStart() && result == QX_OK),
            "who has started a share is told");
  }
}

Share& Host::newShare(qx_screen_capture* capture, Bytes script) {
  const std::lock_guard lock(m_mutex);
  Share& share = m_shares.emplace_back(*this, capture, script);
  share.hidesSecret = m_hiding.contains(capture);
  return share;
}

// Those that certainly end when this one starts.
std::vector<Share*> Host::startedSharesOf(const qx_screen_capture* capture) {
  const std::lock_guard lock(m_mutex);
  std::vector<Share*> started;
  for (Share& share : m_shares) {
    if (share.capture == capture && share.started) {
      started.push_back(&share);
    }
  }
  return started;
}

void Host::setQueue(Share& share, qx_queue* queue) {
  const std::lock_guard lock(m_mutex);
  for (const Share& other : m_shares) {
    if (other.queue == queue && !other.over) {
      m_seen[queue].mixed = true;
    }
  }
  share.queue = queue;
}

unsigned Host::HidingEngines(const Share& share) {
  {
    const std::lock_guard lock(m_mutex);
    if (m_showing.contains(share.capture)) {
      return 0;
    }
  }
  unsigned engines = 1u << QX_CAPTURE_ENGINE_NONE | 1u << QX_CAPTURE_ENGINE_MAG;
  if (share.ofWindow) {
    engines |= 1u << QX_CAPTURE_ENGINE_WGC | 1u << QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW;
  }
  if (m_desk.CopiesHide()) {
    engines |= 1u << QX_CAPTURE_ENGINE_GDI_BIT_BLT;
  }
  return engines;
}

// --------------------------------------------------------------------- lists

void Host::onDesktops(const qx_desktop_info* desktops, std::int32_t count, void* user) {
  answered(user, desktops, count, [](const qx_desktop_info& desktop) {
    Promise(desktop.id == desktop.handle, "a monitor has an id");
  });
}

void Host::onWindows(const qx_window_info* windows, std::int32_t count, void* user) {
  answered(user, windows, count, [](const qx_window_info& window) {
    Promise(window.id == window.handle, "a window has an id");
    Promise(std::strlen(window.process_name) < 1000 && std::strlen(window.title) < 10000,
            "text has an end");
  });
}

void Host::onThumbnails(const std::int32_t* ids, const char* const* thumbnails, std::int32_t count,
                        void* user) {
  answered(user, ids, count, [&](const std::int32_t& id) {
    Promise(&id == ids || (&id)[-1] < id, "thumbnails come by ascending id");
    const std::string text = thumbnails[&id - ids];
    Promise(text.empty() || text.starts_with("data:image/png; base64,"),
            "a thumbnail is a PNG file or nothing");
  });
}

template <typename Item, typename Check>
void Host::answered(void* user, const Item* items, std::int32_t count, Check check) {
  Answer& answer = *static_cast<Answer*>(user);
  Promise(count == 0 ? items == nullptr : items != nullptr && count > 0, "a list has a size");
  Promise(answer.times++ == 0, "who asks for a list is answered once");
  for (const Item* item = items; item != items + count; ++item) {
    check(*item);
  }
  answer.host.Listen(nullptr, answer.script);
}

void Host::list(Bytes& bytes) {
  // Large ones are narrow.
  constexpr SIZE kSizes[] = {{32, 24}, {1, 1},      {7, 200}, {16384, 2},
                             {0, 24},  {16385, 10}, {64, 48}, {INT32_MIN, INT32_MAX}};
  const int kind = bytes.Next() % 8;
  const SIZE size = bytes.OneOf(kSizes);
  qx_screen_capture* const capture = m_captures.Any(bytes);
  Answer* answer = nullptr;
  {
    const std::lock_guard lock(m_mutex);
    answer = &m_answers.emplace_back(*this, bytes.Part());
  }
  const qx_result result = with(m_captures, capture, [&](qx_screen_capture* object) {
    switch (kind) {
      case 0:
        return qx_get_desktop_list(object, &onDesktops, answer);
      case 1:
        return qx_get_desktop_list_async(object, &onDesktops, answer);
      case 2:
        return qx_get_window_list(object, &onWindows, answer);
      case 3:
        return qx_get_window_list_async(object, &onWindows, answer);
      case 4:
        return qx_get_desktop_thumbnail_all(object, size.cx, size.cy, &onThumbnails, answer);
      case 5:
        return qx_get_desktop_thumbnail_all_async(object, size.cx, size.cy, &onThumbnails, answer);
      case 6:
        return qx_get_window_thumbnail_all(object, size.cx, size.cy, &onThumbnails, answer);
      default:
        return qx_get_window_thumbnail_all_async(object, size.cx, size.cy, &onThumbnails, answer);
    }
  });
  Promise(result == QX_OK || result == QX_ERROR_OBJECT || result == QX_ERROR_FAILED,
          "a list is given or not, and was " + std::to_string(result));
  answer->due = result == QX_OK;
  Promise(kind % 2 == 1 || answer->times == (answer->due ? 1 : 0),
          "a list is there when the call returns");
}

void Host::getText(Bytes& bytes) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  const bool gone = m_captures.IsGone(capture);
  const int kind = bytes.Next() % 4;
  const std::int32_t id = kind == 0 ? m_desk.AnyMonitorId(bytes) : m_desk.AnyWindowId(bytes);
  const char* const text = kind == 0   ? qx_get_desktop_thumbnail(capture, id, 32, 24)
                           : kind == 1 ? qx_get_window_thumbnail(capture, id, 24, 32)
                           : kind == 2 ? qx_get_window_icon(capture, id)
                                       : qx_get_window_title(capture, id);
  Promise(!text || (!gone && std::strlen(text) < 100000), "a text of an object has an end");
  Promise(text || kind < 2 || !m_captures.IsThere(capture), "an object has texts");
}

// ------------------------------------------------------------------ all else

void Host::actOnDesk(Bytes& bytes) { m_desk.Act(bytes); }

void Host::passTime(Bytes& bytes) {
  constexpr std::chrono::milliseconds kTimes[] = {34ms, 67ms,  67ms,   200ms,
                                                  1ms,  600ms, 1100ms, 2500ms};
  const std::chrono::milliseconds time = bytes.OneOf(kTimes);
  if (!t_calling.empty() || std::this_thread::get_id() != m_thread) {
    vwin::control::Spend(std::min<std::chrono::milliseconds>(time, 200ms));
  } else if (time <= m_timeLeft) {
    m_timeLeft -= time;
    vwin::control::Advance(time);
  }
}

void Host::work(Bytes& bytes) {
  if (!t_calling.empty() || std::this_thread::get_id() != m_thread ||
      m_workers.size() == kMostWorkers) {
    return;
  }
  Worker& worker = m_workers.emplace_back(*this, bytes.Part());
  const auto run = [](void* user) -> DWORD {
    auto& self = *static_cast<Worker*>(user);
    while (!self.script.IsEmpty()) {
      self.host.act(self.script);
    }
    return 0;
  };
  worker.thread = CreateThread(nullptr, 0, run, &worker, 0, nullptr);
  if (!worker.thread) {
    m_workers.pop_back();
  }
}

}  // namespace qx::fuzz
