#include <qx-screen-capture.h>

#include "common/EndedByException.h"
#include "common/Logging.h"
#include "win/capture/ScreenCaptureImpl.h"
#include "win/engine/mag/Direct3D9Hook.h"
#include "win/util/Clock.h"

namespace {

// Every operation goes through here: no exception leaves the library. `neutral`
// is the answer of one that failed, and of an object that got no memory when it
// was made.
template <typename Result, typename Call>
Result Forward(const std::unique_ptr<qx::ScreenCaptureImpl>& impl, const char* operation,
               Result neutral, Call call) noexcept {
  if (!impl) {
    return neutral;
  }
  try {
    return call(*impl);
  } catch (...) {
    ++qx::EndedByException();
    QX_LOG_ERROR("ScreenCapture::{} ended by an exception", operation);
    return neutral;
  }
}

template <typename Call>
void Forward(const std::unique_ptr<qx::ScreenCaptureImpl>& impl, const char* operation,
             Call call) noexcept {
  Forward(impl, operation, 0, [&](qx::ScreenCaptureImpl& target) {
    call(target);
    return 0;
  });
}

std::unique_ptr<qx::ScreenCaptureImpl> MakeImpl() noexcept {
  try {
    return std::make_unique<qx::ScreenCaptureImpl>();
  } catch (...) {
    QX_LOG_ERROR("ScreenCapture could not be made");
    return nullptr;
  }
}

}  // namespace

IScreenCapture::IScreenCapture() = default;
IScreenCapture::IScreenCapture(const IScreenCapture&) = default;
IScreenCapture& IScreenCapture::operator=(const IScreenCapture&) = default;
IScreenCapture::~IScreenCapture() = default;

ScreenCapture::ScreenCapture() : m_impl(MakeImpl()) { QX_TRACE("ScreenCapture::ScreenCapture"); }

ScreenCapture::~ScreenCapture() { QX_TRACE("ScreenCapture::~ScreenCapture"); }

void ScreenCapture::EnableFilterWindowWhenShareDesktop(bool enable) {
  Forward(m_impl, "EnableFilterWindowWhenShareDesktop",
          [&](qx::ScreenCaptureImpl& impl) { impl.EnableFilterWindowWhenShareDesktop(enable); });
}

void ScreenCapture::SetExcludeWindows(const FilterWindowInfo* windows, const int& count) {
  Forward(m_impl, "SetExcludeWindows",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetExcludeWindows(windows, count); });
}

void ScreenCapture::AddExcludeWindow(const FilterWindowInfo& window) {
  Forward(m_impl, "AddExcludeWindow",
          [&](qx::ScreenCaptureImpl& impl) { impl.AddExcludeWindow(window); });
}

void ScreenCapture::RemoveExcludeWindow(const FilterWindowInfo& window) {
  Forward(m_impl, "RemoveExcludeWindow",
          [&](qx::ScreenCaptureImpl& impl) { impl.RemoveExcludeWindow(window); });
}

void ScreenCapture::ClearExcludeWindows() {
  Forward(m_impl, "ClearExcludeWindows",
          [](qx::ScreenCaptureImpl& impl) { impl.ClearExcludeWindows(); });
}

void ScreenCapture::SetIncludeWindows(const FilterWindowInfo* windows, const int& count) {
  Forward(m_impl, "SetIncludeWindows",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetIncludeWindows(windows, count); });
}

void ScreenCapture::AddIncludeWindow(const FilterWindowInfo& window) {
  Forward(m_impl, "AddIncludeWindow",
          [&](qx::ScreenCaptureImpl& impl) { impl.AddIncludeWindow(window); });
}

void ScreenCapture::RemoveIncludeWindow(const FilterWindowInfo& window) {
  Forward(m_impl, "RemoveIncludeWindow",
          [&](qx::ScreenCaptureImpl& impl) { impl.RemoveIncludeWindow(window); });
}

void ScreenCapture::ClearIncludeWindows() {
  Forward(m_impl, "ClearIncludeWindows",
          [](qx::ScreenCaptureImpl& impl) { impl.ClearIncludeWindows(); });
}

void ScreenCapture::GetDesktopList(DesktopListCallback callback, void* user) {
  Forward(m_impl, "GetDesktopList",
          [&](qx::ScreenCaptureImpl& impl) { impl.GetDesktopList(callback, user); });
}

void ScreenCapture::GetDesktopListAsync(DesktopListCallback callback, void* user) {
  Forward(m_impl, "GetDesktopListAsync",
          [&](qx::ScreenCaptureImpl& impl) { impl.GetDesktopListAsync(callback, user); });
}

const char* ScreenCapture::GetDesktopThumbnail(int id, int width, int height) {
  return Forward(
      m_impl, "GetDesktopThumbnail", static_cast<const char*>(nullptr),
      [&](qx::ScreenCaptureImpl& impl) { return impl.GetDesktopThumbnail(id, width, height); });
}

void ScreenCapture::GetDesktopThumbnailAll(int width, int height, ThumbnailListCallback callback,
                                           void* user) {
  Forward(m_impl, "GetDesktopThumbnailAll", [&](qx::ScreenCaptureImpl& impl) {
    impl.GetDesktopThumbnailAll(width, height, callback, user);
  });
}

void ScreenCapture::GetDesktopThumbnailAllAsync(int width, int height,
                                                ThumbnailListCallback callback, void* user) {
  Forward(m_impl, "GetDesktopThumbnailAllAsync", [&](qx::ScreenCaptureImpl& impl) {
    impl.GetDesktopThumbnailAllAsync(width, height, callback, user);
  });
}

void ScreenCapture::GetWindowList(WindowListCallback callback, void* user) {
  Forward(m_impl, "GetWindowList",
          [&](qx::ScreenCaptureImpl& impl) { impl.GetWindowList(callback, user); });
}

void ScreenCapture::GetWindowListAsync(WindowListCallback callback, void* user) {
  Forward(m_impl, "GetWindowListAsync",
          [&](qx::ScreenCaptureImpl& impl) { impl.GetWindowListAsync(callback, user); });
}

const char* ScreenCapture::GetWindowThumbnail(int id, int width, int height) {
  return Forward(
      m_impl, "GetWindowThumbnail", static_cast<const char*>(nullptr),
      [&](qx::ScreenCaptureImpl& impl) { return impl.GetWindowThumbnail(id, width, height); });
}

void ScreenCapture::GetWindowThumbnailAll(int width, int height, ThumbnailListCallback callback,
                                          void* user) {
  Forward(m_impl, "GetWindowThumbnailAll", [&](qx::ScreenCaptureImpl& impl) {
    impl.GetWindowThumbnailAll(width, height, callback, user);
  });
}

void ScreenCapture::GetWindowThumbnailAllAsync(int width, int height,
                                               ThumbnailListCallback callback, void* user) {
  Forward(m_impl, "GetWindowThumbnailAllAsync", [&](qx::ScreenCaptureImpl& impl) {
    impl.GetWindowThumbnailAllAsync(width, height, callback, user);
  });
}

void ScreenCapture::SetCanUseMagCapture(bool canUseMag) {
  Forward(m_impl, "SetCanUseMagCapture",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetCanUseMagCapture(canUseMag); });
}

const char* ScreenCapture::GetWindowIcon(int id) {
  return Forward(m_impl, "GetWindowIcon", "",
                 [&](qx::ScreenCaptureImpl& impl) { return impl.GetWindowIcon(id); });
}

const wchar_t* ScreenCapture::GetWindowTitle(int id) {
  return Forward(m_impl, "GetWindowTitle", L"",
                 [&](qx::ScreenCaptureImpl& impl) { return impl.GetWindowTitle(id); });
}

void ScreenCapture::EnableCaptureCursor(bool enable) {
  Forward(m_impl, "EnableCaptureCursor",
          [&](qx::ScreenCaptureImpl& impl) { impl.ShowCursor(enable); });
}

void ScreenCapture::EnableActiveShareWindow(bool enable) {
  Forward(m_impl, "EnableActiveShareWindow",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetAutoActiveShareWindow(enable); });
}

void ScreenCapture::EnablePromptWindow(bool enable) {
  Forward(m_impl, "EnablePromptWindow",
          [&](qx::ScreenCaptureImpl& impl) { impl.EnablePromptWindow(enable); });
}

void ScreenCapture::SetDynamicCheck(bool check) {
  Forward(m_impl, "SetDynamicCheck",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetDynamicCheck(check); });
}

void ScreenCapture::SetCaptureEngineConfig(const CaptureEngineType* types, int count,
                                           bool wgcPriority) {
  Forward(m_impl, "SetCaptureEngineConfig", [&](qx::ScreenCaptureImpl& impl) {
    impl.SetCaptureEngineConfig(types, count, wgcPriority);
  });
}

void ScreenCapture::SetPromptWindowInfo(const PromptWindowInfo* info) {
  Forward(m_impl, "SetPromptWindowInfo",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetPromptWindowInfo(info); });
}

void ScreenCapture::SetCaptureFrameResolutionLimit(const ScreenFrameResolutionLimit& limit) {
  Forward(m_impl, "SetCaptureFrameResolutionLimit",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetCaptureFrameResolutionLimit(limit); });
}

void ScreenCapture::SetScreenFrameFormatType(const ScreenFrameFormat& type) {
  Forward(m_impl, "SetScreenFrameFormatType",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetScreenFrameFormatType(type); });
}

void ScreenCapture::SetScreenCaptureConfig(const ScreenCaptureConfig& config) {
  Forward(m_impl, "SetScreenCaptureConfig",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetScreenCaptureConfig(config); });
}

void ScreenCapture::SetLivingScreenCaptureConfig(const LivingScreenCaptureConfig& config) {
  ScreenCaptureConfig whole;
  whole.KeepAliveInterval = config.KeepAliveInterval;
  whole.MovedWindowStableKeepMinDuration = config.MovedWindowStableKeepMinDuration;
  whole.DynamicFrameCallback = config.DynamicFrameCallback;
  whole.reservedInt1 = config.reservedInt1;
  whole.GetDirtyRectInfo = config.GetDirtyRectInfo;
  whole.reservedFlag1 = config.reservedFlag1;
  whole.scDynamicCheck = config.scDynamicCheck;
  whole.reservedFlag2 = config.reservedFlag2;
  whole.reservedFlag3 = config.reservedFlag3;
  whole.reservedFlag4 = config.reservedFlag4;
  whole.reservedFlag5 = config.reservedFlag5;
  whole.reservedFlag6 = config.reservedFlag6;
  whole.reservedFlag7 = config.reservedFlag7;
  whole.reservedInt2 = config.reservedInt2;
  whole.reservedFlag8 = config.reservedFlag8;
  whole.reservedInt3 = config.reservedInt3;
  whole.reservedInt4 = config.reservedInt4;
  // A live broadcast has no say in these.
  whole.reservedFlag9 = false;
  whole.reservedFlag10 = false;
  whole.scNewMouseCaptureWay = false;
  Forward(m_impl, "SetLivingScreenCaptureConfig",
          [&](qx::ScreenCaptureImpl& impl) { impl.SetScreenCaptureConfig(whole); });
}

void ScreenCapture::SetCaptureFPS(int fps) {
  Forward(m_impl, "SetCaptureFPS", [&](qx::ScreenCaptureImpl& impl) { impl.SetCaptureFPS(fps); });
}

void ScreenCapture::SetWindows(int* /*ids*/, int /*count*/) {}

bool ScreenCapture::ShareDesktop(void* context, int id, ShareListener* listener,
                                 ShareError& error) {
  error = ShareErrorStartFailed;  // unless there is more to say
  return Forward(m_impl, "ShareDesktop", false, [&](qx::ScreenCaptureImpl& impl) {
    return impl.ShareDesktop(context, id, listener, error);
  });
}

bool ScreenCapture::ShareWindow(void* context, int id, ShareListener* listener, ShareError& error) {
  error = ShareErrorStartFailed;
  return Forward(m_impl, "ShareWindow", false, [&](qx::ScreenCaptureImpl& impl) {
    return impl.ShareWindow(context, id, listener, error);
  });
}

bool ScreenCapture::ShareWindows(void* /*context*/, int* /*ids*/, int /*count*/,
                                 ShareListener* /*listener*/, ShareError& /*error*/) {
  return false;
}

void ScreenCapture::SharePause() {
  Forward(m_impl, "SharePause", [](qx::ScreenCaptureImpl& impl) { impl.SharePause(); });
}

void ScreenCapture::ShareResume() {
  Forward(m_impl, "ShareResume", [](qx::ScreenCaptureImpl& impl) { impl.ShareResume(); });
}

void ScreenCapture::ShareStop() {
  Forward(m_impl, "ShareStop", [](qx::ScreenCaptureImpl& impl) { impl.ShareStop(); });
}

void ScreenCapture::GetCaptureRect(CaptureRect& rect) {
  rect = {-1, -1, -1, -1};
  Forward(m_impl, "GetCaptureRect",
          [&](qx::ScreenCaptureImpl& impl) { impl.GetCaptureRect(rect); });
}

void ScreenCapture::EnableScreenShareD3D12CompatibleFix() {
  QX_TRACE("ScreenCapture::EnableScreenShareD3D12CompatibleFix");
  qx::Direct3D9Hook::Instance().EnableD3D12CompatibleFix();
}

void ScreenCapture::RegisterLogCallback(LogCallback callback) {
  qx::LogInstance::Instance().SetClock(&qx::SystemMillis);
  qx::LogInstance::Instance().SetCallback(callback);
}

void ScreenCapture::UnregisterLogCallBack() { qx::LogInstance::Instance().SetCallback(nullptr); }

void ScreenCapture::RegisterAudioErrorCallback(void (*)(const char* message)) {}
void ScreenCapture::RegisterAudioVolumeCallback(void (*)(int volume)) {}
void ScreenCapture::SetAudioCaptureDebugPath(const char* /*path*/) {}
void ScreenCapture::StartAudioCapture(int /*device*/) {}
void ScreenCapture::StopAudioCapture() {}
