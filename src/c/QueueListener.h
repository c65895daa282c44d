#pragma once

#include <qx-screen-capture.h>

#include <memory>
#include <type_traits>
#include <utility>

#include "c/FrameQueue.h"

namespace qx::c {

// Delivers a share into a queue.
class QueueListener : public IScreenCapture::ShareListener {
 public:
  explicit QueueListener(std::shared_ptr<FrameQueue> queue) : m_queue(std::move(queue)) {}

  void OnStart(void* context) override;
  void OnPause(void* context, IScreenCapture::SharePauseReason reason) override;
  void OnResume(void* context) override;
  void OnStop(void* context) override;
  void OnFirstFrame(void* context) override;
  void OnFrame(void* context, const IScreenCapture::ScreenFrameData* frame) override;
  void OnFrameDirtyInfo(void* context, bool valid, std::uint64_t rectCount, double ratio) override;
  void OnShareWindowChanged(void* context, int window, int reserved) override;
  void OnShareDesktopChanged(void* context, int monitor) override;
  void OnCaptureEngineName(void* context, IScreenCapture::CaptureEngineType& engine, int& reserved,
                           bool flag, int reservedInt) override;
  void OnFrameStatistics(void* context,
                         const IScreenCapture::ScreenFrameStatistics* statistics) override;
  void OnShareRectChanged(void* context, int x, int y, int width, int height) override;

 private:
  void push(qx_event_type type);
  template <typename Value>
  void push(qx_event_type type, Value qx_event::*field, std::type_identity_t<Value> value);

  const std::shared_ptr<FrameQueue> m_queue;
  FrameQueue::Dirty m_dirty;  // of the frame to come
};

}  // namespace qx::c
