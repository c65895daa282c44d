#include "doctor.h"

#include <dwmapi.h>
#include <dxgi.h>
#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "recorder.h"
#include "sources.h"
#include "text.h"
#include "thread_time.h"

namespace {

using Engine = IScreenCapture::CaptureEngineType;

constexpr auto kTrial = std::chrono::milliseconds(500);
// So many times as long a busy machine may take for the first two pictures.
constexpr int kPatience = 20;
constexpr int kFps = 30;
constexpr Engine kEngines[] = {IScreenCapture::CaptureEngineDXGI, IScreenCapture::CaptureEngineWGC,
                               IScreenCapture::CaptureEngineMag,
                               IScreenCapture::CaptureEngineGDIBitBlt};

// --------------------------------------------------------------------- the library's words

std::mutex g_mutex;
std::vector<std::string> g_words;

// Failures, and the line that says what the system counts as: it tells why an engine was
// not even asked.
void Listen(int level, const char*, int, const char* message) {
  const std::string text = message;
  if (level < 4 && text.find("windows11OrGreater") == std::string::npos) {
    return;
  }
  const std::size_t tag = text.find("]: ");
  const std::string word = tag == std::string::npos ? text : text.substr(tag + 3);
  const std::scoped_lock lock(g_mutex);
  if (std::find(g_words.begin(), g_words.end(), word) == g_words.end()) {
    g_words.push_back(word);
  }
}

std::vector<std::string> TakeWords() {
  const std::scoped_lock lock(g_mutex);
  std::vector<std::string> words;
  words.swap(g_words);
  return words;
}

// ------------------------------------------------------------------------------ the system

std::string SystemVersion() {
  using ReadNumbers = void(WINAPI*)(DWORD*, DWORD*, DWORD*);
  const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
  const auto read = reinterpret_cast<ReadNumbers>(
      reinterpret_cast<void*>(ntdll ? GetProcAddress(ntdll, "RtlGetNtVersionNumbers") : nullptr));
  if (!read) {
    return "unknown";
  }
  DWORD major = 0;
  DWORD minor = 0;
  DWORD build = 0;
  read(&major, &minor, &build);
  return fmt::format("{}.{}.{}", static_cast<std::uint32_t>(major),
                     static_cast<std::uint32_t>(minor), static_cast<std::uint32_t>(build & 0xFFFF));
}

bool IsCompositionOn() {
  BOOL on = FALSE;
  return SUCCEEDED(DwmIsCompositionEnabled(&on)) && on;
}

std::vector<std::string> Adapters() {
  std::vector<std::string> names;
  IDXGIFactory1* factory = nullptr;
  if (FAILED(CreateDXGIFactory1(IID_IDXGIFactory1, reinterpret_cast<void**>(&factory)))) {
    return names;
  }
  IDXGIAdapter1* adapter = nullptr;
  for (UINT index = 0; SUCCEEDED(factory->EnumAdapters1(index, &adapter)); ++index) {
    DXGI_ADAPTER_DESC1 description = {};
    adapter->GetDesc1(&description);
    names.push_back(ToUtf8(description.Description));
    adapter->Release();
  }
  factory->Release();
  return names;
}

// ---------------------------------------------------------------------------------- trials

struct Trial {
  std::string engine;
  std::string outcome;  // "works", or what became of it
  double framesPerSecond = 0;
  double millisecondsPerFrame = 0;  // of processor time, all that the share's thread does
  std::vector<std::string> words;
};

// Counts frames, and what the thread that brings them has used between them.
class FrameCounter : public IScreenCapture::ShareListener {
 public:
  int Frames() const { return m_frames; }
  Engine LastEngine() const { return m_engine; }
  bool HasEnded() const { return m_ended; }
  // Whether there are no figures yet, and the share goes on.
  bool MayTellMore() const {
    return m_frames < 2 && !m_ended && m_engine != IScreenCapture::CaptureEngineNone;
  }
  double FramesPerSecond() const {
    const std::chrono::duration<double> passed = m_last.time - m_first.time;
    return m_frames > 1 ? (m_frames - 1) / passed.count() : 0;
  }
  double MillisecondsPerFrame() const {
    return m_frames > 1 ? (m_last.micros - m_first.micros) / (m_frames - 1) / 1000 : 0;
  }

  void OnStart(void*) override {}
  void OnPause(void*, IScreenCapture::SharePauseReason) override {}
  void OnResume(void*) override {}
  void OnStop(void*) override { m_ended = true; }
  void OnFirstFrame(void*) override { m_first = Moment(); }
  void OnFrame(void*, const IScreenCapture::ScreenFrameData* frame) override {
    if (frame->width > 0) {
      ++m_frames;
      m_last = Moment();
    }
  }
  void OnFrameDirtyInfo(void*, bool, std::uint64_t, double) override {}
  void OnShareWindowChanged(void*, int, int) override {}
  void OnShareDesktopChanged(void*, int) override {}
  void OnCaptureEngineName(void*, Engine& engine, int&, bool, int) override { m_engine = engine; }
  void OnFrameStatistics(void*, const IScreenCapture::ScreenFrameStatistics*) override {}
  void OnShareRectChanged(void*, int, int, int, int) override {}

 private:
  struct Moment {
    std::chrono::steady_clock::time_point time = std::chrono::steady_clock::now();
    double micros = ThreadMicros();
  };

  std::atomic<int> m_frames = 0;
  std::atomic<bool> m_ended = false;
  std::atomic<Engine> m_engine = IScreenCapture::CaptureEngineNone;
  // Written by the share's thread and read when it has ended.
  Moment m_first;
  Moment m_last;
};

// With no engines the library chooses.
Trial Try(IScreenCapture& capture, std::int32_t monitor, const std::vector<Engine>& engines) {
  capture.SetCaptureEngineConfig(engines.data(), static_cast<int>(engines.size()), false);
  static_cast<void>(TakeWords());
  FrameCounter counter;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  const bool started = capture.ShareDesktop(nullptr, monitor, &counter, error);
  if (started) {
    int trials = 0;
    do {
      std::this_thread::sleep_for(kTrial);
    } while (counter.MayTellMore() && ++trials < kPatience);
    capture.ShareStop();
  }
  Trial trial;
  trial.engine = EngineName(engines.empty() ? counter.LastEngine() : engines.front());
  trial.framesPerSecond = counter.FramesPerSecond();
  trial.millisecondsPerFrame = counter.MillisecondsPerFrame();
  if (!started) {
    trial.outcome = "does not start";
  } else if (counter.HasEnded()) {
    trial.outcome = "ends by itself";
  } else if (counter.Frames() == 0) {
    trial.outcome = "gives no picture";
  } else if (counter.LastEngine() == IScreenCapture::CaptureEngineNone) {
    trial.outcome = "fails";
  } else {
    trial.outcome = "works";
  }
  trial.words = TakeWords();
  return trial;
}

// ---------------------------------------------------------------------------------- output

std::string JsonList(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += (list.empty() ? "" : ",") + JsonString(text);
  }
  return "[" + list + "]";
}

std::string Json(const Trial& trial) {
  return fmt::format(
      R"({{"engine":{},"outcome":{},"framesPerSecond":{:.1f},"millisecondsPerFrame":{:.2f},"log":{}}})",
      JsonString(trial.engine), JsonString(trial.outcome), trial.framesPerSecond,
      trial.millisecondsPerFrame, JsonList(trial.words));
}

void Print(std::FILE* out, const char* what, const Trial& trial) {
  const std::string figures = trial.outcome == "works"
                                  ? fmt::format(", {:.1f} frames a second, {:.2f} ms each",
                                                trial.framesPerSecond, trial.millisecondsPerFrame)
                                  : "";
  fmt::print(out, "  {}{}: {}{}\n", what, trial.engine, trial.outcome, figures);
  if (trial.outcome != "works") {
    for (const std::string& word : trial.words) {
      fmt::print(out, "      {}\n", OneLine(word));
    }
  }
}

class LogTaken {
 public:
  LogTaken() { ScreenCapture::RegisterLogCallback(&Listen); }
  LogTaken(const LogTaken&) = delete;
  LogTaken& operator=(const LogTaken&) = delete;
  ~LogTaken() { ScreenCapture::UnregisterLogCallBack(); }
};

}  // namespace

void Diagnose(IScreenCapture& capture, bool json, std::FILE* out) {
  const LogTaken log;
  capture.EnablePromptWindow(false);
  capture.SetCaptureFPS(kFps);
  const std::string version = SystemVersion();
  const std::vector<std::string> adapters = Adapters();
  if (json) {
    fmt::print(out, R"({{"windows":{},"composition":{},"adapters":{},"monitors":[)",
               JsonString(version), IsCompositionOn(), JsonList(adapters));
  } else {
    fmt::print(out, "Windows {}, composition {}\n", version, IsCompositionOn() ? "on" : "off");
    for (const std::string& adapter : adapters) {
      fmt::print(out, "adapter {}\n", OneLine(adapter));
    }
  }
  const char* separator = "";
  for (const IScreenCapture::DesktopInfo& desktop : ListDesktops(capture)) {
    std::vector<Trial> trials;
    for (const Engine engine : kEngines) {
      trials.push_back(Try(capture, desktop.id, {engine}));
    }
    const Trial choice = Try(capture, desktop.id, {});
    if (json) {
      fmt::print(out, R"({}{{"id":{},"width":{},"height":{},"engines":[)", separator, desktop.id,
                 desktop.width, desktop.height);
      for (const Trial& trial : trials) {
        fmt::print(out, "{}{}", &trial == &trials.front() ? "" : ",", Json(trial));
      }
      fmt::print(out, R"(],"choice":{}}})", Json(choice));
      separator = ",";
    } else {
      fmt::print(out, "monitor {}, {}x{} at {},{}\n", desktop.id, desktop.width, desktop.height,
                 desktop.x, desktop.y);
      for (const Trial& trial : trials) {
        Print(out, "", trial);
      }
      Print(out, "a share uses ", choice);
    }
  }
  if (json) {
    fmt::print(out, "]}}\n");
  }
}
