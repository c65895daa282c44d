// qx-share: a console host of the library. It lists monitors, shares one, and
// tells, shows or saves what arrives.
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "frame_writer.h"
#include "options.h"
#include "qx-screen-capture.h"
#include "recorder.h"
#include "scene.h"

namespace {

constexpr int kExitWrongUsage = 2;
constexpr int kExitNotStarted = 3;

using Desktops = std::vector<IScreenCapture::DesktopInfo>;

// The log callback has no argument of the host's, so the file is a global.
std::mutex g_logMutex;
std::FILE* g_logFile = nullptr;

void WriteLog(int level, const char* file, int line, const char* message) {
  const std::scoped_lock lock(g_logMutex);
  if (g_logFile != nullptr) {
    std::fprintf(g_logFile, "%d %s:%d %s\n", level, file, line, message);
  }
}

// Sends the library's log to a file for as long as it lives.
class LogFile {
 public:
  explicit LogFile(const std::string& path) {
    if (path.empty()) {
      return;
    }
    g_logFile = std::fopen(path.c_str(), "w");
    if (g_logFile == nullptr) {
      throw std::runtime_error("can't write " + path);
    }
    ScreenCapture::RegisterLogCallback(&WriteLog);
  }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;
  ~LogFile() {
    ScreenCapture::UnregisterLogCallBack();
    const std::scoped_lock lock(g_logMutex);
    if (g_logFile != nullptr) {
      std::fclose(g_logFile);
      g_logFile = nullptr;
    }
  }
};

Desktops ListDesktops(IScreenCapture& capture) {
  Desktops desktops;
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* list, const int& count, void* user) {
        static_cast<Desktops*>(user)->assign(list, list + count);
      },
      &desktops);
  return desktops;
}

int RunList(IScreenCapture& capture, const Options& options) {
  for (const IScreenCapture::DesktopInfo& d : ListDesktops(capture)) {
    if (options.json) {
      std::printf(R"({"monitor":{"id":%d,"handle":%d,"isPrimary":%d,"x":%d,"y":%d,)"
                  R"("width":%d,"height":%d}})"
                  "\n",
                  d.id, d.handle, d.isPrimary, d.x, d.y, d.width, d.height);
    } else {
      std::printf("monitor %d: %dx%d at %d,%d%s\n", d.id, d.width, d.height, d.x, d.y,
                  d.isPrimary != 0 ? ", primary" : "");
    }
  }
  return 0;
}

void ApplySettings(IScreenCapture& capture, const Options& options) {
  capture.SetCaptureFPS(options.fps);
  capture.SetScreenFrameFormatType(options.format);
  if (options.limit) {
    capture.SetCaptureFrameResolutionLimit(*options.limit);
  }
  capture.SetCaptureEngineConfig(options.engines.data(), static_cast<int>(options.engines.size()),
                                 options.wgcFirst);
  capture.EnableCaptureCursor(options.cursor);
  capture.EnablePromptWindow(options.prompt);
  capture.EnableFilterWindowWhenShareDesktop(options.filter);
  capture.SetExcludeWindows(options.excluded.data(), static_cast<int>(options.excluded.size()));
  IScreenCapture::ScreenCaptureConfig config;
  config.DynamicFrameCallback = options.dynamic;
  config.GetDirtyRectInfo = options.dirty;
  capture.SetScreenCaptureConfig(config);
}

const char* ShareErrorName(IScreenCapture::ShareError error) {
  switch (error) {
    case IScreenCapture::ShareErrorNone:
      return "ShareErrorNone";
    case IScreenCapture::ShareErrorTaskRunning:
      return "ShareErrorTaskRunning";
    case IScreenCapture::ShareErrorNullListener:
      return "ShareErrorNullListener";
    case IScreenCapture::ShareErrorTargetMissing:
      return "ShareErrorTargetMissing";
    case IScreenCapture::ShareErrorStartFailed:
      return "ShareErrorStartFailed";
  }
  return "unknown ShareError";
}

std::int32_t PrimaryMonitor(IScreenCapture& capture) {
  for (const IScreenCapture::DesktopInfo& desktop : ListDesktops(capture)) {
    if (desktop.isPrimary != 0) {
      return desktop.id;
    }
  }
  return 0;  // the library will say that there is no such monitor
}

int RunDesktop(IScreenCapture& capture, const Options& options) {
  std::unique_ptr<FrameWriter> writer;
  if (!options.saveDirectory.empty() || !options.y4mFile.empty()) {
    writer = std::make_unique<FrameWriter>(options.saveDirectory, options.y4mFile, options.fps);
  }
  Recorder recorder(options.json, options.frames, writer.get());
  ApplySettings(capture, options);
  const std::int32_t id = options.id ? *options.id : PrimaryMonitor(capture);
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  if (!capture.ShareDesktop(nullptr, id, &recorder, error)) {
    std::fprintf(stderr, "qx-share: the share could not start: %s\n", ShareErrorName(error));
    return kExitNotStarted;
  }
  recorder.WaitForEnd(options.seconds);
  capture.ShareStop();
  recorder.FinishLine();
  if (writer != nullptr) {
    const std::string failure = writer->Finish();
    if (!failure.empty()) {
      throw std::runtime_error(failure);
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string wrong;
  const auto options = ParseOptions(std::vector<std::string>(argv + 1, argv + argc), wrong);
  if (!options) {
    std::fprintf(stderr, "qx-share: %s\n%s", wrong.c_str(), UsageText());
    return kExitWrongUsage;
  }
  try {
    const std::unique_ptr<Scene> scene = OpenScene(1280, 720, true);
    const LogFile log(options->logFile);
    ScreenCapture capture;
    return options->command == Options::Command::List ? RunList(capture, *options)
                                                      : RunDesktop(capture, *options);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "qx-share: %s\n", failure.what());
    return 1;
  }
}
