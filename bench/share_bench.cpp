// share-bench WIDTHxHEIGHT FIGURE=LIMIT...: figures of a monitor share through the
// GDI engine. The size is that of the virtual monitor to set up; on Windows it is
// checked. Figures:
//
//   argb, i420   processor time a frame, as a multiple of a hand-written loop's
//   paced15, paced30   delivered frames a second at that setting, at least
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "HandLoop.h"
#include "LibraryLoop.h"
#include "Report.h"
#include "scene.h"

namespace {

constexpr int kRounds = 8;
constexpr int kFramesPerRound = 120;
constexpr int kWarmUpFrames = 30;
constexpr int kFps = 30;
constexpr int kPacedSeconds = 10;

// Both sides take turns, and the quieter half of each one's rounds counts: what
// else the machine does only ever adds.
double TimesHandLoop(bool i420) {
  std::vector<double> hand;
  std::vector<double> library;
  // The first round of a process is unlike all later ones, whoever runs it: the C
  // library hands out memory of this size in another way afterwards.
  HandLoopMicrosPerFrame(kWarmUpFrames, kFps, i420);
  MeasureLibrary(kWarmUpFrames, kFps, i420);
  for (int round = 0; round < kRounds; ++round) {
    hand.push_back(HandLoopMicrosPerFrame(kFramesPerRound, kFps, i420));
    library.push_back(MeasureLibrary(kFramesPerRound, kFps, i420).microsPerFrame);
    std::fprintf(stderr, "  round %d: hand loop %.0f us, library %.0f us a frame\n", round + 1,
                 hand.back(), library.back());
  }
  return LowerHalfMean(library) / LowerHalfMean(hand);
}

double DeliveredPerSecond(int fps) {
  return MeasureLibrary(fps * kPacedSeconds, fps, false).framesPerSecond;
}

void Measure(Report& report, const std::string& size, const std::string& argument) {
  const std::size_t equals = argument.find('=');
  const std::string figure = argument.substr(0, equals);
  const double limit =
      equals == std::string::npos ? 0 : std::strtod(argument.c_str() + equals + 1, nullptr);
  if (limit <= 0) {
    throw std::invalid_argument("wrong argument '" + argument + "'");
  }
  if (figure == "argb" || figure == "i420") {
    report.AtMost("gdi " + figure + " " + size + ", times the hand loop",
                  TimesHandLoop(figure == "i420"), limit);
  } else if (figure == "paced15" || figure == "paced30") {
    const int fps = figure == "paced15" ? 15 : 30;
    report.AtLeast("gdi " + size + " at " + std::to_string(fps) + ", delivered a second, at least",
                   DeliveredPerSecond(fps), limit);
  } else {
    throw std::invalid_argument("unknown figure '" + figure + "'");
  }
}

}  // namespace

int main(int argc, char** argv) {
  int width = 0;
  int height = 0;
  if (argc < 3 || std::sscanf(argv[1], "%dx%d", &width, &height) != 2) {
    std::fputs("usage: share-bench WIDTHxHEIGHT FIGURE=LIMIT...\n", stderr);
    return 2;
  }
  try {
    const auto scene = OpenScene(width, height, false);
    if (GetSystemMetrics(SM_CXSCREEN) != width || GetSystemMetrics(SM_CYSCREEN) != height) {
      throw std::runtime_error("the primary monitor has another size");
    }
    Report report;
    for (int i = 2; i < argc; ++i) {
      Measure(report, argv[1], argv[i]);
    }
    return report.ExitCode();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "share-bench: %s\n", failure.what());
    return 2;
  }
}
