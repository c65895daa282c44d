#pragma once

#include <qx-screen-capture-c.h>
#include <qx-screen-capture.h>

#include <optional>

namespace qx::c {

class SharingObject;

// Tells a host's functions what the library tells a listener.
class HostListener : public IScreenCapture::ShareListener {
 public:
  // `owner` is the object whose share it hears of, and outlives it.
  HostListener(const SharingObject& owner, const qx_share_listener& functions)
      : m_owner(owner), m_functions(functions) {}

  // What the host's header has of the record, and null for what came later. Nothing when
  // that is not even the first function.
  static std::optional<qx_share_listener> CopyFunctions(const qx_share_listener& given);

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
  template <typename Function, typename... Arguments>
  void tell(Function function, Arguments... arguments);

  const SharingObject& m_owner;
  const qx_share_listener m_functions;
};

}  // namespace qx::c
