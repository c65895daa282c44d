#pragma once

#include <cstdio>
#include <optional>
#include <vector>

#include "sources.h"

// Shows a person a numbered table of all sources on `out` and asks for a number,
// read as a line of `in`, until it is one of the table's. None when the input
// ends before.
std::optional<Target> PickSource(const std::vector<IScreenCapture::DesktopInfo>& desktops,
                                 const std::vector<WindowSource>& windows, std::FILE* in,
                                 std::FILE* out);
