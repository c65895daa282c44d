#include "common/EndedByException.h"

namespace qx {

std::uint32_t& EndedByException() {
  thread_local std::uint32_t count = 0;
  return count;
}

}  // namespace qx
