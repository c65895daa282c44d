#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/HandleTable.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Text.h"

using namespace vwin;

namespace {

struct DesktopObject : Object {
  explicit DesktopObject(DWORD access_) : access(access_) {}
  const DWORD access;
};

}  // namespace

HDESK WINAPI OpenDesktopA(LPCSTR name, DWORD, BOOL, DWORD access) {
  VWIN_CALL(OpenDesktopA);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (name == nullptr || ToLower(name) != "default") {
    return SetLastError(ERROR_FILE_NOT_FOUND), nullptr;
  }
  Lock lock;
  return static_cast<HDESK>(handles::Add(lock, HandleKind::kDesktop,
                                         std::make_shared<DesktopObject>(access), "OpenDesktopA"));
}

BOOL WINAPI SwitchDesktop(HDESK desktop) {
  VWIN_CALL(SwitchDesktop);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto object = handles::Get<DesktopObject>(lock, HandleKind::kDesktop, desktop);
  if (!object) return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  const Machine& machine = TheMachine(lock);
  if ((object->access & DESKTOP_SWITCHDESKTOP) == 0 || machine.locked || machine.secureDesktop) {
    return SetLastError(ERROR_ACCESS_DENIED), FALSE;
  }
  return TRUE;
}

BOOL WINAPI CloseDesktop(HDESK desktop) {
  VWIN_CALL_INFALLIBLE(CloseDesktop);
  Lock lock;
  if (handles::Remove(lock, HandleKind::kDesktop, desktop)) return TRUE;
  ledger::Misuse(lock, "CloseDesktop: no open desktop");
  return SetLastError(ERROR_INVALID_HANDLE), FALSE;
}
