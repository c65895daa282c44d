// What belongs to no object.
#include <type_traits>

#include "c/Closed.h"
#include "common/Utf8.h"

using namespace qx::c;

namespace {

static_assert(std::is_same_v<qx_log_callback, IScreenCapture::LogCallback>);

// `call` with an argument that must not be null.
template <typename Argument, typename Call>
qx_result With(Argument argument, Call call) noexcept {
  return Closed([&]() -> qx_result {
    if (!argument) {
      return QX_ERROR_ARGUMENT;
    }
    call(argument);
    return QX_OK;
  });
}

}  // namespace

const char* qx_version() { return QX_VERSION; }

uint32_t qx_abi_version() { return QX_ABI_VERSION; }

qx_result qx_enable_screen_share_d3d12_compatible_fix() {
  return Closed([]() -> qx_result {
    ScreenCapture::EnableScreenShareD3D12CompatibleFix();
    return QX_OK;
  });
}

qx_result qx_register_log_callback(qx_log_callback callback) {
  return With(callback, &ScreenCapture::RegisterLogCallback);
}

qx_result qx_unregister_log_callback() {
  return Closed([]() -> qx_result {
    ScreenCapture::UnregisterLogCallBack();
    return QX_OK;
  });
}

qx_result qx_register_audio_error_callback(void (*callback)(const char* message)) {
  return With(callback, &ScreenCapture::RegisterAudioErrorCallback);
}

qx_result qx_register_audio_volume_callback(void (*callback)(int32_t volume)) {
  return With(callback, &ScreenCapture::RegisterAudioVolumeCallback);
}

qx_result qx_set_audio_capture_debug_path(const char* path) {
  return With(path && qx::IsUtf8(path) ? path : nullptr, &ScreenCapture::SetAudioCaptureDebugPath);
}

qx_result qx_start_audio_capture(int32_t device) {
  return Closed([&]() -> qx_result {
    ScreenCapture::StartAudioCapture(device);
    return QX_OK;
  });
}

qx_result qx_stop_audio_capture() {
  return Closed([]() -> qx_result {
    ScreenCapture::StopAudioCapture();
    return QX_OK;
  });
}
