// What virtual Windows does where C++ has no portable word for it. Only
// src/win/util may include this header, for its virtual bodies.
#pragma once

#include <atomic>
#include <cstdint>

namespace vwin {

// Thrown where Windows would raise a structured exception. It derives from
// nothing, so that no catch of std::exception takes it for an ordinary failure. Its
// destructor has a body in one library, and so the type has one description in the
// process: some C++ libraries know a type by the address of that.
struct __attribute__((visibility("default"))) StructuredException {
  explicit StructuredException(uint32_t number) : code(number) {}
  StructuredException(const StructuredException&) = default;
  StructuredException& operator=(const StructuredException&) = default;
  virtual ~StructuredException();

  uint32_t code;
};

// Redirects the function of the stand-in whose address is in `function`; what runs it as
// it was is stored there before. False, and nothing has changed, for one that can't be
// redirected, or is already.
bool Redirect(std::atomic<void*>& function, void* detour);

}  // namespace vwin
