#include "platform/control/Ledger.h"

#include <algorithm>

namespace vwin::control {

LedgerSnapshot Snapshot() {
  Lock lock;
  return ledger::Outstanding(lock);
}

std::string Difference(const LedgerSnapshot& before) {
  LedgerSnapshot known = before;
  std::string text;
  Lock lock;
  for (const ledger::Entry& entry : ledger::Outstanding(lock, kKeptForLife)) {
    const auto same = std::find_if(known.begin(), known.end(), [&](const ledger::Entry& other) {
      return other.kind == entry.kind && other.key == entry.key;
    });
    if (same != known.end()) {
      known.erase(same);
    } else {
      text +=
          entry.kind + " of " + entry.call + " on thread " + std::to_string(entry.thread) + "\n";
    }
  }
  return text;
}

std::vector<std::string> Misuses() {
  Lock lock;
  return ledger::Misuses(lock);
}

std::vector<std::string> TakeMisuses() {
  Lock lock;
  std::vector<std::string> misuses = ledger::Misuses(lock);
  ledger::ForgetMisuses(lock);
  return misuses;
}

}  // namespace vwin::control
