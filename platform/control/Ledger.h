// The test side of the ledger: what a scenario has left behind, and what it did
// that Windows would punish.
#pragma once

#include <string>
#include <vector>

#include "platform/model/Ledger.h"

namespace vwin::control {

// What the library keeps for the process's life: the one list of what Difference
// excuses.
inline constexpr const char* kKeptForLife[] = {"window class", "module", "pinned module",
                                               "GDI+ start"};

using LedgerSnapshot = std::vector<ledger::Entry>;

LedgerSnapshot Snapshot();
// One line for everything that is out now and was not in `before`, but for what is
// kept for life; empty when nothing is.
std::string Difference(const LedgerSnapshot& before);
// All misuses so far, in order.
std::vector<std::string> Misuses();
// The same, and forgets them: for a test that meant them.
std::vector<std::string> TakeMisuses();

}  // namespace vwin::control
