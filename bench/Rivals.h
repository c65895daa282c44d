#pragma once

#include "Round.h"

// Processor time a frame, in microseconds.
struct Micros {
  double hand = 0;
  double library = 0;
};

// Measures the library and a loop by hand in turns, `turns` times a round each. The
// quieter half of each one's rounds counts: what else the machine does only ever adds.
Micros MeasureBoth(const Round& round, int turns, double (*byHand)(const Round&));
