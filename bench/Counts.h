// What the library does a frame in steady state, counted on virtual Windows. Each
// measures a round of the library, and throws std::runtime_error when nothing was counted
// where something has to be.
#pragma once

#include <string>
#include <vector>

#include "Round.h"

// Bytes that the library copies on the processor, as a multiple of the frame's.
double CopiedTimesFrame(Round round);

// Calls of these functions of the system, which it has to call to begin with.
double CallsPerFrame(Round round, const std::vector<std::string>& functions);

// How much memory the pictures take that a running share holds, as a multiple of the
// frame's: the library's own blocks of a picture's size, and the DIB sections, staging
// textures and surfaces in system memory that it has from the system. Not what a graphics
// card holds, nor the system's own pictures of the screen, which are the stand-in's here.
double PictureMemoryTimesFrame(Round round);

// Allocations that the library makes. Tells on stderr where the first one came from.
double AllocationsPerFrame(Round round);
