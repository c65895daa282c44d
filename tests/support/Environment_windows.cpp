#include "tests/support/Environment.h"

namespace qx::test {

void AddListeners() {}

}  // namespace qx::test
