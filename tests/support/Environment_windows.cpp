#include "tests/support/Environment.h"

namespace qx::test {

void AddListeners() {}

void PrintThreads() {}

}  // namespace qx::test
