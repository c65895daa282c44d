#pragma once

#include <cstdint>

struct LibraryFigures {
  double microsPerFrame = 0;   // processor time of the capture thread
  double framesPerSecond = 0;  // delivered
};

// Shares the primary monitor through the GDI engine, without cursor and prompt
// frame, until `frames` frames have been measured. All that the capture thread
// does from one frame to the next counts. Throws std::runtime_error when the
// share does not start, ends, or delivers frames of another size than the
// monitor's.
LibraryFigures MeasureLibrary(int frames, int fps, bool i420);
