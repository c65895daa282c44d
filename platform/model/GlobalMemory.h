// Global memory: blocks that are named by a handle and have an address while they are
// locked. All functions are called with the machine's lock held.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/model/HandleTable.h"
#include "platform/model/Scheduler.h"

namespace vwin {

struct GlobalMemory : Object {
  std::vector<std::uint8_t> bytes;
  int locks = 0;
};

namespace memory {

// Of no size yet.
HGLOBAL Allocate(Lock& lock, const char* call);
std::shared_ptr<GlobalMemory> Find(Lock& lock, HGLOBAL handle);
// False for a stale handle. Freeing what is locked is noted as misuse.
bool Free(Lock& lock, HGLOBAL handle);

}  // namespace memory
}  // namespace vwin
