#pragma once

#include "Round.h"

// The rival of the library's magnifier, for the primary monitor: what a host would write
// itself with the same calls of Magnification.dll and Direct3D 9, without any library
// between. A magnifier window on a thread of its own draws the pictures, without the
// windows that the round excludes, in the round's picture size or that of its rectangle.
// With the dynamic check the screen's duplication says whether there is anything to draw.
//
// Returns the processor time a frame, in microseconds; throws std::runtime_error when a
// capture fails.
double MagnifierLoopMicrosPerFrame(const Round& round);
