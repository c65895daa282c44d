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
//   still   microseconds a tick of a still screen outside of the system's calls; take a
//           small screen, since the system compares all of it with what it was
//   allocations   that the library makes in such a tick
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "CopyCount.h"
#include "DuplicationLoop.h"
#include "FigureMain.h"
#include "LibraryLoop.h"
#include "Rivals.h"
#include "tests/share/AllocationHook.h"

namespace {

constexpr int kTurns = 6;
constexpr int kDrawnFrames = 12;
constexpr int kStillTicks = 1000;
constexpr int kCountedFrames = 8;

Round MakeRound(int frames) {
  Round round;
  round.frames = frames;
  round.rect = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  round.engine = IScreenCapture::CaptureEngineDXGI;
  round.defaultLimit = true;
  round.waitAsShare = true;
  return round;
}

// Of a screen that has changed before every picture.
Round MakeChangingRound(int frames) {
  Round round = MakeRound(frames);
  round.afterPicture = [] { ChangeScreen(); };
  return round;
}

double DrawnTimesHandLoop() {
  Round round = MakeChangingRound(kDrawnFrames);
  Round first = round;
  first.frames = 1;
  round.picture = MeasureLibrary(first).picture;
  const Micros micros = MeasureBoth(round, kTurns, DuplicationLoopMicrosPerFrame);
  return micros.library / micros.hand;
}

double CopiedTimesFrame() {
  Round round = MakeChangingRound(kCountedFrames);
  std::unique_ptr<LibraryCopies> copies;
  std::uint64_t bytes = 0;
  round.onBegin = [&] { copies = std::make_unique<LibraryCopies>(); };
  round.onEnd = [&] {
    bytes = copies->Bytes();
    copies.reset();
  };
  const SIZE picture = MeasureLibrary(round).picture;
  const double frames = 4.0 * picture.cx * picture.cy * kCountedFrames;
  if (static_cast<double>(bytes) < frames) {
    throw std::runtime_error("a frame is not copied at all: nothing is counted");
  }
  return static_cast<double>(bytes) / frames;
}

double TexturesPerFrame() {
  Round round = MakeChangingRound(kCountedFrames);
  std::uint64_t before = 0;
  std::uint64_t after = 0;
  round.onBegin = [&] { before = CountCalls("ID3D11Device::CreateTexture2D"); };
  round.onEnd = [&] { after = CountCalls("ID3D11Device::CreateTexture2D"); };
  MeasureLibrary(round);
  return static_cast<double>(after - before) / kCountedFrames;
}

double StillTickMicros() {
  Round round = MakeRound(kStillTicks);
  const Micros micros = MeasureBoth(round, kTurns, StillLoopMicrosPerFrame);
  return micros.library - micros.hand;
}

double AllocationsPerStillTick() {
  Round round = MakeRound(kStillTicks);
  std::unique_ptr<qx::test::LibraryAllocations> allocations;
  int count = 0;
  round.onBegin = [&] { allocations = std::make_unique<qx::test::LibraryAllocations>(); };
  round.onEnd = [&] {
    count = allocations->count();
    if (count != 0) {
      std::fputs(allocations->where().c_str(), stderr);
    }
    allocations.reset();
  };
  MeasureLibrary(round);
  return static_cast<double>(count) / kStillTicks;
}

std::unique_ptr<Scene> Open(int width, int height) {
  if (!SkipWaits()) {
    throw std::runtime_error("there is no virtual Windows here");
  }
  return OpenScene(width, height, false);
}

void Measure(Report& report, const std::string& size, const Figure& wanted) {
  const auto& [figure, limit] = wanted;
  const std::string what = "dxgi " + size + ", ";
  if (figure == "argb") {
    report.AtMost(what + "times the hand loop", DrawnTimesHandLoop(), limit);
  } else if (figure == "copied") {
    report.AtMost(what + "bytes copied a frame, times the frame's", CopiedTimesFrame(), limit);
  } else if (figure == "textures") {
    report.AtMost(what + "textures made a frame", TexturesPerFrame(), limit);
  } else if (figure == "still") {
    report.AtMost(what + "microseconds a still tick outside of the system's calls",
                  StillTickMicros(), limit);
  } else if (figure == "allocations") {
    report.AtMost(what + "allocations a still tick", AllocationsPerStillTick(), limit);
  } else {
    throw std::invalid_argument("unknown figure '" + figure + "'");
  }
}

}  // namespace

int main(int argc, char** argv) { return FigureMain(argc, argv, "dxgi-bench", Open, Measure); }
