#include "LibraryLoop.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>

#include "ThreadTime.h"
#include "qx-screen-capture.h"

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr int kWarmUp = 5;

class Meter : public IScreenCapture::ShareListener {
 public:
  explicit Meter(const Round& round)
      : m_frames(round.frames),
        m_width(round.rect.right - round.rect.left),
        m_height(round.rect.bottom - round.rect.top) {}

  LibraryFigures Wait() {
    std::unique_lock lock(m_mutex);
    m_ended.wait(lock, [this] { return m_done || m_failed; });
    if (m_failed) {
      throw std::runtime_error("the share paused, ended, or its frames have another size");
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
  void OnStop(void*) override { fail(); }
  void OnPause(void*, IScreenCapture::SharePauseReason) override { fail(); }
  void OnStart(void*) override {}
  void OnResume(void*) override {}
  void OnFirstFrame(void*) override {}
  void OnFrameDirtyInfo(void*, bool, std::uint64_t, double) override {}
  void OnShareWindowChanged(void*, int, int) override {}
  void OnShareDesktopChanged(void*, int) override {}
  void OnCaptureEngineName(void*, IScreenCapture::CaptureEngineType&, int&, bool, int) override {}
  void OnFrameStatistics(void*, const IScreenCapture::ScreenFrameStatistics*) override {}
  void OnShareRectChanged(void*, int, int, int, int) override {}

 private:
  void fail() {
    const std::scoped_lock lock(m_mutex);
    m_failed = true;
    m_ended.notify_all();
  }

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

std::int32_t PrimaryMonitor(IScreenCapture& capture) {
  std::int32_t primary = 0;
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* list, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          if (list[i].isPrimary != 0) {
            *static_cast<std::int32_t*>(user) = list[i].id;
          }
        }
      },
      &primary);
  return primary;
}

std::int32_t ToId(HWND window) {
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(window));
}

}  // namespace

LibraryFigures MeasureLibrary(const Round& round) {
  ScreenCapture capture;
  const IScreenCapture::CaptureEngineType engine = IScreenCapture::CaptureEngineGDIBitBlt;
  capture.SetCaptureEngineConfig(&engine, 1, false);
  capture.EnableCaptureCursor(false);
  capture.EnablePromptWindow(false);
  capture.SetCaptureFPS(round.fps);
  capture.SetScreenFrameFormatType(round.i420 ? IScreenCapture::ScreenFrameFormatI420
                                              : IScreenCapture::ScreenFrameFormatARGB);
  IScreenCapture::ScreenFrameResolutionLimit limit;
  limit.maxScreenWidth = static_cast<std::uint64_t>(round.rect.right - round.rect.left);
  limit.maxScreenHeight = static_cast<std::uint64_t>(round.rect.bottom - round.rect.top);
  limit.maxScreenPixels = limit.maxScreenWidth * limit.maxScreenHeight;
  capture.SetCaptureFrameResolutionLimit(limit);

  Meter meter(round);
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  const bool started = round.window == nullptr
                           ? capture.ShareDesktop(nullptr, PrimaryMonitor(capture), &meter, error)
                           : capture.ShareWindow(nullptr, ToId(round.window), &meter, error);
  if (!started) {
    throw std::runtime_error("the share did not start: ShareError " + std::to_string(error));
  }
  const LibraryFigures figures = meter.Wait();
  capture.ShareStop();
  return figures;
}
