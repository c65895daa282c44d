#include "tests/support/ShareRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <sstream>

namespace qx::test {
namespace {

constexpr std::chrono::seconds kLongEnough{40};

std::vector<std::uint8_t> copyRows(const std::uint8_t* data, int stride, int rowBytes, int rows) {
  std::vector<std::uint8_t> copy;
  if (data == nullptr) {
    return copy;
  }
  copy.reserve(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(rows));
  for (int row = 0; row < rows; ++row) {
    const std::uint8_t* begin = data + static_cast<std::ptrdiff_t>(row) * stride;
    copy.insert(copy.end(), begin, begin + rowBytes);
  }
  return copy;
}

std::mutex logMutex;
std::vector<LogRecorder::Line> logLines;

void onLog(int level, const char*, int, const char* message) {
  const std::lock_guard lock(logMutex);
  logLines.push_back({level, message});
}

}  // namespace

std::uint32_t Frame::At(int x, int yPos) const {
  const auto* pixel = &argb.at((static_cast<std::size_t>(yPos) * static_cast<std::size_t>(width) +
                                static_cast<std::size_t>(x)) *
                               4);
  return static_cast<std::uint32_t>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]);
}

int Frame::Count(std::uint32_t rgb) const {
  int count = 0;
  for (int i = 0; i < width * height; ++i) {
    count += At(i % width, i / width) == rgb ? 1 : 0;
  }
  return count;
}

std::vector<std::string> ShareRecorder::Events(bool frames) const {
  const std::lock_guard lock(m_mutex);
  std::vector<std::string> events;
  std::copy_if(m_events.begin(), m_events.end(), std::back_inserter(events),
               [frames](const std::string& event) {
                 return frames || (event != "frame" && event.rfind("statistics", 0) != 0);
               });
  return events;
}

int ShareRecorder::Count(const std::string& event) const {
  const std::lock_guard lock(m_mutex);
  return static_cast<int>(std::count(m_events.begin(), m_events.end(), event));
}

int ShareRecorder::FrameCount() const { return Count("frame"); }

Frame ShareRecorder::LastFrame() const {
  const std::lock_guard lock(m_mutex);
  return m_last;
}

std::vector<std::int64_t> ShareRecorder::Timestamps() const {
  const std::lock_guard lock(m_mutex);
  return m_timestamps;
}

std::vector<int> ShareRecorder::Engines() const {
  const std::lock_guard lock(m_mutex);
  return m_engines;
}

void ShareRecorder::Forget() {
  const std::lock_guard lock(m_mutex);
  m_events.clear();
  m_timestamps.clear();
  m_engines.clear();
  m_last = {};
}

bool ShareRecorder::WaitFor(const std::string& event, int count) const {
  std::unique_lock lock(m_mutex);
  return m_changed.wait_for(lock, kLongEnough, [&] {
    return std::count(m_events.begin(), m_events.end(), event) >= count;
  });
}

void ShareRecorder::note(void* context, std::string event) {
  EXPECT_EQ(context, m_context) << event;
  {
    const std::lock_guard lock(m_mutex);
    m_events.push_back(event);
  }
  m_changed.notify_all();
  if (onEvent) {
    onEvent(event);
  }
}

void ShareRecorder::OnStart(void* context) { note(context, "start"); }

void ShareRecorder::OnPause(void* context, IScreenCapture::SharePauseReason reason) {
  note(context, "pause " + std::to_string(reason));
}

void ShareRecorder::OnResume(void* context) { note(context, "resume"); }

void ShareRecorder::OnStop(void* context) { note(context, "stop"); }

void ShareRecorder::OnFirstFrame(void* context) { note(context, "firstFrame"); }

void ShareRecorder::OnFrame(void* context, const IScreenCapture::ScreenFrameData* frame) {
  {
    Frame copy;
    copy.format = frame->format;
    copy.timestamp = frame->timestamp;
    copy.width = frame->width;
    copy.height = frame->height;
    copy.rawWidth = frame->raw_width;
    copy.rawHeight = frame->raw_height;
    if (keepPixels && frame->format == IScreenCapture::ScreenFrameFormatARGB) {
      copy.argb = copyRows(frame->data, frame->stride, frame->width * 4, frame->height);
    } else if (keepPixels && frame->format == IScreenCapture::ScreenFrameFormatI420) {
      copy.y = copyRows(frame->dataY, frame->strideY, frame->width, frame->height);
      copy.u = copyRows(frame->dataU, frame->strideU, frame->width / 2, frame->height / 2);
      copy.v = copyRows(frame->dataV, frame->strideV, frame->width / 2, frame->height / 2);
    }
    const std::lock_guard lock(m_mutex);
    m_timestamps.push_back(frame->timestamp);
    m_last = std::move(copy);
  }
  note(context, "frame");
}

void ShareRecorder::OnFrameDirtyInfo(void* context, bool valid, std::uint64_t rectCount,
                                     double ratio) {
  std::ostringstream event;
  event << "dirty " << valid << ' ' << rectCount << ' ' << ratio;
  note(context, event.str());
}

void ShareRecorder::OnShareWindowChanged(void* context, int window, int reserved) {
  EXPECT_EQ(reserved, 0);
  note(context, "windowChanged " + std::to_string(window));
}

void ShareRecorder::OnShareDesktopChanged(void* context, int monitor) {
  note(context, "desktopChanged " + std::to_string(monitor));
}

void ShareRecorder::OnCaptureEngineName(void* context, IScreenCapture::CaptureEngineType& engine,
                                        int& reserved, bool flag, int reservedInt) {
  EXPECT_EQ(reserved, 0);
  EXPECT_TRUE(flag);
  EXPECT_EQ(reservedInt, 0);
  {
    const std::lock_guard lock(m_mutex);
    m_engines.push_back(engine);
  }
  note(context, "engine " + std::to_string(engine));
}

void ShareRecorder::OnFrameStatistics(void* context,
                                      const IScreenCapture::ScreenFrameStatistics* statistics) {
  EXPECT_TRUE(statistics->hasFps);
  EXPECT_FALSE(statistics->reservedFlag);
  EXPECT_EQ(statistics->reservedA, -1);
  EXPECT_EQ(statistics->reservedB, -1);
  note(context, "statistics " + std::to_string(statistics->fps));
}

void ShareRecorder::OnShareRectChanged(void* context, int x, int y, int width, int height) {
  std::ostringstream event;
  event << "rect " << x << ',' << y << ' ' << width << 'x' << height;
  note(context, event.str());
}

LogRecorder::LogRecorder() {
  Forget();
  ScreenCapture::RegisterLogCallback(onLog);
}

LogRecorder::~LogRecorder() { ScreenCapture::UnregisterLogCallBack(); }

std::vector<LogRecorder::Line> LogRecorder::Lines() const {
  const std::lock_guard lock(logMutex);
  return logLines;
}

int LogRecorder::Count(const std::string& part) const {
  const std::lock_guard lock(logMutex);
  return static_cast<int>(std::count_if(logLines.begin(), logLines.end(), [&](const Line& line) {
    return line.text.find(part) != std::string::npos;
  }));
}

bool LogRecorder::Has(int level, const std::string& text) const {
  const std::lock_guard lock(logMutex);
  return std::any_of(logLines.begin(), logLines.end(), [&](const Line& line) {
    return line.level == level && line.text == "[qx-screen-capture]: " + text;
  });
}

void LogRecorder::Forget() {
  const std::lock_guard lock(logMutex);
  logLines.clear();
}

std::string LogRecorder::Dump() const {
  const std::lock_guard lock(logMutex);
  std::ostringstream all;
  for (const Line& line : logLines) {
    all << line.level << ' ' << line.text << '\n';
  }
  return all.str();
}

}  // namespace qx::test
