#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace qx::fuzz {

// Ends the process when a promise of the library is broken: that is a finding.
inline void Promise(bool kept, const std::string& promise) {
  if (!kept) {
    std::fprintf(stderr, "broken promise: %s\n", promise.c_str());
    std::abort();
  }
}

}  // namespace qx::fuzz
