#include "tests/fuzz/Host.h"

#include <process.h>

#include <algorithm>
#include <cstring>

#include "platform/control/Clock.h"
#include "tests/fuzz/Pixels.h"

namespace qx::fuzz {

namespace {

using namespace std::chrono_literals;

constexpr int kMostActs = 150;
constexpr std::size_t kDeepest = 2;
constexpr std::size_t kMostCaptures = 4;
constexpr std::size_t kMostQueues = 3;
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

// -------------------------------------------------------------------- queues

void Host::createQueue(Bytes&) {
  if (m_queues.Count() < kMostQueues) {
    if (qx_queue* const queue = qx_queue_create()) {
      m_queues.Add(queue);
    }
  }
}

void Host::destroyQueue(Bytes& bytes) { endQueue(m_queues.Any(bytes)); }

void Host::endQueue(qx_queue* queue) {
  const bool begun = m_queues.BeginEnd(queue);
  const qx_result result = with(m_queues, queue, qx_queue_destroy);
  Promise(result == QX_OK || result == QX_ERROR_OBJECT, "a queue can be destroyed");
  Promise(!begun || result == QX_OK, "a queue is destroyed once");
  m_queues.End(queue, true);
}

void Host::wait(Bytes& bytes) {
  constexpr std::uint32_t kTimes[] = {0, 1, 40, 200};
  const qx_result result = with(m_queues, m_queues.Any(bytes), [&](qx_queue* queue) {
    return qx_queue_wait(queue, bytes.OneOf(kTimes));
  });
  Promise(result == QX_OK || result == QX_ERROR_TIMEOUT || result == QX_ERROR_OBJECT,
          "a wait ends, and was " + std::to_string(result));
}

void Host::nextEvent(Bytes& bytes) {
  constexpr std::size_t kSizes[] = {sizeof(qx_event), sizeof(qx_event) + 8, sizeof(qx_event) - 3,
                                    offsetof(qx_event, type) + 1, 4};
  static_cast<void>(nextEventOf(m_queues.Any(bytes), bytes.OneOf(kSizes)));
}

void Host::drain(Bytes& bytes) { drainQueue(m_queues.Any(bytes)); }

void Host::drainQueue(qx_queue* queue) {
  while (nextEventOf(queue, sizeof(qx_event)) == QX_OK) {
  }
  takeFrom(queue);
}

// Whether this is the queue's one reader, so that the order in which it reads is known.
bool Host::isReader(const qx_queue* queue) {
  const std::lock_guard lock(m_mutex);
  Seen& seen = m_seen[queue];
  seen.mixed = seen.mixed || std::this_thread::get_id() != m_thread;
  return !seen.mixed;
}

// With a record of so many bytes, and none behind them.
qx_result Host::nextEventOf(qx_queue* queue, std::size_t size) {
  std::vector<std::byte> record(size);
  const auto told = static_cast<std::uint32_t>(size);
  std::memcpy(record.data(), &told, sizeof(told));
  static_cast<void>(isReader(queue));
  const qx_result result = with(m_queues, queue, [&](qx_queue* object) {
    return qx_queue_next_event(object, reinterpret_cast<qx_event*>(record.data()));
  });
  const bool small = size < offsetof(qx_event, type) + sizeof(qx_event::type);
  Promise(result == QX_ERROR_OBJECT || (result == QX_ERROR_ARGUMENT) == small,
          "an event needs room for its type");
  if (result != QX_OK) {
    Promise(small || result == QX_ERROR_OBJECT || result == QX_ERROR_EMPTY,
            "an event comes or not, and was " + std::to_string(result));
    return result;
  }
  qx_event event = {};
  std::memcpy(&event, record.data(), std::min(size, sizeof(event)));
  Promise(event.size == told, "a record keeps its size");
  if (isReader(queue)) {
    const std::lock_guard lock(m_mutex);
    checkOrder(m_seen[queue], event);
  }
  return result;
}

// The engine that is named before a start may be one that did not start after all.
void Host::checkOrder(Seen& seen, const qx_event& event) {
  Promise(event.frame >= seen.frame, "events stand in their order among frames");
  if (event.type == QX_EVENT_START) {
    Promise(seen.last == QX_EVENT_CAPTURE_ENGINE_NAME, "the first engine is named before it");
    seen.course = Course();
    seen.course.Follow(QX_EVENT_CAPTURE_ENGINE_NAME, QX_CAPTURE_ENGINE_NONE);
  }
  if (event.type != QX_EVENT_CAPTURE_ENGINE_NAME) {
    seen.course.Follow(event.type, event.reason);
  }
  seen.last = event.type;
  seen.frame = event.frame;
}

void Host::takeFrom(qx_queue* queue) {
  qx_frame* frame = nullptr;
  static_cast<void>(isReader(queue));
  const qx_result result =
      with(m_queues, queue, [&](qx_queue* object) { return qx_queue_take_frame(object, &frame); });
  Promise((result == QX_OK) == (frame != nullptr), "a frame is taken or not");
  if (result != QX_OK) {
    Promise(result == QX_ERROR_OBJECT || result == QX_ERROR_EMPTY,
            "a frame comes or not, and was " + std::to_string(result));
    return;
  }
  qx_screen_frame_data data = {};
  Promise(qx_frame_get_data(frame, &data) == QX_OK, "a taken frame has a picture");
  const std::uint64_t contents = ReadPicture(data);
  qx_frame_info info = {};
  info.size = sizeof(info);
  Promise(qx_frame_get_info(frame, &info) == QX_OK, "a taken frame has figures");
  const bool reader = isReader(queue);
  {
    const std::lock_guard lock(m_mutex);
    m_contents[frame] = contents;
    Seen& seen = m_seen[queue];
    Promise(!reader || info.number > seen.number, "frames are numbered");
    Promise(!reader || info.lost == info.number - 1 - seen.taken, "lost frames are counted");
    seen.number = info.number;
    ++seen.taken;
  }
  m_frames.Add(frame);
}

void Host::useFrame(Bytes& bytes) { readFrame(m_frames.Any(bytes), bytes.Flag()); }

// Nobody may read a picture while it is released: who reads it has it alone.
void Host::readFrame(qx_frame* frame, bool release) {
  const bool there = m_frames.BeginEnd(frame);
  if (!there && !m_frames.IsGone(frame)) {
    return;
  }
  const qx_result expected = there ? QX_OK : QX_ERROR_OBJECT;
  qx_screen_frame_data data = {};
  Promise(qx_frame_get_data(frame, &data) == expected, "a frame is there until it is released");
  if (there) {
    const std::uint64_t contents = ReadPicture(data);
    const std::lock_guard lock(m_mutex);
    Promise(contents == m_contents[frame], "a taken frame stays as it is");
  }
  if (release) {
    Promise(qx_frame_release(frame) == expected, "a frame is released once");
  }
  if (there) {
    m_frames.End(frame, release);
  }
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
  const auto run = [](void* user) -> unsigned {
    auto& self = *static_cast<Worker*>(user);
    while (!self.script.IsEmpty()) {
      self.host.act(self.script);
    }
    return 0;
  };
  worker.thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, run, &worker, 0, nullptr));
  if (!worker.thread) {
    m_workers.pop_back();
  }
}

}  // namespace qx::fuzz
