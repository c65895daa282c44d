// mag-bench WIDTHxHEIGHT FIGURE=LIMIT...: figures of a share of a monitor of that size
// through the magnifier, one window left out, with the default limit of the picture's
// size. On virtual Windows, whose magnifier and graphics processor are the processor:
// their time is part of both sides. Nobody waits for a clock there.
// Figures:
//
//   argb   processor time a frame of a screen that changes all the time, as a multiple
//          of a hand-written loop's; of the process, since another thread draws
//   copied   bytes that the library copies on the processor for such a frame, as a
//          multiple of the frame's
//   surfaces   surfaces, textures and bitmaps that it makes for such a frame
//   allocations   that the library makes for such a frame
//   first   milliseconds from the start to the first picture, less those of the loop by
//          hand
//   still   microseconds a tick of a still screen outside of the system's calls; take a
//           small screen, since the system compares all of it with what it was
//   filter   microseconds a drawn frame with 64 rules for 200 windows, outside of the
//            system's calls; take a small screen
#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "Counts.h"
#include "FigureMain.h"
#include "FilterRules.h"
#include "MagnifierLoop.h"
#include "MonitorRound.h"
#include "Rivals.h"

namespace {

constexpr int kTurns = 32;
constexpr int kShortTurns = 16;
constexpr int kDrawnFrames = 8;
constexpr int kStillTicks = 1000;
constexpr int kFilteredFrames = 300;
constexpr int kCountedFrames = 60;

const std::vector<std::string> kMakeSurfaces = {
    "IDirect3DDevice9::CreateRenderTarget", "IDirect3DDevice9::CreateOffscreenPlainSurface",
    "ID3D11Device::CreateTexture2D", "CreateDIBSection", "CreateCompatibleBitmap"};

std::vector<HWND> ListWindows() {
  std::vector<HWND> windows;
  EnumWindows(
      [](HWND window, LPARAM list) -> BOOL {
        reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&windows));
  return windows;
}

Round MakeRound(int frames) {
  Round round = MakeMonitorRound(IScreenCapture::CaptureEngineMag, frames);
  // The window that is farthest back.
  round.exclude.emplace_back().window = ListWindows().back();
  return round;
}

// A new picture in every tick, of a screen that has changed.
Round MakeDrawnRound(int frames) {
  Round round = MakeRound(frames);
  round.dynamicCheck = false;
  round.afterPicture = [] { ChangeScreen(); };
  return round;
}

// How many pictures a frame the library draws in such a round.
double DrawnPerFrame(const Round& round) {
  return CallsPerFrame(round, {"IDirect3DDevice9::GetRenderTargetData"});
}

void DemandDrawnFrames(const Round& round) {
  if (DrawnPerFrame(round) < 1) {
    throw std::runtime_error("not every frame is drawn");
  }
}

double DrawnTimesHandLoop() {
  Round round = MakeDrawnRound(kDrawnFrames);
  round.micros = ProcessMicros;
  DemandDrawnFrames(round);
  return TimesHandLoop(round, kTurns, MagnifierLoopMicrosPerFrame);
}

double SurfacesPerFrame() {
  const Round round = MakeDrawnRound(kCountedFrames);
  DemandDrawnFrames(round);
  return CallsPerFrame(round, kMakeSurfaces);
}

double AllocationsPerDrawnFrame() {
  const Round round = MakeDrawnRound(kCountedFrames);
  DemandDrawnFrames(round);
  return AllocationsPerFrame(round);
}

// Once in a second a share draws a still screen.
double StillTickMicros() {
  const Round round = MakeRound(kStillTicks);
  if (DrawnPerFrame(round) > 1.5 / round.fps) {
    throw std::runtime_error("pictures of a still screen are drawn");
  }
  const Micros micros = MeasureBoth(round, kShortTurns, MagnifierLoopMicrosPerFrame);
  return micros.library - micros.hand;
}

double FilterMicros() {
  OpenManyWindows(kFilterWindows);
  Round round = MakeDrawnRound(kFilteredFrames);
  round.exclude = MakeFilterRules(ListWindows());
  // For the list that is applied, and for the look at what may have come since.
  if (CallsPerFrame(round, {"GetWindowThreadProcessId"}) <
      2.0 * (kFilterWindows - kFilteredWindows)) {
    throw std::runtime_error("not every window is filtered");
  }
  const Micros micros = MeasureBoth(round, kShortTurns, MagnifierLoopMicrosPerFrame);
  return micros.library - micros.hand;
}

void Measure(Report& report, const std::string& size, const Figure& wanted) {
  const auto& [figure, limit] = wanted;
  const std::string what = "mag " + size + ", ";
  if (figure == "argb") {
    report.AtMost(what + "times the hand loop", DrawnTimesHandLoop(), limit);
  } else if (figure == "copied") {
    report.AtMost(what + "bytes copied a frame, times the frame's",
                  CopiedTimesFrame(MakeDrawnRound(kCountedFrames)), limit);
  } else if (figure == "surfaces") {
    report.AtMost(what + "surfaces made a frame", SurfacesPerFrame(), limit);
  } else if (figure == "allocations") {
    report.AtMost(what + "allocations a drawn frame", AllocationsPerDrawnFrame(), limit);
  } else if (figure == "first") {
    report.AtMost(what + "milliseconds to the first picture, beyond the hand loop's",
                  FirstPictureWithWaits(MakeDrawnRound(1), MagnifierLoopMicrosPerFrame), limit);
  } else if (figure == "still") {
    report.AtMost(what + "microseconds a still tick outside of the system's calls",
                  StillTickMicros(), limit);
  } else if (figure == "filter") {
    report.AtMost(what +
                      "64 filter rules against 200 windows, microseconds a frame outside of "
                      "the system's calls",
                  FilterMicros(), limit);
  } else {
    throw std::invalid_argument("unknown figure '" + figure + "'");
  }
}

}  // namespace

int main(int argc, char** argv) {
  return FigureMain(argc, argv, "mag-bench", OpenWithoutWaits, Measure);
}
