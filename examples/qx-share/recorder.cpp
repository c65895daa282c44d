#include "recorder.h"

#include <fmt/printf.h>

#include <cstdio>
#include <utility>

#include "picture.h"
#include "sources.h"
#include "text.h"

namespace {

constexpr std::chrono::milliseconds kStatusPeriod(500);
constexpr int kStatusWidth = 90;
constexpr char kSharing[] = "sharing";

const char* PauseReasonText(IScreenCapture::SharePauseReason reason) {
  switch (reason) {
    case IScreenCapture::PauseReasonCaptureFailed:
      return "paused: capture failed";
    case IScreenCapture::PauseReasonInvoked:
      return "paused";
    case IScreenCapture::PauseReasonWindowHidden:
      return "paused: window hidden";
    case IScreenCapture::PauseReasonWindowMoved:
      return "paused: window moved";
    case IScreenCapture::PauseReasonOtherVirtualDesktop:
      return "paused: on another virtual desktop";
    case IScreenCapture::PauseReasonFilterFailed:
      return "paused: windows can't be excluded";
  }
  return "paused";
}

}  // namespace

const char* EngineName(IScreenCapture::CaptureEngineType engine) {
  switch (engine) {
    case IScreenCapture::CaptureEngineNone:
      return "none";
    case IScreenCapture::CaptureEngineMag:
      return "mag";
    case IScreenCapture::CaptureEngineDXGI:
      return "dxgi";
    case IScreenCapture::CaptureEngineWGC:
      return "wgc";
    case IScreenCapture::CaptureEngineGDIBitBlt:
      return "gdi";
    case IScreenCapture::CaptureEngineGDIPrintWindow:
      return "print";
  }
  return "unknown";
}

Recorder::Recorder(const Options& options, FrameWriter* writer, std::FILE* eventFile)
    : m_json(options.json),
      m_track(options.track),
      m_dirty(options.dirty),
      m_maxFrames(options.frames),
      m_writer(writer),
      m_eventFile(eventFile) {}

void Recorder::WaitForEnd(double seconds) {
  std::unique_lock lock(m_mutex);
  const auto ended = [this] { return over(); };
  if (seconds > 0) {
    m_ended.wait_for(lock, std::chrono::duration<double>(seconds), ended);
  } else {
    m_ended.wait(lock, ended);
  }
}

void Recorder::FinishLine() {
  const std::scoped_lock lock(m_mutex);
  if (!m_json) {
    m_state = "ended";
    showStatus(true);
    std::fputs("\n", stdout);
    std::fflush(stdout);
  }
}

void Recorder::OnStart(void*) {
  event(R"({"event":"start"})");
  state(kSharing);
}

void Recorder::OnPause(void*, IScreenCapture::SharePauseReason reason) {
  event(fmt::sprintf(R"({"event":"pause","reason":%d})", static_cast<int>(reason)));
  state(PauseReasonText(reason));
}

void Recorder::OnResume(void*) {
  event(R"({"event":"resume"})");
  state(kSharing);
}

void Recorder::OnStop(void*) {
  event(R"({"event":"stop"})");
  state("ended");
  const std::scoped_lock lock(m_mutex);
  m_stopped = true;
  m_ended.notify_all();
}

void Recorder::OnFirstFrame(void*) { event(R"({"event":"firstFrame"})"); }

void Recorder::OnFrame(void*, const IScreenCapture::ScreenFrameData* frame) {
  {
    const std::scoped_lock lock(m_mutex);
    if (over()) {
      return;
    }
  }
  // Frames come one at a time, so the count can't change meanwhile.
  const std::uint64_t number = m_frames + 1;
  if (m_json) {
    const std::scoped_lock lock(m_mutex);
    print(fmt::sprintf(
        R"({"event":"frame","n":%llu,"format":"%s","width":%d,"height":%d,"rawWidth":%d,)"
        R"("rawHeight":%d,"timestamp":%lld,"crc32":"%08x"})",
        static_cast<unsigned long long>(number),
        frame->format == IScreenCapture::ScreenFrameFormatARGB ? "argb" : "i420", frame->width,
        frame->height, frame->raw_width, frame->raw_height,
        static_cast<long long>(frame->timestamp), FrameChecksum(*frame)));
  }
  if (m_writer != nullptr) {
    m_writer->Put(number, *frame);
  }
  const std::scoped_lock lock(m_mutex);
  m_frames = number;
  m_width = frame->width;
  m_height = frame->height;
  tellDirty();
  showStatus(false);
  if (over()) {
    m_ended.notify_all();
  }
}

void Recorder::OnFrameDirtyInfo(void*, bool valid, std::uint64_t rectCount, double ratio) {
  event(fmt::sprintf(R"({"event":"dirty","valid":%s,"rects":%llu,"ratio":%.6f})",
                     valid ? "true" : "false", static_cast<unsigned long long>(rectCount), ratio));
  const std::scoped_lock lock(m_mutex);
  m_dirtyFigures = {valid, rectCount, ratio};
}

void Recorder::OnShareWindowChanged(void*, int window, int) {
  if (!m_track) {
    event(fmt::sprintf(R"({"event":"windowChanged","id":%d})", window));
    return;
  }
  const std::string title = WindowTitle(window);
  event(fmt::sprintf(R"({"event":"windowChanged","id":%d,"title":%s})", window,
                     JsonString(title).c_str()));
  const std::scoped_lock lock(m_mutex);
  if (!m_json && !over()) {
    std::printf("\r%-*s\n", kStatusWidth,
                fmt::sprintf("sharing window %d now: %s", window, OneLine(title).c_str()).c_str());
    showStatus(true);
  }
}

void Recorder::OnShareDesktopChanged(void*, int monitor) {
  event(fmt::sprintf(R"({"event":"desktopChanged","id":%d})", monitor));
}

void Recorder::OnCaptureEngineName(void*, IScreenCapture::CaptureEngineType& engine, int&, bool,
                                   int) {
  event(fmt::sprintf(R"({"event":"engine","type":%d,"name":"%s"})", static_cast<int>(engine),
                     EngineName(engine)));
  const std::scoped_lock lock(m_mutex);
  m_engine = EngineName(engine);
  showStatus(true);
}

void Recorder::OnFrameStatistics(void*, const IScreenCapture::ScreenFrameStatistics* statistics) {
  event(fmt::sprintf(R"({"event":"statistics","fps":%d})", statistics->fps));
}

void Recorder::OnShareRectChanged(void*, int x, int y, int width, int height) {
  event(fmt::sprintf(R"({"event":"rect","x":%d,"y":%d,"width":%d,"height":%d})", x, y, width,
                     height));
}

void Recorder::event(const std::string& object) {
  const std::scoped_lock lock(m_mutex);
  if (over()) {
    return;
  }
  print(object);
  if (m_eventFile != nullptr) {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_start;
    std::fprintf(m_eventFile, "{\"time\":%.3f,\"frame\":%llu,%s\n", passed.count(),
                 static_cast<unsigned long long>(m_frames), object.c_str() + 1);
  }
}

// Called with m_mutex held.
void Recorder::print(const std::string& object) {
  if (m_json) {
    std::puts(object.c_str());
    std::fflush(stdout);
  }
}

void Recorder::state(const std::string& state) {
  const std::scoped_lock lock(m_mutex);
  m_state = state;
  showStatus(true);
}

// Of the last frame, for a person. Keep-live frames come without figures. Called with
// m_mutex held.
void Recorder::tellDirty() {
  const DirtyFigures figures = std::exchange(m_dirtyFigures, {});
  if (m_json || !m_dirty) {
    return;
  }
  const std::string what =
      figures.known
          ? fmt::sprintf("%llu dirty rectangles, %.2f %%",
                         static_cast<unsigned long long>(figures.rectangles), figures.ratio * 100)
          : "dirty rectangles not known";
  std::printf(
      "\r%-*s\n", kStatusWidth,
      fmt::sprintf("frame %llu: %s", static_cast<unsigned long long>(m_frames), what).c_str());
}

// Called with m_mutex held.
void Recorder::showStatus(bool now) {
  const Time time = std::chrono::steady_clock::now();
  const auto passed = time - m_statusTime;
  if (m_json || (!now && passed < kStatusPeriod)) {
    return;
  }
  if (passed >= kStatusPeriod && m_state == kSharing) {
    m_rate = static_cast<double>(m_frames - m_statusFrames) /
             std::chrono::duration<double>(passed).count();
    m_statusTime = time;
    m_statusFrames = m_frames;
  }
  std::printf("\r%-5s  %dx%d  %4.1f a second  %llu frames  %-36s", m_engine.c_str(), m_width,
              m_height, m_rate, static_cast<unsigned long long>(m_frames), m_state.c_str());
  std::fflush(stdout);
}
