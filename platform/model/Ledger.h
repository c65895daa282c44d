// Everything that the machine has handed out and not got back, and every misuse
// it has seen. All functions are called with the machine's lock held.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/model/Scheduler.h"

namespace vwin::ledger {

// `kind` is a word such as "window", "DC", "bitmap", "COM reference", "thread",
// "timer", "module"; `key` identifies the thing within its kind; `call` is the
// function that handed it out. The creating thread is noted as well.
void Take(Lock& lock, const char* kind, std::uintptr_t key, const char* call);
void Return(Lock& lock, const char* kind, std::uintptr_t key);

// Notes a use that Windows would punish later, as "ReleaseDC: the DC belongs to
// another window".
void Misuse(Lock& lock, std::string what);

struct Entry {
  std::string kind;
  std::uintptr_t key;
  std::string call;
  std::uint32_t thread;
};
// Those of the kinds in `without` are passed over at no cost, however many there are.
std::vector<Entry> Outstanding(Lock& lock, std::span<const char* const> without = {});
std::vector<std::string> Misuses(Lock& lock);
void ForgetMisuses(Lock& lock);

}  // namespace vwin::ledger
