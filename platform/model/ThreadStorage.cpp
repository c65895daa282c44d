#include "platform/model/ThreadStorage.h"

#include <map>
#include <thread>
#include <utility>
#include <vector>

namespace vwin::storage {

namespace {

struct Slot {
  PFLS_CALLBACK_FUNCTION giveBack;
  std::map<std::thread::id, void*> values;  // none is null
};

std::map<DWORD, Slot>& slots(Lock&) {
  static std::map<DWORD, Slot> all;
  return all;
}

void giveBack(const std::vector<std::pair<PFLS_CALLBACK_FUNCTION, void*>>& values) {
  for (const auto& [function, value] : values) {
    if (function) function(value);
  }
}

// Of a thread that has a value somewhere.
struct ThreadEnd {
  ~ThreadEnd() {
    std::vector<std::pair<PFLS_CALLBACK_FUNCTION, void*>> left;
    {
      Lock lock;
      for (auto& [number, slot] : slots(lock)) {
        const auto value = slot.values.extract(std::this_thread::get_id());
        if (value) left.emplace_back(slot.giveBack, value.mapped());
      }
    }
    giveBack(left);
  }
};

}  // namespace

DWORD AddSlot(Lock& lock, PFLS_CALLBACK_FUNCTION giveBack) {
  static DWORD last = 0;
  slots(lock).emplace(++last, Slot{giveBack, {}});
  return last;
}

bool RemoveSlot(DWORD number) {
  std::vector<std::pair<PFLS_CALLBACK_FUNCTION, void*>> left;
  {
    Lock lock;
    const auto slot = slots(lock).extract(number);
    if (!slot) return false;
    for (const auto& [thread, value] : slot.mapped().values)
      left.emplace_back(slot.mapped().giveBack, value);
  }
  giveBack(left);
  return true;
}

void* Get(Lock& lock, DWORD number) {
  const auto slot = slots(lock).find(number);
  if (slot == slots(lock).end()) return nullptr;
  const auto value = slot->second.values.find(std::this_thread::get_id());
  return value == slot->second.values.end() ? nullptr : value->second;
}

bool Set(Lock& lock, DWORD number, void* value) {
  const auto slot = slots(lock).find(number);
  if (slot == slots(lock).end()) return false;
  thread_local ThreadEnd atTheEnd;
  slot->second.values.erase(std::this_thread::get_id());
  if (value) slot->second.values.emplace(std::this_thread::get_id(), value);
  return true;
}

}  // namespace vwin::storage
