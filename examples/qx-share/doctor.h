#pragma once

#include <cstdio>

#include "qx-screen-capture.h"

// What this machine can do and why: its system, its adapters, and each engine tried for
// half a second on each monitor, with the library's words where one refuses. As text for
// a person, or as one JSON object. Takes the library's log for as long as it runs.
void Diagnose(IScreenCapture& capture, bool json, std::FILE* out);
