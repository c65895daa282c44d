// A host for tests: a listener that writes down what it is told and keeps copies
// of the frames, and a log that keeps the library's messages.
#pragma once

#include <qx-screen-capture.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace qx::test {

// A copy of one delivered frame.
struct Frame {
  IScreenCapture::ScreenFrameFormat format = IScreenCapture::ScreenFrameFormatARGB;
  std::int64_t timestamp = 0;
  int width = 0;
  int height = 0;
  int rawWidth = 0;
  int rawHeight = 0;
  std::vector<std::uint8_t> argb;  // width * 4 bytes a row
  std::vector<std::uint8_t> y;     // planes without padding
  std::vector<std::uint8_t> u;
  std::vector<std::uint8_t> v;

  bool HasPixels() const { return !argb.empty() || !y.empty(); }
  // 0x00RRGGBB of an ARGB frame.
  std::uint32_t At(int x, int yPos) const;
  int Count(std::uint32_t rgb) const;  // its pixels in this colour
};

// Any thread may ask. Events are words as "engine 4", "start", "firstFrame",
// "frame", "pause 2", "resume", "stop", "rect 0,0 1920x1080", "desktopChanged",
// "windowChanged 17", "dirty 1 0 0", "statistics 15".
class ShareRecorder : public IScreenCapture::ShareListener {
 public:
  explicit ShareRecorder(void* expectedContext = nullptr) : m_context(expectedContext) {}

  // All events in order; with `frames` false without "frame" and "statistics".
  std::vector<std::string> Events(bool frames = false) const;
  int Count(const std::string& event) const;
  int FrameCount() const;
  Frame LastFrame() const;
  std::vector<std::int64_t> Timestamps() const;  // of all frames
  std::vector<int> Engines() const;              // as told by OnCaptureEngineName
  void Forget();                                 // events and frames so far

  // Waits, in real time, until `count` events of this kind came; false after a
  // generous limit. For tests that do not own the clock.
  bool WaitFor(const std::string& event, int count) const;

  // Called from inside the listener operation, on its thread, after it was
  // written down. Set before the share starts.
  std::function<void(const std::string& event)> onEvent;
  bool keepPixels = true;

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
  void note(void* context, std::string event);

  void* m_context;
  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::vector<std::string> m_events;
  std::vector<std::int64_t> m_timestamps;
  std::vector<int> m_engines;
  Frame m_last;
};

// Keeps every message of the library while it lives. One at a time.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  struct Line {
    int level;
    std::string text;  // with the module tag before it
  };
  std::vector<Line> Lines() const;
  int Count(const std::string& part) const;            // lines that contain `part`
  bool Has(int level, const std::string& text) const;  // exactly this text, tag apart
  void Forget();
  std::string Dump() const;
};

}  // namespace qx::test
