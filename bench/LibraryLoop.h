#pragma once

#include "Round.h"

struct LibraryFigures {
  double microsPerFrame = 0;   // processor time by the round's clock
  double framesPerSecond = 0;  // delivered
  SIZE picture = {};           // delivered
};

// Shares what the round names through its engine, without cursor and prompt frame, until its frames
// have been measured. All that is done from one frame to the next counts. Throws std::runtime_error
// when the share does not start, pauses, ends, goes over to another engine, or delivers frames of
// another size.
LibraryFigures MeasureLibrary(const Round& round);
