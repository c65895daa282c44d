#pragma once

#include <chrono>

namespace qx::test {

// Ends the process with a failure when it runs longer than `limit`, after saying
// on standard error where its threads stand, as far as the system tells.
void StartWatchdog(std::chrono::seconds limit);

// Prints where every thread of the process stands; the watchdog's own part.
void PrintThreads();

}  // namespace qx::test
