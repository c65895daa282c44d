// What the host does with queues and frames.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "tests/fuzz/Host.h"
#include "tests/fuzz/Pixels.h"

namespace qx::fuzz {

namespace {

constexpr std::size_t kMostQueues = 3;

}  // namespace

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

}  // namespace qx::fuzz
