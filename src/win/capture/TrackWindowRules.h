#pragma once

#include <windows.h>

#include <vector>

#include "win/util/WindowHelpers.h"

namespace qx {

// An application that shows its content in a second window: what its main window
// looks like, and what the second one does.
struct MainTrackWindowEntry {
  WindowsUtil::TrackWindowRule source;  // class and required style only
  WindowsUtil::TrackWindowRule target;
};

// The applications known. The first entry that a window matches counts.
std::vector<MainTrackWindowEntry> MakeTrackWindowRules();

}  // namespace qx
