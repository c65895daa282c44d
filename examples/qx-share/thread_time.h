#pragma once

// Processor time of the calling thread so far, in microseconds. Under Wine it
// moves in steps of 10 ms, so take differences over many frames.
double ThreadMicros();

// The same of the whole process.
double ProcessMicros();
