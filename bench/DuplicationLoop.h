#pragma once

#include "Round.h"

// The rival of the library's desktop duplication, for the primary monitor: what a host
// would write itself with the same calls of Direct3D, without any library between. Both
// return the processor time a frame, in microseconds, and throw std::runtime_error when
// a capture fails.

// Draws each picture of a screen that changes into a target of the round's picture size
// and copies its rows out of a staging texture, both made once.
double DuplicationLoopMicrosPerFrame(const Round& round);

// Asks what a share asks in a tick of a still screen, and waits as a share does.
double StillLoopMicrosPerFrame(const Round& round);
