#include <gtest/gtest.h>

#include "tests/c/c_host.h"

namespace {

TEST(CHost, ListsAndShares) {
  for (int i = 0; i < 2; ++i) {
    const char* const wrong = run_c_host();
    EXPECT_EQ(wrong, nullptr) << wrong;
  }
}

}  // namespace
