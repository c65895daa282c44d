// dxgi-bench WIDTHxHEIGHT FIGURE=LIMIT...: figures of a share of a monitor of that size
// through desktop duplication, with the default limit of the picture's size. On virtual
// Windows, whose graphics processor is the processor: its time is part of both sides.
// Nobody waits for a clock there, so that many frames take little time, and what else
// the machine does stays out of the caches.
// Figures:
//
//   argb   processor time a frame of a screen that changes all the time, as a multiple
//          of a hand-written loop's
//   copied   bytes that the library copies on the processor for such a frame, as a
//          multiple of the frame's
//   textures   textures that it makes for such a frame
//   first   milliseconds from the start to the first picture, less those of the loop by
//          hand. A share looks at the first picture, which may be black, and delivers it
//          with its second tick, so one wait between ticks, 33.3 ms, is part of it
//   still   microseconds a tick of a still screen outside of the system's calls; take a
//           small screen, since the system compares all of it with what it was
//   allocations   that the library makes in such a tick
#include <windows.h>

#include <stdexcept>
#include <string>

#include "Counts.h"
#include "DuplicationLoop.h"
#include "FigureMain.h"
#include "MonitorRound.h"
#include "Rivals.h"

namespace {

constexpr int kTurns = 24;
constexpr int kDrawnFrames = 12;
constexpr int kStillTicks = 1000;
constexpr int kCountedFrames = 8;

Round MakeRound(int frames) { return MakeMonitorRound(IScreenCapture::CaptureEngineDXGI, frames); }

// Of a screen that has changed before every picture.
Round MakeChangingRound(int frames) {
  Round round = MakeRound(frames);
  round.afterPicture = [] { ChangeScreen(); };
  return round;
}

double DrawnTimesHandLoop() {
  return TimesHandLoop(MakeChangingRound(kDrawnFrames), kTurns, DuplicationLoopMicrosPerFrame);
}

double StillTickMicros() {
  Round round = MakeRound(kStillTicks);
  const Micros micros = MeasureBoth(round, kTurns, StillLoopMicrosPerFrame);
  return micros.library - micros.hand;
}

void Measure(Report& report, const std::string& size, const Figure& wanted) {
  const auto& [figure, limit] = wanted;
  const std::string what = "dxgi " + size + ", ";
  if (figure == "argb") {
    report.AtMost(what + "times the hand loop", DrawnTimesHandLoop(), limit);
  } else if (figure == "copied") {
    report.AtMost(what + "bytes copied a frame, times the frame's",
                  CopiedTimesFrame(MakeChangingRound(kCountedFrames)), limit);
  } else if (figure == "textures") {
    report.AtMost(
        what + "textures made a frame",
        CallsPerFrame(MakeChangingRound(kCountedFrames), {"ID3D11Device::CreateTexture2D"}), limit);
  } else if (figure == "first") {
    report.AtMost(what + "milliseconds to the first picture, beyond the hand loop's",
                  FirstPictureWithWaits(MakeChangingRound(1), DuplicationLoopMicrosPerFrame),
                  limit);
  } else if (figure == "still") {
    report.AtMost(what + "microseconds a still tick outside of the system's calls",
                  StillTickMicros(), limit);
  } else if (figure == "allocations") {
    report.AtMost(what + "allocations a still tick", AllocationsPerFrame(MakeRound(kStillTicks)),
                  limit);
  } else {
    throw std::invalid_argument("unknown figure '" + figure + "'");
  }
}

}  // namespace

int main(int argc, char** argv) {
  return FigureMain(argc, argv, "dxgi-bench", OpenWithoutWaits, Measure);
}
