#include "platform/model/Ledger.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

namespace vwin::ledger {
namespace {

struct State {
  // A thing can be out several times, as a module that was loaded twice.
  std::multimap<std::pair<std::string, std::uintptr_t>, Entry> entries;
  std::vector<std::string> misuses;
};

State& TheState() {
  static State* const state = new State;
  return *state;
}

}  // namespace

void Take(Lock&, const char* kind, std::uintptr_t key, const char* call) {
  TheState().entries.emplace(std::make_pair(kind, key),
                             Entry{kind, key, call, scheduler::CurrentThreadId()});
}

void Return(Lock& lock, const char* kind, std::uintptr_t key) {
  const auto entry = TheState().entries.find({kind, key});
  if (entry == TheState().entries.end()) {
    Misuse(lock, std::string(kind) + " given back that was not out");
  } else {
    TheState().entries.erase(entry);
  }
}

void Misuse(Lock&, std::string what) { TheState().misuses.push_back(std::move(what)); }

std::vector<Entry> Outstanding(Lock&, std::span<const char* const> without) {
  const auto& all = TheState().entries;
  std::vector<Entry> entries;
  for (auto next = all.begin(); next != all.end();) {
    const std::string& kind = next->first.first;
    if (std::find(without.begin(), without.end(), kind) != without.end()) {
      next = all.upper_bound({kind, std::numeric_limits<std::uintptr_t>::max()});
    } else {
      entries.push_back(next++->second);
    }
  }
  return entries;
}

std::vector<std::string> Misuses(Lock&) { return TheState().misuses; }

void ForgetMisuses(Lock&) { TheState().misuses.clear(); }

}  // namespace vwin::ledger
