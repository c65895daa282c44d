#include "platform/model/Session.h"

#include <map>
#include <memory>

#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"

namespace vwin::session {
namespace {

constexpr const char* kLedgerKind = "WTS memory";

using Records = std::map<const void*, std::unique_ptr<WTSINFOEXW>>;
Records& TheRecords(Lock&) {
  static Records* const records = new Records;
  return *records;
}

}  // namespace

WTSINFOEXW* NewRecord(Lock& lock, const char* call) {
  const Machine& machine = TheMachine(lock);
  auto record = std::make_unique<WTSINFOEXW>();
  record->Level = 1;
  WTSINFOEX_LEVEL1_W& info = record->Data.WTSInfoExLevel1;
  info.SessionId = 1;
  info.SessionState = WTSActive;
  // Windows 7 has the two values the wrong way round.
  const bool inverted = machine.version < kWindows8;
  info.SessionFlags = machine.locked != inverted ? WTS_SESSIONSTATE_LOCK : WTS_SESSIONSTATE_UNLOCK;
  WTSINFOEXW* const result = record.get();
  ledger::Take(lock, kLedgerKind, reinterpret_cast<std::uintptr_t>(result), call);
  TheRecords(lock).emplace(result, std::move(record));
  return result;
}

bool FreeRecord(Lock& lock, const void* memory) {
  if (TheRecords(lock).erase(memory) == 0) return false;
  ledger::Return(lock, kLedgerKind, reinterpret_cast<std::uintptr_t>(memory));
  return true;
}

}  // namespace vwin::session
