#include "platform/control/GraphicsCapture.h"

#include "platform/model/GraphicsCaptureItem.h"
#include "platform/model/GraphicsCaptureSession.h"
#include "platform/model/Machine.h"

namespace vwin::control {

void SetCaptureClassResult(HRESULT result) {
  Lock lock;
  TheMachine(lock).captureClassResult = result;
}

void SetCaptureStartTime(std::optional<std::chrono::milliseconds> time) {
  using std::chrono::microseconds;
  Lock lock;
  TheMachine(lock).captureStartTakes =
      time ? std::optional<Micros>(microseconds(*time).count()) : std::nullopt;
  scheduler::Changed();
}

void CloseCaptureItems(HWND window) {
  Lock lock;
  capture::CloseItems(lock, window, nullptr);
}
void CloseCaptureItems(HMONITOR monitor) {
  Lock lock;
  capture::CloseItems(lock, nullptr, monitor);
}

void HoldClosed() {
  Lock lock;
  capture::HoldClosed(lock);
}
void DeliverClosed() {
  Lock lock;
  capture::DeliverClosed(lock);
}

std::vector<CaptureSessionState> CaptureSessions() {
  Lock lock;
  std::vector<CaptureSessionState> found;
  for (const auto& session : capture::Sessions(lock)) {
    found.push_back({session->source->window, session->source->monitor, session->started,
                     session->cursor, session->border, session->poolSize});
  }
  return found;
}

}  // namespace vwin::control
