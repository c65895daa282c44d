#include "platform/model/HandleTable.h"

#include <deque>
#include <vector>

#include "platform/model/Ledger.h"

namespace vwin::handles {
namespace {

// From the lowest bit: 2 bits 0, as in all handles of Windows; 16 bits index; 14
// bits generation, whose top bit is that of the index's parity: every second handle
// is negative as a 32-bit number, so that nobody forgets to sign-extend. Index 0 is
// not used, and so no handle collides with null or a predefined registry key.
constexpr int kIndexShift = 2;
constexpr int kGenerationShift = 18;
constexpr std::uint32_t kIndexMask = 0xFFFF;
constexpr std::uint32_t kGenerationMask = 0x1FFF;
constexpr std::uint32_t kOddIndex = 0x2000;

struct Slot {
  HandleKind kind = HandleKind::kNone;
  std::uint32_t generation = 0;
  bool counted = false;
  std::shared_ptr<Object> object;
};

struct State {
  std::vector<Slot> slots{1};
  std::deque<std::uint32_t> free;  // reused as late as possible
};

State& TheState() {
  static State* const state = new State;
  return *state;
}

void* ToHandle(std::uint32_t index, const Slot& slot) {
  const std::uint32_t generation = slot.generation | ((index & 1) != 0 ? kOddIndex : 0);
  const std::uint32_t bits = (generation << kGenerationShift) | (index << kIndexShift);
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(static_cast<std::int32_t>(bits)));
}

// The index of a live handle, 0 for anything else.
std::uint32_t IndexOf(const void* handle) {
  const auto bits = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
  const std::uint32_t index = (bits >> kIndexShift) & kIndexMask;
  if (index == 0 || index >= TheState().slots.size()) return 0;
  const Slot& slot = TheState().slots[index];
  return slot.kind != HandleKind::kNone && ToHandle(index, slot) == handle ? index : 0;
}

const char* LedgerKind(HandleKind kind) {
  switch (kind) {
    case HandleKind::kNone:
      return "nothing";
    case HandleKind::kWindow:
      return "window";
    case HandleKind::kMonitor:
      return "monitor";
    case HandleKind::kDC:
      return "DC";
    case HandleKind::kBitmap:
      return "bitmap";
    case HandleKind::kBrush:
      return "brush";
    case HandleKind::kCursor:
      return "cursor";
    case HandleKind::kIcon:
      return "icon";
    case HandleKind::kImage:
      return "GDI+ image";
    case HandleKind::kGraphics:
      return "GDI+ graphics";
    case HandleKind::kThumbnail:
      return "DWM thumbnail";
    case HandleKind::kMemory:
      return "global memory";
    case HandleKind::kEvent:
      return "event";
    case HandleKind::kThread:
      return "thread handle";
    case HandleKind::kProcess:
      return "process handle";
    case HandleKind::kDesktop:
      return "desktop";
    case HandleKind::kModule:
      return "module";
    case HandleKind::kRegistryKey:
      return "registry key";
  }
  return "";
}

}  // namespace

void* Add(Lock& lock, HandleKind kind, std::shared_ptr<Object> object, const char* call) {
  State& state = TheState();
  std::uint32_t index = 0;
  // A few freed slots are kept back: a stale handle should stay one for long.
  constexpr std::size_t kKeptBack = 64;
  if (state.free.size() > kKeptBack) {
    index = state.free.front();
    state.free.pop_front();
  } else {
    index = static_cast<std::uint32_t>(state.slots.size());
    state.slots.emplace_back();
  }
  Slot& slot = state.slots[index];
  slot.kind = kind;
  slot.generation = slot.generation % kGenerationMask + 1;
  slot.counted = call != nullptr;
  slot.object = std::move(object);
  void* const handle = ToHandle(index, slot);
  if (slot.counted) {
    ledger::Take(lock, LedgerKind(kind), reinterpret_cast<std::uintptr_t>(handle), call);
  }
  return handle;
}

std::shared_ptr<Object> Find(Lock&, HandleKind kind, const void* handle) {
  const std::uint32_t index = IndexOf(handle);
  if (index == 0 || TheState().slots[index].kind != kind) return nullptr;
  return TheState().slots[index].object;
}

bool Remove(Lock& lock, HandleKind kind, const void* handle) {
  const std::uint32_t index = IndexOf(handle);
  if (index == 0 || TheState().slots[index].kind != kind) return false;
  Slot& slot = TheState().slots[index];
  if (slot.counted) {
    ledger::Return(lock, LedgerKind(kind), reinterpret_cast<std::uintptr_t>(handle));
  }
  slot.kind = HandleKind::kNone;
  slot.object.reset();
  TheState().free.push_back(index);
  return true;
}

HandleKind KindOf(Lock&, const void* handle) {
  const std::uint32_t index = IndexOf(handle);
  return index == 0 ? HandleKind::kNone : TheState().slots[index].kind;
}

}  // namespace vwin::handles
