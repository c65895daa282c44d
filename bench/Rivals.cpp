#include "Rivals.h"

#include <cstdio>
#include <vector>

#include "LibraryLoop.h"
#include "Report.h"

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
    hand.push_back(byHand(round));
    library.push_back(MeasureLibrary(round).microsPerFrame);
    std::fprintf(stderr, "  round %d: hand loop %.0f us, library %.0f us a frame\n", turn + 1,
                 hand.back(), library.back());
  }
  return {LowerHalfMean(hand), LowerHalfMean(library)};
}
