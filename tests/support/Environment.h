#pragma once

namespace qx::test {

// Adds what surrounds every test: on virtual Windows the check that the test left
// the machine's ledger as it found it, and that nothing was misused.
void AddListeners();

}  // namespace qx::test
