// What belongs to no object.
#include <atomic>
#include <cstdint>
#include <type_traits>

#include "c/Closed.h"
#include "c/HostCall.h"
#include "c/Inside.h"
#include "common/Utf8.h"

using namespace qx::c;

namespace {

static_assert(std::is_same_v<qx_log_callback, IScreenCapture::LogCallback>);

std::atomic<qx_log_callback> g_log = nullptr;  // the host's

void QX_CALL OnLog(std::int32_t level, const char* file, std::int32_t line, const char* message) {
  if (const qx_log_callback host = g_log) {
    const Inside log(nullptr);
    CallHost(host, level, file, line, message);
  }
}

template <typename Call, typename... Arguments>
qx_result Do(Call call, Arguments... arguments) noexcept {
  return Closed([&]() -> qx_result {
    call(arguments...);
    return QX_OK;
  });
}

// `call` with an argument that must not be null.
template <typename Argument, typename Call>
qx_result With(Argument argument, Call call) noexcept {
  return argument ? Do(call, argument) : QX_ERROR_ARGUMENT;
}

}  // namespace

const char* qx_version() { return QX_VERSION; }

uint32_t qx_abi_version() { return QX_ABI_VERSION; }

qx_result qx_enable_screen_share_d3d12_compatible_fix() {
  return Do(&ScreenCapture::EnableScreenShareD3D12CompatibleFix);
}

qx_result qx_register_log_callback(qx_log_callback callback) {
  return With(callback, [](qx_log_callback host) {
    g_log = host;
    ScreenCapture::RegisterLogCallback(&OnLog);
  });
}

qx_result qx_unregister_log_callback() {
  return Do([] {
    g_log = nullptr;
    ScreenCapture::UnregisterLogCallBack();
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
  return Do(&ScreenCapture::StartAudioCapture, device);
}

qx_result qx_stop_audio_capture() { return Do(&ScreenCapture::StopAudioCapture); }
