// A queue and its frames.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "c/Closed.h"

namespace qx::c {

namespace {

// The host's header may be older or newer than this library: its record begins with how
// large it knows it, which stays. `required` is the least that it must have.
template <typename Record>
bool HasRoom(const Record* record, std::size_t required) {
  return record && record->size >= required;
}

template <typename Record>
void Fill(Record* record, const Record& source) {
  const std::size_t size = record->size < sizeof(source) ? record->size : sizeof(source);
  constexpr std::size_t kBegin = sizeof(source.size);
  std::memcpy(reinterpret_cast<std::byte*>(record) + kBegin,
              reinterpret_cast<const std::byte*>(&source) + kBegin, size - kBegin);
}

constexpr std::size_t kEventNeeds = offsetof(qx_event, type) + sizeof(qx_event::type);
constexpr std::size_t kInfoNeeds =
    offsetof(qx_frame_info, dirty_valid) + sizeof(qx_frame_info::dirty_valid);

template <typename Call>
qx_result WithQueue(const qx_queue* handle, Call call) noexcept {
  return Closed([&]() -> qx_result {
    const std::shared_ptr<FrameQueue> queue = Objects::Instance().queues.Find(handle);
    return queue ? call(queue) : QX_ERROR_OBJECT;
  });
}

template <typename Call>
qx_result WithPicture(const qx_frame* handle, Call call) noexcept {
  return Closed([&]() -> qx_result {
    const std::shared_ptr<Frame> frame = Objects::Instance().frames.Find(handle);
    return frame ? call(*frame->Get()) : QX_ERROR_OBJECT;
  });
}

}  // namespace

}  // namespace qx::c

using namespace qx::c;

qx_queue* qx_queue_create() {
  return Closed(static_cast<qx_queue*>(nullptr),
                [] { return Objects::Instance().queues.Add(std::make_shared<FrameQueue>()); });
}

qx_result qx_queue_destroy(qx_queue* queue) {
  return Closed([&]() -> qx_result {
    const std::shared_ptr<FrameQueue> taken = Objects::Instance().queues.Take(queue);
    if (!taken) {
      return QX_ERROR_OBJECT;
    }
    taken->Close();
    return QX_OK;
  });
}

qx_result qx_queue_wait(qx_queue* queue, uint32_t timeout_ms) {
  return WithQueue(queue, [&](const auto& found) { return found->Wait(timeout_ms); });
}

qx_result qx_queue_next_event(qx_queue* queue, qx_event* event) {
  return WithQueue(queue, [&](const auto& found) -> qx_result {
    if (!HasRoom(event, kEventNeeds)) {
      return QX_ERROR_ARGUMENT;
    }
    qx_event next = {};
    const qx_result result = found->NextEvent(next);
    if (result == QX_OK) {
      Fill(event, next);
    }
    return result;
  });
}

qx_result qx_queue_take_frame(qx_queue* queue, qx_frame** frame) {
  return WithQueue(queue, [&](const auto& found) -> qx_result {
    if (!frame) {
      return QX_ERROR_ARGUMENT;
    }
    *frame = nullptr;
    auto taken = std::make_shared<Frame>(found);
    if (!taken->Get()) {
      return QX_ERROR_EMPTY;
    }
    *frame = Objects::Instance().frames.Add(std::move(taken));
    return QX_OK;
  });
}

qx_result qx_frame_get_data(const qx_frame* frame, qx_screen_frame_data* data) {
  return WithPicture(frame, [&](const Picture& picture) -> qx_result {
    if (!data) {
      return QX_ERROR_ARGUMENT;
    }
    *data = picture.data;
    return QX_OK;
  });
}

qx_result qx_frame_get_info(const qx_frame* frame, qx_frame_info* info) {
  return WithPicture(frame, [&](const Picture& picture) -> qx_result {
    if (!HasRoom(info, kInfoNeeds)) {
      return QX_ERROR_ARGUMENT;
    }
    Fill(info, picture.info);
    return QX_OK;
  });
}

qx_result qx_frame_release(qx_frame* frame) {
  return Closed([&]() -> qx_result {
    return Objects::Instance().frames.Take(frame) ? QX_OK : QX_ERROR_OBJECT;
  });
}
