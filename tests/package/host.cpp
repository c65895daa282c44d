// A host in C++: lists the monitors and shares the primary one for a few frames.
#include <qx-screen-capture.h>

#include <chrono>
#include <cstdio>
#include <future>

namespace {

constexpr int kFrames = 3;
constexpr std::chrono::seconds kTimeout(30);

class Listener : public IScreenCapture::ShareListener {
 public:
  explicit Listener(const IScreenCapture::DesktopInfo& monitor) : m_monitor(monitor) {}

  // Whether all frames were pictures of the monitor.
  std::future<bool> Result() { return m_result.get_future(); }

  void OnStart(void*) override {}
  void OnPause(void*, IScreenCapture::SharePauseReason) override {}
  void OnResume(void*) override {}
  void OnStop(void*) override {}
  void OnFirstFrame(void*) override {}
  void OnFrame(void*, const IScreenCapture::ScreenFrameData* frame) override {
    m_good = m_good && frame->data != nullptr && frame->raw_width == m_monitor.width &&
             frame->raw_height == m_monitor.height;
    if (++m_frames == kFrames) {
      m_result.set_value(m_good);
    }
  }
  void OnFrameDirtyInfo(void*, bool, std::uint64_t, double) override {}
  void OnShareWindowChanged(void*, int, int) override {}
  void OnShareDesktopChanged(void*, int) override {}
  void OnCaptureEngineName(void*, IScreenCapture::CaptureEngineType& engine, int&, bool,
                           int) override {
    std::printf("engine %d\n", static_cast<int>(engine));
  }
  void OnFrameStatistics(void*, const IScreenCapture::ScreenFrameStatistics*) override {}
  void OnShareRectChanged(void*, int, int, int, int) override {}

 private:
  const IScreenCapture::DesktopInfo m_monitor;
  int m_frames = 0;
  bool m_good = true;
  std::promise<bool> m_result;
};

IScreenCapture::DesktopInfo primaryMonitor(IScreenCapture& capture) {
  IScreenCapture::DesktopInfo primary = {};
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* desktops, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          std::printf("monitor %d: %dx%d\n", static_cast<int>(desktops[i].id),
                      static_cast<int>(desktops[i].width), static_cast<int>(desktops[i].height));
          if (desktops[i].isPrimary == 1) {
            *static_cast<IScreenCapture::DesktopInfo*>(user) = desktops[i];
          }
        }
      },
      &primary);
  return primary;
}

}  // namespace

int main() {
  ScreenCapture capture;
  const IScreenCapture::DesktopInfo monitor = primaryMonitor(capture);
  Listener listener(monitor);
  std::future<bool> result = listener.Result();
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  if (!capture.ShareDesktop(nullptr, monitor.id, &listener, error)) {
    std::fprintf(stderr, "cpp-host: the share did not start: %d\n", static_cast<int>(error));
    return 1;
  }
  const bool good = result.wait_for(kTimeout) == std::future_status::ready && result.get();
  capture.ShareStop();
  if (!good) {
    std::fprintf(stderr, "cpp-host: no picture of the monitor came\n");
    return 1;
  }
  std::printf("cpp-host: %d frames\n", kFrames);
  return 0;
}
