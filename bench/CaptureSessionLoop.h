#pragma once

#include "Round.h"

// The rival of the library's Windows.Graphics.Capture: what a host would write itself with
// the same calls of the system, without any library between, for the round's window or the
// primary monitor. All return the processor time a frame, in microseconds, and throw
// std::runtime_error when a capture fails.

// Draws each picture of a source that changes into a target of the round's picture size
// and copies its rows out of a staging texture. Of a window the border is cut off first.
double CaptureSessionLoopMicrosPerFrame(const Round& round);

// Ask what a share asks in a tick of a still source, and wait as a share does: one looks
// into the pool each time, the other one asks the screen's duplication first.
double EmptyPoolLoopMicrosPerFrame(const Round& round);
double StillSessionLoopMicrosPerFrame(const Round& round);
