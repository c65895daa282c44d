#pragma once

#include "Round.h"

// The rival of the library: a loop that a host would write itself with the same
// system calls, without any library between.
//
// Captures the pictures of the round as ARGB or, with `i420`, converted by a bare
// call of libyuv, on a thread of its own. Returns the processor time of that thread
// a frame, in microseconds. Throws std::runtime_error when a capture fails.
double HandLoopMicrosPerFrame(const Round& round);
