#pragma once

#include <cstdint>

namespace qx {

// How many operations of the library have ended by an exception on the calling thread, in all.
// An operation without an answer tells of it by nothing else.
std::uint32_t& EndedByException();

}  // namespace qx
