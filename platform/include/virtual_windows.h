// What virtual Windows does where C++ has no portable word for it. Only
// src/win/util may include this header, for its virtual bodies.
#pragma once

#include <cstdint>

namespace vwin {

// Thrown where Windows would raise a structured exception. It derives from
// nothing, so that no catch of std::exception takes it for an ordinary failure.
struct StructuredException {
  uint32_t code;
};

}  // namespace vwin
