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
constexpr int kDeepest = 2;
constexpr std::size_t kMostCaptures = 4;
constexpr std::size_t kMostQueues = 3;
constexpr std::size_t kMostWorkers = 2;
constexpr qx_share_error kUntold = 77;

// The objects whose listeners the thread is in, the outermost first.
thread_local std::vector<const qx_screen_capture*> t_calling;
thread_local int t_depth = 0;

bool isCallingFor(const qx_screen_capture* capture) {
  return std::ranges::find(t_calling, capture) != t_calling.end();
}

}  // namespace

Host::Calling::Calling(const qx_screen_capture* capture) { t_calling.push_back(capture); }
Host::Calling::~Calling() { t_calling.pop_back(); }

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

void Host::Listen(Bytes& script) {
  if (m_ending || script.IsEmpty() || t_depth == kDeepest) {
    return;
  }
  ++t_depth;
  act(script);
  --t_depth;
}

void Host::End() {
  m_desk.Calm();
  for (Worker& worker : m_workers) {
    WaitForSingleObject(worker.thread, INFINITE);
    CloseHandle(worker.thread);
  }
  m_ending = true;
  vwin::control::Settle();
  for (qx_screen_capture* const capture : m_captures.All()) {
    endShare(capture, true);
  }
  for (qx_queue* const queue : m_queues.All()) {
    while (nextEventOf(queue, sizeof(qx_event)) == QX_OK) {
    }
    endQueue(queue);
  }
  vwin::control::Settle();
  vwin::control::Advance(10s);
  for (qx_frame* const frame : m_frames.All()) {
    readTaken(frame);
    releaseTaken(frame);
  }
  for (const Answer& answer : m_answers) {
    Promise(answer.times == (answer.due ? 1 : 0), "who asks for a list is answered once");
  }
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

// ------------------------------------------------------------------- objects

void Host::create(Bytes&) {
  if (m_captures.Count() < kMostCaptures) {
    qx_screen_capture* const capture = qx_create();
    if (capture) {
      m_captures.Add(capture);
    }
  }
}

void Host::createQueue(Bytes&) {
  if (m_queues.Count() < kMostQueues) {
    m_queues.Add(qx_queue_create());
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
           return m_captures.Place(calling) < m_captures.Place(capture);
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
  const bool ofWindow = kind % 2 == 1;
  const std::int32_t id = ofWindow ? m_desk.AnyWindowId(bytes) : m_desk.AnyMonitorId(bytes);
  Share& share = newShare(capture);
  share.ofWindow = ofWindow;
  share.hidesSecret = share.hidesSecret && !(ofWindow && id == m_desk.SecretId());
  qx_share_error why = kUntold;
  qx_share_error* const error = kind % 16 == 15 ? nullptr : &why;
  if (kind / 2 % 2 == 0) {
    share.queue = m_queues.Any(bytes);
    shareToQueue(share, id, error);
  } else {
    shareToListener(share, id, bytes, error);
  }
  Promise(!error || why != kUntold, "why a share did not start is told");
}

Share& Host::newShare(qx_screen_capture* capture) {
  const std::lock_guard lock(m_mutex);
  Share& share = m_shares.emplace_back(capture);
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

template <typename Start>
qx_result Host::start(Share& share, const qx_share_error* why, Start call) {
  const std::vector<Share*> earlier = startedSharesOf(share.capture);
  const qx_result result = call();
  if (result == QX_OK) {
    Promise(!why || *why == QX_SHARE_ERROR_NONE, "a share that starts has no error");
    for (Share* const other : earlier) {
      other->over = true;
    }
    share.started = true;
    return result;
  }
  share.over = true;
  if (result == QX_ERROR_SHARE && why) {
    Promise(*why == QX_SHARE_ERROR_TASK_RUNNING || *why == QX_SHARE_ERROR_TARGET_MISSING ||
                *why == QX_SHARE_ERROR_START_FAILED,
            "why a share did not start, which was " + std::to_string(*why));
  }
  return result;
}

void Host::shareToQueue(Share& share, std::int32_t id, qx_share_error* why) {
  {
    const std::lock_guard lock(m_mutex);
    for (const Share& other : m_shares) {
      if (&other != &share && other.queue == share.queue && !other.over) {
        m_seen[share.queue].mixed = true;
      }
    }
  }
  const bool gone = m_captures.IsGone(share.capture) || m_queues.IsGone(share.queue);
  const qx_result result = start(share, why, [&] {
    return share.ofWindow ? qx_share_window_to_queue(share.capture, id, share.queue, why)
                          : qx_share_desktop_to_queue(share.capture, id, share.queue, why);
  });
  const bool there = m_captures.IsThere(share.capture) && m_queues.IsThere(share.queue);
  Promise(result == QX_ERROR_OBJECT ? !there : !gone, "a share needs an object and a queue");
  Promise(result == QX_OK || result == QX_ERROR_OBJECT || result == QX_ERROR_SHARE,
          "a share into a queue starts or does not, and was " + std::to_string(result));
}

void Host::shareToListener(Share& share, std::int32_t id, Bytes& bytes, qx_share_error* why) {
  const bool none = bytes.Next() == 255;
  Ear& ear = newEar(share, bytes.Part());
  const std::vector<std::byte> record = ear.Functions(bytes);
  const auto* const functions =
      none ? nullptr : reinterpret_cast<const qx_share_listener*>(record.data());
  const qx_result result = start(share, why, [&] {
    return with(m_captures, share.capture, [&](qx_screen_capture* capture) {
      return share.ofWindow ? qx_share_window(capture, &ear, id, functions, why)
                            : qx_share_desktop(capture, &ear, id, functions, why);
    });
  });
  if (result == QX_ERROR_ARGUMENT) {
    Promise(none || !ear.HasFunctions(), "a listener with a function is one");
    Promise(!why || *why == (none ? QX_SHARE_ERROR_NULL_LISTENER : QX_SHARE_ERROR_NONE),
            "no listener has an error of its own");
    return;
  }
  Promise(result == QX_ERROR_OBJECT || (!none && ear.HasFunctions()),
          "a share needs a listener with a function");
  Promise(result == QX_OK || result == QX_ERROR_OBJECT || result == QX_ERROR_SHARE,
          "a share starts or does not, and was " + std::to_string(result));
  Promise(result == QX_ERROR_OBJECT || ear.HeardStart() == (ear.HasStart() && result == QX_OK),
          "who has started a share is told");
}

Ear& Host::newEar(Share& share, Bytes script) {
  const std::lock_guard lock(m_mutex);
  return m_ears.emplace_back(*this, share, script);
}

void Host::shareWindows(Bytes& bytes) {
  const Ids ids = anyIds(bytes);
  qx_share_error why = kUntold;
  const qx_result result = with(m_captures, m_captures.Any(bytes), [&](qx_screen_capture* capture) {
    return qx_share_windows(capture, this, ids.data, ids.count, nullptr, &why);
  });
  Promise(result == QX_ERROR_OBJECT || result == (ids.valid ? QX_ERROR_SHARE : QX_ERROR_ARGUMENT),
          "several windows can't be shared");
}

// ---------------------------------------------------------------------- lists

namespace {

bool IsUtf8(const char* text) {
  const auto* at = reinterpret_cast<const unsigned char*>(text);
  while (*at != 0) {
    const int more = *at < 0x80   ? 0
                     : *at < 0xC2 ? -1
                     : *at < 0xE0 ? 1
                     : *at < 0xF0 ? 2
                     : *at < 0xF5 ? 3
                                  : -1;
    const unsigned char first = *at++;
    for (int i = 0; i < more; ++i, ++at) {
      const bool overlong =
          i == 0 && ((first == 0xE0 && *at < 0xA0) || (first == 0xF0 && *at < 0x90));
      const bool beyond =
          i == 0 && ((first == 0xED && *at > 0x9F) || (first == 0xF4 && *at > 0x8F));
      if (*at < 0x80 || *at > 0xBF || overlong || beyond) {
        return false;
      }
    }
    if (more < 0) {
      return false;
    }
  }
  return true;
}

void checkThumbnail(const char* text) {
  constexpr char kBegin[] = "data:image/png; base64,";
  Promise(text != nullptr && (*text == 0 || std::strncmp(text, kBegin, sizeof(kBegin) - 1) == 0),
          "a thumbnail is a PNG file or nothing");
  static_cast<void>(std::strlen(text));
}

}  // namespace

void Host::onDesktops(const qx_desktop_info* desktops, std::int32_t count, void* user) {
  answered(user, desktops, count, [](const qx_desktop_info& desktop) {
    Promise(desktop.id == desktop.handle && desktop.is_primary / 2 == 0, "a monitor has an id");
  });
}

void Host::onWindows(const qx_window_info* windows, std::int32_t count, void* user) {
  answered(user, windows, count, [](const qx_window_info& window) {
    Promise(window.id == window.handle, "a window has an id");
    Promise(IsUtf8(window.process_name) && IsUtf8(window.title), "text is UTF-8");
  });
}

void Host::onThumbnails(const std::int32_t* ids, const char* const* thumbnails, std::int32_t count,
                        void* user) {
  answered(user, ids, count, [&](const std::int32_t& id) {
    Promise(&id == ids || (&id)[-1] < id, "thumbnails come by ascending id");
    checkThumbnail(thumbnails[&id - ids]);
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
  answer.host.Listen(answer.script);
}

template <typename Callback, typename List>
void Host::ask(Bytes& bytes, bool async, Callback callback, List function) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  const bool none = bytes.Next() == 255;
  Answer& answer = newAnswer(bytes.Part());
  const qx_result result = with(m_captures, capture, [&](qx_screen_capture* object) {
    return function(object, none ? nullptr : callback, &answer);
  });
  Promise(result == QX_OK || result == QX_ERROR_OBJECT || result == QX_ERROR_FAILED ||
              (none && result == QX_ERROR_ARGUMENT),
          "a list is given or not, and was " + std::to_string(result));
  Promise(!none || result != QX_OK, "a list needs a callback");
  answer.due = result == QX_OK;
  Promise(async || answer.times == (answer.due ? 1 : 0), "a list is there when the call returns");
}

Host::Answer& Host::newAnswer(Bytes script) {
  const std::lock_guard lock(m_mutex);
  return m_answers.emplace_back(*this, script);
}

void Host::list(Bytes& bytes) {
  const int kind = bytes.Next();
  const bool async = kind % 2 == 1;
  if (kind / 2 % 2 == 0) {
    ask(bytes, async, &onDesktops, async ? &qx_get_desktop_list_async : &qx_get_desktop_list);
  } else {
    ask(bytes, async, &onWindows, async ? &qx_get_window_list_async : &qx_get_window_list);
  }
}

void Host::listThumbnails(Bytes& bytes) {
  const int kind = bytes.Next();
  const bool async = kind % 2 == 1;
  const Size size = anyThumbnailSize(bytes);
  const auto function =
      kind / 2 % 2 == 0
          ? (async ? &qx_get_desktop_thumbnail_all_async : &qx_get_desktop_thumbnail_all)
          : (async ? &qx_get_window_thumbnail_all_async : &qx_get_window_thumbnail_all);
  ask(bytes, async, &onThumbnails,
      [&](qx_screen_capture* capture, qx_thumbnail_list_callback callback, void* user) {
        return function(capture, size.width, size.height, callback, user);
      });
}

void Host::getThumbnail(Bytes& bytes) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  const bool gone = m_captures.IsGone(capture);
  const Size size = anyThumbnailSize(bytes);
  const char* const text =
      bytes.Flag()
          ? qx_get_window_thumbnail(capture, m_desk.AnyWindowId(bytes), size.width, size.height)
          : qx_get_desktop_thumbnail(capture, m_desk.AnyMonitorId(bytes), size.width, size.height);
  if (text) {
    Promise(!gone && size.width > 0 && size.height > 0 && *text != 0, "a thumbnail has a size");
    checkThumbnail(text);
  }
}

void Host::getText(Bytes& bytes) {
  qx_screen_capture* const capture = m_captures.Any(bytes);
  const bool gone = m_captures.IsGone(capture);
  const char* const text = bytes.Flag() ? qx_get_window_title(capture, m_desk.AnyWindowId(bytes))
                                        : qx_get_window_icon(capture, m_desk.AnyWindowId(bytes));
  Promise(text ? !gone : !m_captures.IsThere(capture), "there is a text while there is an object");
  Promise(!text || IsUtf8(text), "text is UTF-8");
}

// ---------------------------------------------------------------------- queues

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
  constexpr std::size_t kSizes[] = {sizeof(qx_event),
                                    sizeof(qx_event),
                                    sizeof(qx_event) + 8,
                                    sizeof(qx_event) - 3,
                                    offsetof(qx_event, frame),
                                    offsetof(qx_event, type) + 1,
                                    4};
  static_cast<void>(nextEventOf(m_queues.Any(bytes), bytes.OneOf(kSizes)));
}

void Host::drain(Bytes& bytes) {
  qx_queue* const queue = m_queues.Any(bytes);
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
  const bool argument = size < offsetof(qx_event, type) + sizeof(qx_event::type);
  Promise(result == QX_ERROR_OBJECT || (result == QX_ERROR_ARGUMENT) == argument,
          "an event needs room for its type");
  if (result == QX_OK) {
    qx_event event = {};
    std::memcpy(&event, record.data(), std::min(size, sizeof(event)));
    Promise(event.size == told, "a record keeps its size");
    Promise(event.type >= QX_EVENT_START && event.type <= QX_EVENT_SHARE_RECT_CHANGED,
            "an event has a type");
    if (size >= sizeof(event)) {
      checkEvent(event);
    }
    if (isReader(queue)) {
      checkOrder(queue, event, size >= sizeof(event));
    }
  } else {
    Promise(result == QX_ERROR_OBJECT || result == QX_ERROR_ARGUMENT || result == QX_ERROR_EMPTY,
            "an event comes or not, and was " + std::to_string(result));
  }
  return result;
}

void Host::checkEvent(const qx_event& event) {
  const auto only = [&](qx_event_type type, bool empty) {
    Promise(event.type == type || empty, "fields that an event's type does not name are 0");
  };
  only(QX_EVENT_PAUSE, event.reason == 0);
  only(QX_EVENT_CAPTURE_ENGINE_NAME, event.engine == 0);
  only(QX_EVENT_FRAME_STATISTICS, event.fps == 0);
  only(QX_EVENT_SHARE_RECT_CHANGED,
       event.rect.x == 0 && event.rect.y == 0 && event.rect.width == 0 && event.rect.height == 0);
  Promise(event.type == QX_EVENT_SHARE_WINDOW_CHANGED ||
              event.type == QX_EVENT_SHARE_DESKTOP_CHANGED || event.id == 0,
          "fields that an event's type does not name are 0");
}

void Host::checkOrder(const qx_queue* queue, const qx_event& event, bool whole) {
  const std::lock_guard lock(m_mutex);
  Seen& seen = m_seen[queue];
  if (whole) {
    Promise(event.frame >= seen.frame, "events stand in their order among frames");
    seen.frame = event.frame;
  }
  if (event.type == QX_EVENT_START) {
    Promise(seen.last == QX_EVENT_CAPTURE_ENGINE_NAME,
            "the first engine is named before the start");
    seen.running = true;
    seen.firstFrame = seen.paused = false;
  } else if (event.type != QX_EVENT_CAPTURE_ENGINE_NAME) {
    Promise(seen.running, "between start and stop is all else");
  }
  if (event.type == QX_EVENT_FIRST_FRAME) {
    Promise(!seen.firstFrame, "a share has one first frame");
    seen.firstFrame = true;
  } else if (event.type == QX_EVENT_PAUSE) {
    seen.paused = true;
  } else if (event.type == QX_EVENT_RESUME) {
    Promise(seen.paused, "only what is paused is resumed");
    seen.paused = false;
  } else if (event.type == QX_EVENT_STOP) {
    seen.running = false;
  }
  seen.last = event.type;
}

void Host::take(Bytes& bytes) { takeFrom(m_queues.Any(bytes)); }

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
    m_taken[frame].contents = contents;
    Seen& seen = m_seen[queue];
    Promise(!reader || info.number > seen.number, "frames are numbered");
    Promise(!reader || info.lost == info.number - 1 - seen.taken, "lost frames are counted");
    seen.number = info.number;
    ++seen.taken;
  }
  m_frames.Add(frame);
}

void Host::look(Bytes& bytes) {
  qx_frame* const frame = m_frames.Any(bytes);
  constexpr std::size_t kSizes[] = {sizeof(qx_frame_info), sizeof(qx_frame_info) + 8,
                                    offsetof(qx_frame_info, lost), 5, 4};
  std::vector<std::byte> record(bytes.OneOf(kSizes));
  const auto told = static_cast<std::uint32_t>(record.size());
  std::memcpy(record.data(), &told, sizeof(told));
  const qx_result result = with(m_frames, frame, [&](qx_frame* object) {
    return qx_frame_get_info(object, reinterpret_cast<qx_frame_info*>(record.data()));
  });
  Promise(result == QX_ERROR_OBJECT || result == (told < 5 ? QX_ERROR_ARGUMENT : QX_OK),
          "figures need room for one");
  readTaken(frame);
}

// Nobody may read a picture while it is released.
void Host::readTaken(qx_frame* frame) {
  Taken* taken = nullptr;
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = m_taken.find(frame);
    if (entry != m_taken.end() && !entry->second.released) {
      taken = &entry->second;
      ++taken->readers;
    }
  }
  qx_screen_frame_data data = {};
  const qx_result result = qx_frame_get_data(frame, &data);
  Promise(taken ? result == QX_OK : result == QX_ERROR_OBJECT || m_frames.IsThere(frame),
          "a frame is there until it is released");
  if (taken) {
    Promise(ReadPicture(data) == taken->contents, "a taken frame stays as it is");
    const std::lock_guard lock(m_mutex);
    --taken->readers;
  }
}

void Host::release(Bytes& bytes) { releaseTaken(m_frames.Any(bytes)); }

void Host::releaseTaken(qx_frame* frame) {
  bool first = false;
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = m_taken.find(frame);
    if (entry != m_taken.end()) {
      if (entry->second.readers > 0) {
        return;
      }
      first = !entry->second.released;
      entry->second.released = true;
    }
  }
  static_cast<void>(m_frames.BeginEnd(frame));
  const qx_result result = qx_frame_release(frame);
  Promise(result == (first ? QX_OK : QX_ERROR_OBJECT), "a frame is released once");
  m_frames.End(frame, true);
}

// ------------------------------------------------------------------ all else

void Host::actOnDesk(Bytes& bytes) { m_desk.Act(bytes); }

void Host::passTime(Bytes& bytes) {
  constexpr std::chrono::milliseconds kTimes[] = {34ms, 67ms,  67ms,   200ms,
                                                  1ms,  600ms, 1100ms, 2500ms};
  const std::chrono::milliseconds time = bytes.OneOf(kTimes);
  if (t_depth > 0 || std::this_thread::get_id() != m_thread) {
    vwin::control::Spend(std::min<std::chrono::milliseconds>(time, 200ms));
  } else if (time <= m_timeLeft) {
    m_timeLeft -= time;
    vwin::control::Advance(time);
  }
}

void Host::work(Bytes& bytes) {
  if (t_depth > 0 || std::this_thread::get_id() != m_thread || m_workers.size() == kMostWorkers) {
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

void Host::act(Bytes& bytes) {
  using Act = void (Host::*)(Bytes&);
  static constexpr Act kActs[] = {
      &Host::passTime,        &Host::passTime,     &Host::passTime,
      &Host::passTime,        &Host::actOnDesk,    &Host::actOnDesk,
      &Host::actOnDesk,       &Host::actOnDesk,    &Host::actOnDesk,
      &Host::actOnDesk,       &Host::share,        &Host::share,
      &Host::share,           &Host::stop,         &Host::create,
      &Host::destroy,         &Host::pause,        &Host::resume,
      &Host::getRect,         &Host::hideSecret,   &Host::changeRule,
      &Host::changeRules,     &Host::clearRules,   &Host::switchOn,
      &Host::switchOn,        &Host::setEngines,   &Host::setPrompt,
      &Host::setLimit,        &Host::setFormat,    &Host::setConfig,
      &Host::setLivingConfig, &Host::setFps,       &Host::setWindows,
      &Host::shareWindows,    &Host::list,         &Host::listThumbnails,
      &Host::getText,         &Host::getThumbnail, &Host::callProcess,
      &Host::createQueue,     &Host::wait,         &Host::nextEvent,
      &Host::drain,           &Host::take,         &Host::look,
      &Host::release,         &Host::destroyQueue, &Host::work};
  (this->*bytes.OneOf(kActs))(bytes);
}

}  // namespace qx::fuzz
