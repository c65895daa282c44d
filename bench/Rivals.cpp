#include "Rivals.h"

#include <cstdio>
#include <stdexcept>
#include <utility>
#include <vector>

#include "LibraryLoop.h"
#include "Report.h"

namespace {

void AppendPlane(std::vector<std::uint8_t>& bytes, const std::uint8_t* plane, int stride,
                 int rowBytes, int rows) {
  for (int row = 0; row < rows; ++row, plane += stride) {
    bytes.insert(bytes.end(), plane, plane + rowBytes);
  }
}

}  // namespace

Micros MeasureBoth(const Round& round, int turns, double (*byHand)(const Round&)) {
  std::vector<double> hand;
  std::vector<double> library;
  // The first round of a process is unlike all later ones, whoever runs it: the C
  // library hands out memory of this size in another way afterwards.
  Round warmUp = round;
  warmUp.frames = round.frames / 4;
  byHand(warmUp);
  MeasureLibrary(warmUp);
  for (int turn = 0; turn < turns; ++turn) {
    if (turn % 2 == 0) {
      hand.push_back(byHand(round));
    }
    library.push_back(MeasureLibrary(round).microsPerFrame);
    if (turn % 2 != 0) {
      hand.push_back(byHand(round));
    }
    std::fprintf(stderr, "  round %d: hand loop %.0f us, library %.0f us a frame\n", turn + 1,
                 hand.back(), library.back());
  }
  return {LowerHalfMean(hand), LowerHalfMean(library)};
}

double FirstPictureMillis(Round round, double (*byHand)(const Round&)) {
  constexpr int kStarts = 15;
  bool waiting = false;
  double micros = 0;
  round.frames = 1;
  round.onStart = [&, clock = round.micros] {
    waiting = true;
    micros = -clock();
  };
  round.afterPicture = [&, clock = round.micros, after = round.afterPicture] {
    if (std::exchange(waiting, false)) {
      micros += clock();
    }
    after();
  };
  std::vector<double> hand;
  std::vector<double> library;
  for (int start = 0; start < kStarts; ++start) {
    byHand(round);
    hand.push_back(micros / 1000);
    MeasureLibrary(round);
    library.push_back(micros / 1000);
  }
  std::fprintf(stderr, "  first picture: hand loop %.2f ms, library %.2f ms\n", Median(hand),
               Median(library));
  return Median(library) - Median(hand);
}

void DemandSamePicture(Round round, double (*byHand)(const Round&)) {
  std::vector<std::uint8_t> hand;
  std::vector<std::uint8_t> library;
  round.frames = 1;
  round.last = &hand;
  byHand(round);
  round.last = &library;
  MeasureLibrary(round);
  if (hand.empty() || hand != library) {
    throw std::runtime_error("the hand loop's picture is not the library's");
  }
}

void KeepLast(const Round& round, const IScreenCapture::ScreenFrameData& frame) {
  if (!round.last) {
    return;
  }
  if (frame.format == IScreenCapture::ScreenFrameFormatARGB) {
    AppendPlane(*round.last, frame.data, frame.stride, frame.width * 4, frame.height);
  } else {
    AppendPlane(*round.last, frame.dataY, frame.strideY, frame.width, frame.height);
    AppendPlane(*round.last, frame.dataU, frame.strideU, frame.width / 2, frame.height / 2);
    AppendPlane(*round.last, frame.dataV, frame.strideV, frame.width / 2, frame.height / 2);
  }
}
