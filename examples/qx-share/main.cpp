// qx-share: a console host of the library. It lists monitors and windows, shares
// one, and tells, shows or saves what arrives.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "console.h"
#include "data_url.h"
#include "doctor.h"
#include "files.h"
#include "frame_writer.h"
#include "options.h"
#include "picker.h"
#include "qx-screen-capture.h"
#include "recorder.h"
#include "scene.h"
#include "sources.h"
#include "text.h"
#include "thumbnails.h"

namespace {

constexpr double kSettingSeconds = 0.8;

constexpr int kExitWrongUsage = 2;
constexpr int kExitNotStarted = 3;  // also: nothing was chosen

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Null for an empty path.
File CreateFileAt(const std::string& path) {
  File file(path.empty() ? nullptr : OpenFile(path, "w"));
  if (file == nullptr && !path.empty()) {
    throw std::runtime_error("can't write " + path);
  }
  return file;
}

// The log callback has no argument of the host's, so the file is a global.
std::mutex g_logMutex;
File g_logFile;

void WriteLog(int level, const char* file, int line, const char* message) {
  const std::scoped_lock lock(g_logMutex);
  if (g_logFile != nullptr) {
    std::fprintf(g_logFile.get(), "%d %s:%d %s\n", level, file, line, message);
  }
}

// Sends the library's log to a file for as long as it lives.
class LogFile {
 public:
  explicit LogFile(const std::string& path) {
    g_logFile = CreateFileAt(path);
    if (g_logFile != nullptr) {
      ScreenCapture::RegisterLogCallback(&WriteLog);
    }
  }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;
  ~LogFile() {
    ScreenCapture::UnregisterLogCallBack();
    const std::scoped_lock lock(g_logMutex);
    g_logFile.reset();
  }
};

void PrintDesktop(const IScreenCapture::DesktopInfo& d, bool json) {
  if (json) {
    std::printf(R"({"monitor":{"id":%d,"handle":%d,"isPrimary":%d,"x":%d,"y":%d,)"
                R"("width":%d,"height":%d}})"
                "\n",
                d.id, d.handle, d.isPrimary, d.x, d.y, d.width, d.height);
  } else {
    std::printf("monitor %d: %dx%d at %d,%d%s\n", d.id, d.width, d.height, d.x, d.y,
                d.isPrimary != 0 ? ", primary" : "");
  }
}

// `icon` is the path of the icon's file, empty without one.
void PrintWindow(const WindowSource& w, const std::string& icon, bool json) {
  if (json) {
    std::printf(R"({"window":{"id":%d,"handle":%d,"processId":%u,"processName":%s,"title":%s,)"
                R"("class":%s,"x":%d,"y":%d,"width":%d,"height":%d%s%s}})"
                "\n",
                w.id, w.handle, w.processId, JsonString(w.processName).c_str(),
                JsonString(w.title).c_str(), JsonString(w.className).c_str(), w.x, w.y, w.width,
                w.height, icon.empty() ? "" : R"(,"icon":)",
                icon.empty() ? "" : JsonString(icon).c_str());
  } else {
    std::printf("window %d: %dx%d at %d,%d, %s (%u), class %s, \"%s\"%s%s\n", w.id, w.width,
                w.height, w.x, w.y, OneLine(w.processName).c_str(), w.processId,
                OneLine(w.className).c_str(), OneLine(w.title).c_str(),
                icon.empty() ? "" : ", icon ", icon.c_str());
  }
}

// Returns the path of the file, or "" for a window without an icon.
std::string SaveIcon(IScreenCapture& capture, std::int32_t window, const std::string& directory) {
  const auto png = DecodePngDataUrl(capture.GetWindowIcon(window));
  if (png.empty()) {
    return "";
  }
  char name[32];
  std::snprintf(name, sizeof name, "icon-%08x.png", static_cast<unsigned>(window));
  const std::string path = directory + "/" + name;
  WriteFile(path, png);
  return path;
}

int RunList(IScreenCapture& capture, const Options& options) {
  const std::vector<IScreenCapture::DesktopInfo> desktops = ListDesktops(capture);
  for (const IScreenCapture::DesktopInfo& desktop : desktops) {
    PrintDesktop(desktop, options.json);
  }
  if (!options.iconDirectory.empty()) {
    CreateDirectories(options.iconDirectory);
  }
  const std::vector<WindowSource> windows = ListWindows(capture);
  for (const WindowSource& window : windows) {
    std::string icon;
    if (!options.iconDirectory.empty()) {
      icon = SaveIcon(capture, window.id, options.iconDirectory);
    }
    PrintWindow(window, icon, options.json);
  }
  if (!options.sheetFile.empty()) {
    WriteSheet(capture, desktops, windows, options.thumbnailSize, options.sheetFile);
  }
  if (!options.thumbnailDirectory.empty()) {
    SaveThumbnails(capture, options.thumbnailSize, options.thumbnailDirectory);
  }
  return 0;
}

// A rule for each window on the list that has one of the titles.
std::vector<IScreenCapture::FilterWindowInfo> RulesFor(const std::vector<WindowSource>& windows,
                                                       const std::vector<std::string>& titles) {
  std::vector<IScreenCapture::FilterWindowInfo> rules;
  for (const WindowSource& window : windows) {
    if (std::find(titles.begin(), titles.end(), window.title) != titles.end()) {
      IScreenCapture::FilterWindowInfo rule;
      rule.type = 1;
      rule.processId = window.processId;
      rule.titleRule = 1;
      window.title.copy(rule.title, sizeof(rule.title) - 1);
      rules.push_back(rule);
    }
  }
  return rules;
}

void ApplyFilters(IScreenCapture& capture, const Options& options) {
  const std::vector<WindowSource> windows = ListWindows(capture);
  auto excluded = RulesFor(windows, options.excludedTitles);
  excluded.insert(excluded.end(), options.excluded.begin(), options.excluded.end());
  capture.SetExcludeWindows(excluded.data(), static_cast<int>(excluded.size()));
  const auto included = RulesFor(windows, options.includedTitles);
  capture.SetIncludeWindows(included.data(), static_cast<int>(included.size()));
}

bool TakeScreenPicture(Picture& picture) {
  return TakeScreen(picture.bytes, picture.width, picture.height);
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
  ApplyFilters(capture, options);
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

// The first window on the list that the options describe.
std::optional<std::int32_t> FindWindowLike(IScreenCapture& capture, const Options& options) {
  for (const WindowSource& window : ListWindows(capture)) {
    if (options.title.empty() ? window.className == options.className
                              : window.title.find(options.title) != std::string::npos) {
      return window.id;
    }
  }
  return std::nullopt;
}

// None, and a line that says why, when there is nothing to share.
std::optional<Target> ChooseTarget(IScreenCapture& capture, const Options& options) {
  if (options.command == Options::Command::Picker) {
    const std::vector<IScreenCapture::DesktopInfo> desktops = ListDesktops(capture);
    const std::vector<WindowSource> windows = ListWindows(capture);
    if (!options.sheetFile.empty()) {
      WriteSheet(capture, desktops, windows, options.thumbnailSize, options.sheetFile);
    }
    // What is read by a program has standard output for itself.
    const auto picked = PickSource(desktops, windows, stdin, options.json ? stderr : stdout);
    if (!picked) {
      std::fputs("qx-share: nothing was picked\n", stderr);
    }
    return picked;
  }
  if (options.command == Options::Command::Desktop) {
    return Target{false, options.id ? *options.id : PrimaryMonitor(capture)};
  }
  const auto window = options.id ? options.id : FindWindowLike(capture, options);
  if (!window) {
    std::fprintf(stderr, "qx-share: no window that can be shared has %s '%s'\n",
                 options.title.empty() ? "the class" : "a title with",
                 options.title.empty() ? options.className.c_str() : options.title.c_str());
    return std::nullopt;
  }
  return Target{true, *window};
}

bool StartShare(IScreenCapture& capture, const Target& target, Recorder& recorder) {
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  const bool started = target.isWindow ? capture.ShareWindow(nullptr, target.id, &recorder, error)
                                       : capture.ShareDesktop(nullptr, target.id, &recorder, error);
  if (!started) {
    std::fprintf(stderr, "qx-share: the share could not start: %s\n", ShareErrorName(error));
  }
  return started;
}

// One after the other, so that what each does can be seen.
void ChangeSettings(IScreenCapture& capture, Recorder& recorder) {
  const std::function<void()> changes[] = {
      [&] { capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420); },
      [&] { capture.SetCaptureFrameResolutionLimit(LimitTo(640, 360)); },
      [&] { capture.SetCaptureFrameResolutionLimit(LimitTo(1280, 720)); },
      [&] { capture.EnableCaptureCursor(false); },
      [&] { capture.EnableCaptureCursor(true); },
  };
  for (const auto& change : changes) {
    recorder.WaitForEnd(kSettingSeconds);
    change();
  }
}

int RunShare(IScreenCapture& capture, const Options& options) {
  const std::optional<Target> target = ChooseTarget(capture, options);
  if (!target) {
    return kExitNotStarted;
  }
  std::unique_ptr<FrameWriter> writer;
  if (!options.saveDirectory.empty() || !options.y4mFile.empty()) {
    writer = std::make_unique<FrameWriter>(
        options.saveDirectory, options.y4mFile, options.fps,
        options.beside ? FrameWriter::Screen(TakeScreenPicture) : nullptr);
  }
  const File eventFile = CreateFileAt(options.eventFile);
  Recorder recorder(options, writer.get(), eventFile.get());
  ApplySettings(capture, options);
  if (!StartShare(capture, *target, recorder)) {
    return kExitNotStarted;
  }
  if (options.changeSettings) {
    ChangeSettings(capture, recorder);
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
  const Utf8Output output;
  const auto arguments = Utf8Arguments(argc, argv);
  if (arguments.size() == 1 && arguments.front() == "--help") {
    std::fputs(UsageText(), stdout);
    return 0;
  }
  std::string wrong;
  const auto options = ParseOptions(arguments, wrong);
  if (!options) {
    std::fprintf(stderr, "qx-share: %s\n%s", wrong.c_str(), UsageText());
    return kExitWrongUsage;
  }
  try {
    const std::unique_ptr<Scene> scene = OpenScene(1280, 720, true, options->scene);
    const LogFile log(options->logFile);
    ScreenCapture capture;
    switch (options->command) {
      case Options::Command::Doctor:
        Diagnose(capture, options->json, stdout);
        return 0;
      case Options::Command::List:
        return RunList(capture, *options);
      default:
        return RunShare(capture, *options);
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "qx-share: %s\n", failure.what());
    return 1;
  }
}
