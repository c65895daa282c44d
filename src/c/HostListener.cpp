#include "c/HostListener.h"

#include <cstddef>
#include <cstring>

#include "c/HostCall.h"
#include "c/Inside.h"
#include "c/SharingObject.h"

namespace qx::c {

std::optional<qx_share_listener> HostListener::CopyFunctions(const qx_share_listener& given) {
  // Whole functions only: a part of one could not be called.
  constexpr std::size_t kFirst = offsetof(qx_share_listener, on_start);
  constexpr std::size_t kEach = sizeof(given.on_start);
  const std::size_t size = given.size < sizeof(given) ? given.size : sizeof(given);
  if (size < kFirst + kEach) {
    return std::nullopt;
  }
  qx_share_listener copy = {};
  std::memcpy(&copy, &given, size - (size - kFirst) % kEach);
  return copy;
}

// What the host throws is the library's to catch.
template <typename Function, typename... Arguments>
void HostListener::tell(Function function, Arguments... arguments) {
  // A share may be about to start while its object is destroyed.
  if (function && !m_owner.IsDestroyed()) {
    const Inside call(&m_owner);
    CallHost(function, arguments...);
  }
}

void HostListener::OnStart(void* context) { tell(m_functions.on_start, context); }

void HostListener::OnPause(void* context, IScreenCapture::SharePauseReason reason) {
  tell(m_functions.on_pause, context, static_cast<qx_share_pause_reason>(reason));
}

void HostListener::OnResume(void* context) { tell(m_functions.on_resume, context); }

void HostListener::OnStop(void* context) { tell(m_functions.on_stop, context); }

void HostListener::OnFirstFrame(void* context) { tell(m_functions.on_first_frame, context); }

void HostListener::OnFrame(void* context, const IScreenCapture::ScreenFrameData* frame) {
  tell(m_functions.on_frame, context, reinterpret_cast<const qx_screen_frame_data*>(frame));
}

void HostListener::OnFrameDirtyInfo(void* context, bool valid, std::uint64_t rectCount,
                                    double ratio) {
  tell(m_functions.on_frame_dirty_info, context, valid, rectCount, ratio);
}

void HostListener::OnShareWindowChanged(void* context, int window, int reserved) {
  tell(m_functions.on_share_window_changed, context, window, reserved);
}

void HostListener::OnShareDesktopChanged(void* context, int monitor) {
  tell(m_functions.on_share_desktop_changed, context, monitor);
}

void HostListener::OnCaptureEngineName(void* context, IScreenCapture::CaptureEngineType& engine,
                                       int& /*reserved*/, bool /*flag*/, int /*reservedInt*/) {
  tell(m_functions.on_capture_engine_name, context, static_cast<qx_capture_engine_type>(engine));
}

void HostListener::OnFrameStatistics(void* context,
                                     const IScreenCapture::ScreenFrameStatistics* statistics) {
  tell(m_functions.on_frame_statistics, context,
       reinterpret_cast<const qx_screen_frame_statistics*>(statistics));
}

void HostListener::OnShareRectChanged(void* context, int x, int y, int width, int height) {
  tell(m_functions.on_share_rect_changed, context, x, y, width, height);
}

}  // namespace qx::c
