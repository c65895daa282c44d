#include "LibraryLoop.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "ThreadTime.h"
#include "qx-screen-capture.h"

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr int kWarmUp = 5;

class Meter : public IScreenCapture::ShareListener {
 public:
  Meter(int frames, int width, int height) : m_frames(frames), m_width(width), m_height(height) {}

  LibraryFigures Wait() {
    std::unique_lock lock(m_mutex);
    m_ended.wait(lock, [this] { return m_done || m_failed; });
    if (m_failed) {
      throw std::runtime_error("the share ended or its frames are not the monitor's");
    }
    const std::chrono::duration<double> passed = m_end - m_start;
    return {(m_endMicros - m_startMicros) / m_frames, m_frames / passed.count()};
  }

  void OnFrame(void*, const IScreenCapture::ScreenFrameData* frame) override {
    // Read before anything else, so that this host's own work doesn't count.
    const double micros = ThreadMicros();
    const Time now = std::chrono::steady_clock::now();
    ++m_count;
    if (m_count == kWarmUp) {
      m_startMicros = micros;
      m_start = now;
    }
    const bool wrong = frame->width != m_width || frame->height != m_height;
    if (m_count == kWarmUp + m_frames || wrong) {
      const std::scoped_lock lock(m_mutex);
      m_endMicros = micros;
      m_end = now;
      m_done = true;
      m_failed = m_failed || wrong;
      m_ended.notify_all();
    }
  }
  void OnStop(void*) override {
    const std::scoped_lock lock(m_mutex);
    m_failed = true;
    m_ended.notify_all();
  }
  void OnStart(void*) override {}
  void OnPause(void*, IScreenCapture::SharePauseReason) override {}
  void OnResume(void*) override {}
  void OnFirstFrame(void*) override {}
  void OnFrameDirtyInfo(void*, bool, std::uint64_t, double) override {}
  void OnShareWindowChanged(void*, int, int) override {}
  void OnShareDesktopChanged(void*, int) override {}
  void OnCaptureEngineName(void*, IScreenCapture::CaptureEngineType&, int&, bool, int) override {}
  void OnFrameStatistics(void*, const IScreenCapture::ScreenFrameStatistics*) override {}
  void OnShareRectChanged(void*, int, int, int, int) override {}

 private:
  const int m_frames;
  const int m_width;
  const int m_height;

  // Of the capture thread.
  int m_count = 0;
  double m_startMicros = 0;
  Time m_start{};

  std::mutex m_mutex;
  std::condition_variable m_ended;
  bool m_done = false;  // with the figures
  bool m_failed = false;
  double m_endMicros = 0;
  Time m_end{};
};

IScreenCapture::DesktopInfo PrimaryMonitor(IScreenCapture& capture) {
  IScreenCapture::DesktopInfo primary = {};
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* list, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          if (list[i].isPrimary != 0) {
            *static_cast<IScreenCapture::DesktopInfo*>(user) = list[i];
          }
        }
      },
      &primary);
  return primary;
}

}  // namespace

LibraryFigures MeasureLibrary(int frames, int fps, bool i420) {
  ScreenCapture capture;
  const IScreenCapture::DesktopInfo monitor = PrimaryMonitor(capture);
  const IScreenCapture::CaptureEngineType engine = IScreenCapture::CaptureEngineGDIBitBlt;
  capture.SetCaptureEngineConfig(&engine, 1, false);
  capture.EnableCaptureCursor(false);
  capture.EnablePromptWindow(false);
  capture.SetCaptureFPS(fps);
  capture.SetScreenFrameFormatType(i420 ? IScreenCapture::ScreenFrameFormatI420
                                        : IScreenCapture::ScreenFrameFormatARGB);
  IScreenCapture::ScreenFrameResolutionLimit limit;
  limit.maxScreenWidth = static_cast<std::uint64_t>(monitor.width);
  limit.maxScreenHeight = static_cast<std::uint64_t>(monitor.height);
  limit.maxScreenPixels = limit.maxScreenWidth * limit.maxScreenHeight;
  capture.SetCaptureFrameResolutionLimit(limit);

  Meter meter(frames, monitor.width, monitor.height);
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  if (!capture.ShareDesktop(nullptr, monitor.id, &meter, error)) {
    throw std::runtime_error("the share did not start: ShareError " + std::to_string(error));
  }
  const LibraryFigures figures = meter.Wait();
  capture.ShareStop();
  return figures;
}
