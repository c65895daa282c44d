#include "LibraryLoop.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>

#include "Rivals.h"
#include "qx-screen-capture.h"

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr int kWarmUp = 5;

// 0 by 0: whatever the library makes of it.
SIZE PictureSize(const Round& round) {
  if (round.defaultLimit) {
    return round.picture;
  }
  return {round.rect.right - round.rect.left, round.rect.bottom - round.rect.top};
}

IScreenCapture::ScreenFrameResolutionLimit LimitOf(const Round& round) {
  IScreenCapture::ScreenFrameResolutionLimit limit;
  if (!round.defaultLimit) {
    const SIZE size = PictureSize(round);
    limit.maxScreenWidth = static_cast<std::uint64_t>(size.cx);
    limit.maxScreenHeight = static_cast<std::uint64_t>(size.cy);
    limit.maxScreenPixels = limit.maxScreenWidth * limit.maxScreenHeight;
  }
  return limit;
}

class Meter : public IScreenCapture::ShareListener {
 public:
  explicit Meter(const Round& round)
      : m_round(round), m_frames(round.frames), m_size(PictureSize(round)) {}

  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;
  ~Meter() { CloseHandle(m_ended); }

  // A wait of the system's: where the clock is owned it lets time pass.
  LibraryFigures Wait() {
    WaitForSingleObject(m_ended, INFINITE);
    const std::scoped_lock lock(m_mutex);
    if (m_failed) {
      throw std::runtime_error(
          "the share paused, ended, or its frames have another size or engine");
    }
    const std::chrono::duration<double> passed = m_end - m_start;
    return {(m_endMicros - m_startMicros) / m_frames, m_frames / passed.count(), m_size};
  }

  void OnFrame(void*, const IScreenCapture::ScreenFrameData* frame) override {
    ++m_count;
    // Reading the clock takes as long as half a tick of a still screen, and much longer
    // under Wine, so it is read when it must be, and then before anything else.
    const bool ends = m_count == kWarmUp + m_frames;
    const double micros = ends ? m_round.micros() : 0;
    if (m_size.cx == 0) {
      m_size = {frame->width, frame->height};
    }
    const bool wrong = frame->width != m_size.cx || frame->height != m_size.cy;
    if (ends) {
      m_round.onEnd();
      KeepLast(m_round, *frame);
    }
    if (ends || wrong) {
      const std::scoped_lock lock(m_mutex);
      m_endMicros = micros;
      m_end = std::chrono::steady_clock::now();
      m_failed = m_failed || wrong;
      SetEvent(m_ended);
    }
    if (m_count == kWarmUp) {
      m_round.onBegin();
      m_start = std::chrono::steady_clock::now();
      m_startMicros = m_round.micros();
    }
    m_round.afterPicture();
  }
  void OnStop(void*) override { fail(); }
  void OnPause(void*, IScreenCapture::SharePauseReason) override { fail(); }
  void OnStart(void*) override {}
  void OnResume(void*) override {}
  void OnFirstFrame(void*) override {}
  void OnFrameDirtyInfo(void*, bool, std::uint64_t, double) override {}
  void OnShareWindowChanged(void*, int, int) override {}
  void OnShareDesktopChanged(void*, int) override {}
  void OnCaptureEngineName(void*, IScreenCapture::CaptureEngineType& engine, int&, bool,
                           int) override {
    if (engine != m_round.engine) {
      fail();
    }
  }
  void OnFrameStatistics(void*, const IScreenCapture::ScreenFrameStatistics*) override {}
  void OnShareRectChanged(void*, int, int, int, int) override {}

 private:
  void fail() {
    const std::scoped_lock lock(m_mutex);
    m_failed = true;
    SetEvent(m_ended);
  }

  const Round& m_round;
  const int m_frames;

  // Of the capture thread.
  int m_count = 0;
  SIZE m_size;  // 0 by 0: as the first picture's will be
  double m_startMicros = 0;
  Time m_start{};

  const HANDLE m_ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::mutex m_mutex;  // guards what follows
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
  capture.SetCaptureEngineConfig(&round.engine, 1, false);
  capture.EnableCaptureCursor(false);
  capture.EnablePromptWindow(false);
  capture.SetCaptureFPS(round.fps);
  capture.SetScreenFrameFormatType(round.i420 ? IScreenCapture::ScreenFrameFormatI420
                                              : IScreenCapture::ScreenFrameFormatARGB);
  capture.SetCaptureFrameResolutionLimit(LimitOf(round));
  capture.SetExcludeWindows(round.exclude.data(), static_cast<int>(round.exclude.size()));
  IScreenCapture::ScreenCaptureConfig config;
  config.scDynamicCheck = round.dynamicCheck;
  capture.SetScreenCaptureConfig(config);

  Meter meter(round);
  const std::int32_t monitor = PrimaryMonitor(capture);
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  round.onStart();
  const bool started = round.window == nullptr
                           ? capture.ShareDesktop(nullptr, monitor, &meter, error)
                           : capture.ShareWindow(nullptr, ToId(round.window), &meter, error);
  if (!started) {
    throw std::runtime_error("the share did not start: ShareError " + std::to_string(error));
  }
  const LibraryFigures figures = meter.Wait();
  capture.ShareStop();
  return figures;
}
