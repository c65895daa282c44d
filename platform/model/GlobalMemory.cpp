#include "platform/model/GlobalMemory.h"

#include "platform/model/Ledger.h"

namespace vwin::memory {

HGLOBAL Allocate(Lock& lock, const char* call) {
  return handles::Add(lock, HandleKind::kMemory, std::make_shared<GlobalMemory>(), call);
}

std::shared_ptr<GlobalMemory> Find(Lock& lock, HGLOBAL handle) {
  return handles::Get<GlobalMemory>(lock, HandleKind::kMemory, handle);
}

bool Free(Lock& lock, HGLOBAL handle) {
  const auto memory = Find(lock, handle);
  if (memory && memory->locks != 0) ledger::Misuse(lock, "global memory freed while it is locked");
  return handles::Remove(lock, HandleKind::kMemory, handle);
}

}  // namespace vwin::memory
