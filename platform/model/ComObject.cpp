#include "platform/model/ComObject.h"

#include <string>
#include <vector>

#include "platform/model/Ledger.h"

namespace vwin {
namespace {

constexpr const char* kLedgerKind = "COM reference";

std::vector<const ComObject*>& Shells(Lock&) {
  static auto* const shells = new std::vector<const ComObject*>;
  return *shells;
}

}  // namespace

ComObject::ComObject(const char* name, const char* call) : m_name(name) {
  Lock lock;
  ledger::Take(lock, kLedgerKind, reinterpret_cast<std::uintptr_t>(this), call);
}

ULONG ComObject::addRef() {
  checkAlive("AddRef");
  return ++m_count;
}

bool ComObject::addRefIfAlive() {
  ULONG count = m_count.load();
  while (count != 0) {
    if (m_count.compare_exchange_weak(count, count + 1)) return true;
  }
  return false;
}

ULONG ComObject::release() {
  ULONG count = m_count.load();
  do {
    if (count == 0) {
      checkAlive("Release");
      return 0;
    }
  } while (!m_count.compare_exchange_weak(count, count - 1));
  if (count == 1) {
    {
      Lock lock;
      ledger::Return(lock, kLedgerKind, reinterpret_cast<std::uintptr_t>(this));
      Shells(lock).push_back(this);
      onLastRelease(lock);
    }
    afterLastRelease();
  }
  return count - 1;
}

void ComObject::checkAlive(const char* call) {
  if (m_count.load() != 0) return;
  Lock lock;
  ledger::Misuse(lock, std::string(call) + ": the " + m_name + " was released before");
}

HRESULT ComObject::outOfOrder(Lock& lock, const char* what, HRESULT result) {
  ledger::Misuse(lock, what);
  return result;
}

void NotProvided(const char* function) {
  Lock lock;
  ledger::Misuse(lock, std::string(function) + ": virtual Windows does not have it");
}

}  // namespace vwin
