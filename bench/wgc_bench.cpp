// wgc-bench WIDTHxHEIGHT FIGURE=LIMIT...: figures of a share through
// Windows.Graphics.Capture, of a monitor of that size with a large window in front, with the
// default limit of the picture's size; with "window-" before a figure's name, of that
// window. On virtual Windows 11, whose graphics processor is the processor: its time is
// part of both sides. Nobody waits for a clock there.
// Figures:
//
//   argb   processor time a frame of a window that changes all the time, as a multiple of a
//          hand-written loop's; without the dynamic check, which has the system compare the
//          screen with what it was
//   copied   bytes that the library copies on the processor for such a frame, as a
//          multiple of the frame's
//   textures   textures that it makes for such a frame
//   allocations   that the library makes for such a frame
//   still   microseconds a tick of a still screen outside of the system's calls
//   poll   the same without the dynamic check, so that each tick looks into the pool, which
//          is empty; take a small screen for both
#include <windows.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "CaptureSessionLoop.h"
#include "Counts.h"
#include "FigureMain.h"
#include "MonitorRound.h"
#include "Rivals.h"

namespace {

constexpr int kTurns = 64;
constexpr int kDrawnFrames = 8;
constexpr int kStillTicks = 300;
constexpr int kCountedFrames = 60;
constexpr int kPageMargin = 2;
constexpr double kMostLooks = 4;  // in a second

void* Page() {
  static void* const page = OpenPage(kPageMargin);
  return page;
}

Round MakeStillRound(bool window, int frames) {
  Round round = MakeMonitorRound(IScreenCapture::CaptureEngineWGC, frames);
  const auto page = static_cast<HWND>(Page());
  if (window) {
    round.window = page;
    GetWindowRect(page, &round.rect);
  }
  return round;
}

// Each tick looks into the pool.
Round MakePolledRound(bool window, int frames) {
  Round round = MakeStillRound(window, frames);
  round.dynamicCheck = false;
  return round;
}

double PicturesPerFrame(const Round& round) {
  return CallsPerFrame(round, {"IDirect3D11CaptureFrame::get_Surface"});
}

double LooksPerFrame(const Round& round) {
  return CallsPerFrame(round, {"IDirect3D11CaptureFramePool::TryGetNextFrame"});
}

// A new picture in every tick, of which a window's is cut.
Round MakeDrawnRound(bool window, int frames) {
  Round round = MakePolledRound(window, frames);
  round.afterPicture = [] { ChangePage(Page()); };
  if (PicturesPerFrame(round) < 1 ||
      (window && CallsPerFrame(round, {"ID3D11DeviceContext::CopySubresourceRegion"}) < 1)) {
    throw std::runtime_error("not every frame is drawn");
  }
  return round;
}

double DrawnTimesHandLoop(bool window) {
  return TimesHandLoop(MakeDrawnRound(window, kDrawnFrames), kTurns,
                       CaptureSessionLoopMicrosPerFrame);
}

double Difference(const Round& round, double (*byHand)(const Round&)) {
  const Micros micros = MeasureBoth(round, kTurns, byHand);
  return micros.library - micros.hand;
}

// Once in a second a share looks for itself.
double StillTickMicros(bool window) {
  const Round round = MakeStillRound(window, kStillTicks);
  if (LooksPerFrame(round) > kMostLooks / round.fps || PicturesPerFrame(round) > 0) {
    throw std::runtime_error("a still screen is looked at");
  }
  return Difference(round, StillSessionLoopMicrosPerFrame);
}

double EmptyPoolMicros(bool window) {
  const Round round = MakePolledRound(window, kStillTicks);
  if (LooksPerFrame(round) < 1 || PicturesPerFrame(round) > 0) {
    throw std::runtime_error("not every tick finds an empty pool");
  }
  return Difference(round, EmptyPoolLoopMicrosPerFrame);
}

void Measure(Report& report, const std::string& size, const Figure& wanted) {
  constexpr std::string_view kWindow = "window-";
  const bool window = wanted.name.starts_with(kWindow);
  const std::string figure = wanted.name.substr(window ? kWindow.size() : 0);
  const std::string what = std::string("wgc ") + (window ? "window " : "") + size + ", ";
  const double limit = wanted.limit;
  if (figure == "argb") {
    report.AtMost(what + "times the hand loop", DrawnTimesHandLoop(window), limit);
  } else if (figure == "copied") {
    report.AtMost(what + "bytes copied a frame, times the frame's",
                  CopiedTimesFrame(MakeDrawnRound(window, kCountedFrames)), limit);
  } else if (figure == "textures") {
    report.AtMost(
        what + "textures made a frame",
        CallsPerFrame(MakeDrawnRound(window, kCountedFrames), {"ID3D11Device::CreateTexture2D"}),
        limit);
  } else if (figure == "allocations") {
    report.AtMost(what + "allocations a drawn frame",
                  AllocationsPerFrame(MakeDrawnRound(window, kCountedFrames)), limit);
  } else if (figure == "still") {
    report.AtMost(what + "microseconds a still tick outside of the system's calls",
                  StillTickMicros(window), limit);
  } else if (figure == "poll") {
    report.AtMost(what +
                      "microseconds a tick that finds no picture, without the dynamic check, "
                      "outside of the system's calls",
                  EmptyPoolMicros(window), limit);
  } else {
    throw std::invalid_argument("unknown figure '" + wanted.name + "'");
  }
}

}  // namespace

int main(int argc, char** argv) {
  return FigureMain(argc, argv, "wgc-bench", OpenWindows11WithoutWaits, Measure);
}
