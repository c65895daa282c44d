#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "frame_writer.h"
#include "qx-screen-capture.h"

// The listener of qx-share: tells each operation on standard output, as one JSON
// object a line or as a live status line for a person, and hands frames on to
// be written.
class Recorder : public IScreenCapture::ShareListener {
 public:
  // After `maxFrames` frames (0: no limit) everything else is ignored. `writer`
  // is borrowed and may be null.
  Recorder(bool json, std::uint64_t maxFrames, FrameWriter* writer);

  // Returns once the frames are there, the library ended the share, or `seconds`
  // (0: no limit) have passed.
  void WaitForEnd(double seconds);

  // Ends the status line. Call it when the share has been stopped.
  void FinishLine();

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
  using Time = std::chrono::steady_clock::time_point;

  // Ignores the event when the run is over already.
  void event(const char* format, ...)
#if defined(__GNUC__)
      __attribute__((format(printf, 2, 3)))
#endif
      ;
  void state(const std::string& state);
  void showStatus(bool now);
  bool over() const { return m_stopped || (m_maxFrames != 0 && m_frames >= m_maxFrames); }

  const bool m_json;
  const std::uint64_t m_maxFrames;
  FrameWriter* const m_writer;

  std::mutex m_mutex;  // guards what follows, and the lines on standard output
  std::condition_variable m_ended;
  std::uint64_t m_frames = 0;
  bool m_stopped = false;
  // For the status line.
  std::string m_engine = "none";
  std::string m_state = "starting";
  int m_width = 0;
  int m_height = 0;
  Time m_statusTime{};
  std::uint64_t m_statusFrames = 0;
  double m_rate = 0;
};

// What a person calls the engine, as --engines takes it.
const char* EngineName(IScreenCapture::CaptureEngineType engine);
