#include "platform/control/Ledger.h"

#include <algorithm>
#include <iterator>

namespace vwin::control {
namespace {

bool IsKeptForLife(const ledger::Entry& entry) {
  return std::any_of(std::begin(kKeptForLife), std::end(kKeptForLife),
                     [&](const char* kind) { return entry.kind == kind; });
}

}  // namespace

LedgerSnapshot Snapshot() {
  Lock lock;
  return ledger::Outstanding(lock);
}

std::string Difference(const LedgerSnapshot& before) {
  LedgerSnapshot known = before;
  std::string text;
  for (const ledger::Entry& entry : Snapshot()) {
    const auto same = std::find_if(known.begin(), known.end(), [&](const ledger::Entry& other) {
      return other.kind == entry.kind && other.key == entry.key;
    });
    if (same != known.end()) {
      known.erase(same);
    } else if (!IsKeptForLife(entry)) {
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
