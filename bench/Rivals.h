#pragma once

#include "Round.h"

// Processor time a frame, in microseconds.
struct Micros {
  double hand = 0;
  double library = 0;

  // The library's as a multiple of the loop's.
  double Times() const { return library / hand; }
};

// Measures the library and a loop by hand in turns, `turns` times a round each, now the
// one first, now the other. The quieter half of each one's rounds counts: what else the
// machine does only ever adds. Many short turns tell more than a few long ones, as both
// sides then meet the same machine.
Micros MeasureBoth(const Round& round, int turns, double (*byHand)(const Round&));

// Milliseconds by the round's clock from the start of a share to its first picture, less
// those of the loop by hand: medians of starts in turns.
double FirstPictureMillis(Round round, double (*byHand)(const Round&));

// Throws std::runtime_error unless both sides show the same picture of a screen that does
// not change.
void DemandSamePicture(Round round, double (*byHand)(const Round&));

// For both sides: this is the round's last picture.
void KeepLast(const Round& round, const IScreenCapture::ScreenFrameData& frame);
