#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

#include "frame_writer.h"
#include "options.h"
#include "qx-screen-capture.h"

// The listener of qx-share: tells each operation on standard output, as one JSON
// object a line or as a live status line for a person, and hands frames on to
// be written.
//
// The event file holds the same JSON objects, frames apart, each with the seconds
// since the start and the number of the last frame before it.
class Recorder : public IScreenCapture::ShareListener {
 public:
  // After options.frames frames (0: no limit) everything else is ignored. `writer`
  // and `eventFile` are borrowed and may be null.
  Recorder(const Options& options, FrameWriter* writer, std::FILE* eventFile);

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

  struct DirtyFigures {
    bool known = false;
    std::uint64_t rectangles = 0;
    double ratio = 0;  // of the whole picture
  };

  // Tells a JSON object, unless the run is over already.
  void event(const std::string& object);
  void print(const std::string& object);
  void state(const std::string& state);
  void showStatus(bool now);
  void tellDirty();
  bool over() const { return m_stopped || (m_maxFrames != 0 && m_frames >= m_maxFrames); }

  const bool m_json;
  const bool m_track;
  const bool m_dirty;
  const std::uint64_t m_maxFrames;
  FrameWriter* const m_writer;
  std::FILE* const m_eventFile;
  const Time m_start = std::chrono::steady_clock::now();

  std::mutex m_mutex;  // guards what follows, and the lines that are written
  std::condition_variable m_ended;
  std::uint64_t m_frames = 0;
  bool m_stopped = false;
  DirtyFigures m_dirtyFigures;  // of the frame to come
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
