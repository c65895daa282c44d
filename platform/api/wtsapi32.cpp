#include <wtsapi32.h>

#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Session.h"

using namespace vwin;

BOOL WINAPI WTSQuerySessionInformationW(HANDLE server, DWORD sessionId, WTS_INFO_CLASS infoClass,
                                        LPWSTR* buffer, DWORD* bytesReturned) {
  VWIN_CALL(WTSQuerySessionInformationW);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (server != WTS_CURRENT_SERVER_HANDLE || sessionId != WTS_CURRENT_SESSION ||
      infoClass != WTSSessionInfoEx || buffer == nullptr || bytesReturned == nullptr) {
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  }
  Lock lock;
  const Machine& machine = TheMachine(lock);
  if (machine.sessionQuery == SessionQuery::kFails) {
    return SetLastError(machine.sessionQueryError), FALSE;
  }
  *buffer = reinterpret_cast<LPWSTR>(session::NewRecord(lock, "WTSQuerySessionInformationW"));
  *bytesReturned = machine.sessionQuery == SessionQuery::kNoBytes ? 0 : sizeof(WTSINFOEXW);
  return TRUE;
}

void WINAPI WTSFreeMemory(PVOID memory) {
  VWIN_CALL_INFALLIBLE(WTSFreeMemory);
  Lock lock;
  if (!session::FreeRecord(lock, memory)) {
    ledger::Misuse(lock, "WTSFreeMemory: memory of somebody else");
  }
}
