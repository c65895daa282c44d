// An object and its share.
#include <bit>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "c/Closed.h"
#include "c/HostListener.h"
#include "c/Inside.h"
#include "c/QueueListener.h"

namespace qx::c {

namespace {

using Library = IScreenCapture;

// Where the answer for `error` goes when the host wants none.
class ShareErrorOut {
 public:
  explicit ShareErrorOut(qx_share_error* host) : m_error(host ? *host : m_unwanted) {
    m_error = QX_SHARE_ERROR_NONE;
  }
  ShareErrorOut(const ShareErrorOut&) = delete;
  ShareErrorOut& operator=(const ShareErrorOut&) = delete;
  qx_share_error& Get() { return m_error; }

 private:
  qx_share_error m_unwanted = QX_SHARE_ERROR_NONE;
  qx_share_error& m_error;
};

qx_result ShareToListener(SharingObject::Start start, qx_screen_capture* capture, void* context,
                          std::int32_t id, const qx_share_listener* listener,
                          qx_share_error* error) noexcept {
  ShareErrorOut out(error);
  return WithCapture(capture, [&](SharingObject& object) -> qx_result {
    if (!listener) {
      out.Get() = QX_SHARE_ERROR_NULL_LISTENER;
      return QX_ERROR_ARGUMENT;
    }
    const auto functions = HostListener::CopyFunctions(*listener);
    if (!functions) {
      return QX_ERROR_ARGUMENT;
    }
    return object.Share(start, context, id, std::make_unique<HostListener>(object, *functions),
                        out.Get());
  });
}

qx_result ShareToQueue(SharingObject::Start start, qx_screen_capture* capture, std::int32_t id,
                       qx_queue* handle, qx_share_error* error) noexcept {
  ShareErrorOut out(error);
  return WithCapture(capture, [&](SharingObject& object) -> qx_result {
    std::shared_ptr<FrameQueue> queue = Objects::Instance().queues.Find(handle);
    if (!queue) {
      out.Get() = QX_SHARE_ERROR_NULL_LISTENER;
      return QX_ERROR_OBJECT;
    }
    return object.Share(start, nullptr, id, std::make_unique<QueueListener>(std::move(queue)),
                        out.Get());
  });
}

}  // namespace

}  // namespace qx::c

using namespace qx::c;

qx_screen_capture* qx_create() {
  return Closed(static_cast<qx_screen_capture*>(nullptr), [] {
    auto object = std::make_shared<SharingObject>();
    if (!object->IsComplete()) {
      throw std::bad_alloc();
    }
    return Objects::Instance().captures.Add(std::move(object));
  });
}

qx_result qx_destroy(qx_screen_capture* capture) {
  return WithCapture(capture, [&](SharingObject& object) -> qx_result {
    if (!Inside::MayEndShareOf(object)) {
      return QX_ERROR_WRONG_THREAD;
    }
    if (!Objects::Instance().captures.Take(capture)) {
      return QX_ERROR_OBJECT;  // another thread was first
    }
    object.Destroy();
    return QX_OK;
  });
}

qx_result qx_share_desktop(qx_screen_capture* capture, void* context, int32_t id,
                           const qx_share_listener* listener, qx_share_error* error) {
  return ShareToListener(&Library::ShareDesktop, capture, context, id, listener, error);
}

qx_result qx_share_window(qx_screen_capture* capture, void* context, int32_t id,
                          const qx_share_listener* listener, qx_share_error* error) {
  return ShareToListener(&Library::ShareWindow, capture, context, id, listener, error);
}

qx_result qx_share_windows(qx_screen_capture* capture, void* /*context*/, const int32_t* ids,
                           int32_t count, const qx_share_listener* /*listener*/,
                           qx_share_error* error) {
  ShareErrorOut out(error);
  return WithCapture(capture, [&](SharingObject&) -> qx_result {
    if (!IsArray(ids, count)) {
      return QX_ERROR_ARGUMENT;
    }
    out.Get() = QX_SHARE_ERROR_START_FAILED;
    return QX_ERROR_SHARE;
  });
}

qx_result qx_share_desktop_to_queue(qx_screen_capture* capture, int32_t id, qx_queue* queue,
                                    qx_share_error* error) {
  return ShareToQueue(&Library::ShareDesktop, capture, id, queue, error);
}

qx_result qx_share_window_to_queue(qx_screen_capture* capture, int32_t id, qx_queue* queue,
                                   qx_share_error* error) {
  return ShareToQueue(&Library::ShareWindow, capture, id, queue, error);
}

qx_result qx_share_pause(qx_screen_capture* capture) {
  return WithLibrary(capture, true, [](Library& library) { library.SharePause(); });
}

qx_result qx_share_resume(qx_screen_capture* capture) {
  return WithLibrary(capture, true, [](Library& library) { library.ShareResume(); });
}

qx_result qx_share_stop(qx_screen_capture* capture) {
  return WithCapture(capture, [](SharingObject& object) -> qx_result {
    if (!Inside::MayEndShareOf(object)) {
      return QX_ERROR_WRONG_THREAD;
    }
    object.Stop();
    return QX_OK;
  });
}

qx_result qx_get_capture_rect(qx_screen_capture* capture, qx_capture_rect* rect) {
  return WithLibrary(capture, rect != nullptr, [&](Library& library) {
    Library::CaptureRect captured = {};
    library.GetCaptureRect(captured);
    *rect = std::bit_cast<qx_capture_rect>(captured);
  });
}
