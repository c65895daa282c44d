#pragma once

#include <qx-screen-capture.h>

#include <cstdint>

namespace qx {

// Everything that a share tells its host goes through one of these, made for
// that share: it adds the host's context, tells the first frame from the others,
// and works out the frame rate.
//
// The operations are those of IScreenCapture::ShareListener. An exception of the
// host is logged and goes no further. No lock is held here while the host runs.
// The frame operations run on the capture thread only, one at a time; they do
// not allocate unless a log line is due.
class ShareListenerWrapper {
 public:
  using ShareListener = IScreenCapture::ShareListener;
  using ScreenFrameData = IScreenCapture::ScreenFrameData;

  // Both pointers are borrowed; with a null `listener` nothing happens at all.
  // `keepAliveInterval` is the period of keep-live frames in milliseconds.
  ShareListenerWrapper(void* context, ShareListener* listener, std::int32_t keepAliveInterval);
  ShareListenerWrapper(const ShareListenerWrapper&) = delete;
  ShareListenerWrapper& operator=(const ShareListenerWrapper&) = delete;

  std::int32_t GetKeepAliveInterval() const { return m_keepAliveInterval; }

  void OnStart();
  void OnPause(IScreenCapture::SharePauseReason reason);
  void OnResume();
  void OnStop();
  void OnShareWindowChanged(int window, int reserved);
  void OnShareDesktopChanged(int monitor);
  void OnShareRectChanged(int x, int y, int width, int height);
  void OnCaptureEngineName(IScreenCapture::CaptureEngineType& engine, int& reserved, bool flag);

  // Also brings OnFirstFrame, before the first one, and OnFrameStatistics.
  void OnFrame(const ScreenFrameData* frame);
  // Repeats a frame during a pause: it is no first frame and is not counted.
  void OnKeepLiveFrame(const ScreenFrameData* frame);
  void OnFrameDirtyInfo(bool valid, std::uint64_t rectCount, double ratio);

 private:
  template <typename Call>
  void tell(const char* operation, Call call);
  void onFirstFrame();
  void reportFrameRate();

  void* const m_context;
  ShareListener* const m_listener;
  const std::int32_t m_keepAliveInterval;
  std::uint32_t m_frameCount = 0;
  std::uint32_t m_lastFrameCount = 0;  // at the last report of the rate
  bool m_firstFrame = true;
};

}  // namespace qx
