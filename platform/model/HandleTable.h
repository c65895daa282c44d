// The one table behind every handle of the machine.
//
// A handle is an index and a generation in 32 bits, sign-extended to pointer
// size, as the handles of windows and monitors are on Windows: a stale handle
// names nothing, and a handle of one kind is no handle of another. All functions
// are called with the machine's lock held.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/model/Scheduler.h"

namespace vwin {

enum class HandleKind : std::uint8_t {
  kNone,
  kWindow,
  kMonitor,
  kDC,
  kBitmap,
  kBrush,
  kCursor,
  kIcon,
  kImage,
  kGraphics,
  kThumbnail,
  kMemory,
  kEvent,
  kThread,
  kProcess,
  kDesktop,
  kModule,
  kRegistryKey,
};

// Base of what a handle can name.
struct Object {
  virtual ~Object() = default;
};

namespace handles {

// Enters `object` and notes it in the ledger as handed out by `call`. With a null
// `call` the object belongs to the machine itself (another program's window, a
// monitor) and the ledger does not count it.
void* Add(Lock& lock, HandleKind kind, std::shared_ptr<Object> object, const char* call);
// Null for a stale handle or one of another kind.
std::shared_ptr<Object> Find(Lock& lock, HandleKind kind, const void* handle);
// Makes the handle stale. False when it names nothing of that kind.
bool Remove(Lock& lock, HandleKind kind, const void* handle);
// The kind of a live handle, kNone for any other value.
HandleKind KindOf(Lock& lock, const void* handle);

template <typename T>
std::shared_ptr<T> Get(Lock& lock, HandleKind kind, const void* handle) {
  return std::static_pointer_cast<T>(Find(lock, kind, handle));
}

}  // namespace handles
}  // namespace vwin
