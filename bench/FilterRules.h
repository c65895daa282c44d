#pragma once

#include <windows.h>

#include <vector>

#include "qx-screen-capture.h"

constexpr int kFilterWindows = 200;
constexpr int kFilteredWindows = 16;  // of these, by the rules

// 64 rules for at least kFilterWindows windows. Half of the rules name windows, a quarter
// processes, a quarter processes and titles. For all windows that don't match every rule
// has to be asked.
std::vector<IScreenCapture::FilterWindowInfo> MakeFilterRules(const std::vector<HWND>& windows);
