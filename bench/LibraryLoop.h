#pragma once

#include "Round.h"

struct LibraryFigures {
  double microsPerFrame = 0;   // processor time of the capture thread
  double framesPerSecond = 0;  // delivered
  SIZE picture = {};           // delivered
};

// Shares what the round names through its engine, without cursor and prompt frame, until its frames
// have been measured. All that the capture thread does from one frame to the next counts. Throws
// std::runtime_error when the share does not start, pauses, ends, or delivers frames of another
// size.
LibraryFigures MeasureLibrary(const Round& round);
