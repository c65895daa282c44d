#include "c/QueueListener.h"

namespace qx::c {

// An event with the one field that its type names.
template <typename Value>
void QueueListener::push(qx_event_type type, Value qx_event::*field,
                         std::type_identity_t<Value> value) {
  qx_event event = {};
  event.type = type;
  event.*field = value;
  m_queue->PushEvent(event);
}

void QueueListener::push(qx_event_type type) { push(type, &qx_event::type, type); }

void QueueListener::OnStart(void* /*context*/) { push(QX_EVENT_START); }

void QueueListener::OnPause(void* /*context*/, IScreenCapture::SharePauseReason reason) {
  push(QX_EVENT_PAUSE, &qx_event::reason, reason);
}

void QueueListener::OnResume(void* /*context*/) { push(QX_EVENT_RESUME); }

void QueueListener::OnStop(void* /*context*/) { push(QX_EVENT_STOP); }

void QueueListener::OnFirstFrame(void* /*context*/) { push(QX_EVENT_FIRST_FRAME); }

void QueueListener::OnFrame(void* /*context*/, const IScreenCapture::ScreenFrameData* frame) {
  const FrameQueue::Dirty dirty = std::exchange(m_dirty, {});
  // A share that is paused before its first picture repeats one without pixels.
  if (frame->width > 0) {
    m_queue->PushFrame(*frame, dirty);
  }
}

void QueueListener::OnFrameDirtyInfo(void* /*context*/, bool valid, std::uint64_t rectCount,
                                     double ratio) {
  m_dirty = {.valid = valid, .rectCount = rectCount, .ratio = ratio};
}

void QueueListener::OnShareWindowChanged(void* /*context*/, int window, int /*reserved*/) {
  push(QX_EVENT_SHARE_WINDOW_CHANGED, &qx_event::id, window);
}

void QueueListener::OnShareDesktopChanged(void* /*context*/, int monitor) {
  push(QX_EVENT_SHARE_DESKTOP_CHANGED, &qx_event::id, monitor);
}

void QueueListener::OnCaptureEngineName(void* /*context*/,
                                        IScreenCapture::CaptureEngineType& engine,
                                        int& /*reserved*/, bool /*flag*/, int /*reservedInt*/) {
  push(QX_EVENT_CAPTURE_ENGINE_NAME, &qx_event::engine, engine);
}

void QueueListener::OnFrameStatistics(void* /*context*/,
                                      const IScreenCapture::ScreenFrameStatistics* statistics) {
  push(QX_EVENT_FRAME_STATISTICS, &qx_event::fps, statistics->fps);
}

void QueueListener::OnShareRectChanged(void* /*context*/, int x, int y, int width, int height) {
  push(QX_EVENT_SHARE_RECT_CHANGED, &qx_event::rect, {x, y, width, height});
}

}  // namespace qx::c
