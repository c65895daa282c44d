#pragma once

namespace qx::test {

// Adds what surrounds every test: on virtual Windows the check that the test left
// the machine's ledger as it found it, and that nothing was misused.
void AddListeners();

// Prints where every thread of the process stands, as far as the system tells.
void PrintThreads();

}  // namespace qx::test
