#pragma once

#include "Round.h"

// The rival of the GDI engine: the best loop that a host could write itself with the same
// system calls, without any library between.
//
// Copies the round's rectangle of the screen into a DIB section, which is the picture or,
// with `i420`, is converted by a bare call of libyuv, on a thread of its own. Returns the
// processor time of that thread a frame, in microseconds. Throws std::runtime_error when a
// capture fails.
double HandLoopMicrosPerFrame(const Round& round);
