// share-bench WIDTHxHEIGHT FIGURE=LIMIT...: figures of a monitor or window share
// through the GDI engine. The size is that of the virtual monitor to set up; on
// Windows it is checked. Figures:
//
//   argb, i420   processor time a frame, as a multiple of a hand-written loop's, whose
//            pictures have to be the same
//   first   milliseconds from the start to the first picture, less those of the loop by
//            hand, which asks for the graphics adapter and puts a frame around the screen
//            as a share does: below a third of the time between two ticks when no tick is
//            missed
//   paced15, paced30   delivered frames a second at that setting, at least
//   window   as argb, for a still, uncovered window of 1280x720; the hand loop
//            copies its rectangle and asks nothing about the window
//   window-tick   microseconds a frame for a small window that is still and
//            uncovered, less those of a hand loop that makes the calls of a share
#include <dxgi.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "FigureMain.h"
#include "HandLoop.h"
#include "LibraryLoop.h"
#include "Rivals.h"
#include "src/win/util/ComPtr.h"
#include "tests/host/ColorWindow.h"

namespace {

constexpr int kRounds = 20;
constexpr int kPacedSeconds = 10;

constexpr std::uint32_t kWindowColor = 0x3C6EB4;

RECT ScreenRect() { return {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}; }

RECT Centred(int width, int height) {
  const RECT screen = ScreenRect();
  const LONG left = (screen.right - width) / 2;
  const LONG top = (screen.bottom - height) / 2;
  return {left, top, left + width, top + height};
}

Micros MeasureGdi(const Round& round) {
  return MeasureBoth(round, kRounds, HandLoopMicrosPerFrame);
}

double TimesHandLoop(const Round& round) {
  DemandSamePicture(round, HandLoopMicrosPerFrame);
  return MeasureGdi(round).Times();
}

double WindowTimesHandLoop() {
  const RECT rect = Centred(1280, 720);
  const qx::test::ColorWindow window(rect, kWindowColor);
  return TimesHandLoop({.rect = rect, .window = window.Handle()});
}

// Small, so that the picture is a small part of both sides.
double WindowTickMicros() {
  const RECT rect = Centred(160, 120);
  const qx::test::ColorWindow window(rect, kWindowColor);
  const Micros micros = MeasureGdi({.rect = rect, .window = window.Handle(), .watchWindow = true});
  return micros.library - micros.hand;
}

void AskForAdapter() {
  qx::ComPtr<IDXGIFactory1> factory;
  qx::ComPtr<IDXGIAdapter1> adapter;
  DXGI_ADAPTER_DESC1 description = {};
  if (FAILED(CreateDXGIFactory1(IID_IDXGIFactory1, factory.PutVoid())) ||
      FAILED(factory->EnumAdapters1(0, adapter.Put())) || FAILED(adapter->GetDesc1(&description))) {
    throw std::runtime_error("there is no graphics adapter");
  }
}

// Shows nothing, as the library's does when the host wants none.
class EmptyFrame {
 public:
  explicit EmptyFrame(const RECT& rect)
      : m_window(rect, kWhite,
                 WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_LAYERED | WS_EX_TRANSPARENT) {
    SetLayeredWindowAttributes(m_window.Handle(), kWhite, 255, LWA_COLORKEY | LWA_ALPHA);
  }

 private:
  static constexpr std::uint32_t kWhite = 0xFFFFFF;  // whatever the order of colours

  qx::test::ColorWindow m_window;
};

double ShareByHand(const Round& round) {
  std::optional<EmptyFrame> frame;
  Round share = round;
  share.onStart = [&] {
    round.onStart();
    AskForAdapter();
    frame.emplace(round.rect);
  };
  return HandLoopMicrosPerFrame(share);
}

double FirstMillis() {
  const auto wallMicros = [] {
    const std::chrono::duration<double, std::micro> now =
        std::chrono::steady_clock::now().time_since_epoch();
    return now.count();
  };
  return FirstPictureMillis({.rect = ScreenRect(), .micros = wallMicros}, ShareByHand);
}

double DeliveredPerSecond(int fps) {
  return MeasureLibrary({.frames = fps * kPacedSeconds, .fps = fps, .rect = ScreenRect()})
      .framesPerSecond;
}

std::unique_ptr<Scene> Open(int width, int height) {
  auto scene = OpenScene(width, height, false);
  if (GetSystemMetrics(SM_CXSCREEN) != width || GetSystemMetrics(SM_CYSCREEN) != height) {
    throw std::runtime_error("the primary monitor has another size");
  }
  return scene;
}

void Measure(Report& report, const std::string& size, const Figure& wanted) {
  const auto& [figure, limit] = wanted;
  if (limit <= 0) {
    throw std::invalid_argument("wrong limit of '" + figure + "'");
  }
  if (figure == "argb" || figure == "i420") {
    report.AtMost("gdi " + figure + " " + size + ", times the hand loop",
                  TimesHandLoop({.i420 = figure == "i420", .rect = ScreenRect()}), limit);
  } else if (figure == "first") {
    report.AtMost("gdi " + size + ", milliseconds to the first picture, beyond the hand loop's",
                  FirstMillis(), limit);
  } else if (figure == "window") {
    report.AtMost("gdi window 1280x720, times the hand loop", WindowTimesHandLoop(), limit);
  } else if (figure == "window-tick") {
    report.AtMost("gdi window, microseconds a tick outside of the system's calls",
                  WindowTickMicros(), limit);
  } else if (figure == "paced15" || figure == "paced30") {
    const int fps = figure == "paced15" ? 15 : 30;
    report.AtLeast("gdi " + size + " at " + std::to_string(fps) + ", delivered a second, at least",
                   DeliveredPerSecond(fps), limit);
  } else {
    throw std::invalid_argument("unknown figure '" + figure + "'");
  }
}

}  // namespace

int main(int argc, char** argv) { return FigureMain(argc, argv, "share-bench", Open, Measure); }
