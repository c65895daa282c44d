#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/ThreadStorage.h"

using namespace vwin;

DWORD WINAPI FlsAlloc(PFLS_CALLBACK_FUNCTION callback) {
  VWIN_CALL(FlsAlloc);
  if (fault) return SetLastError(fault->win32), FLS_OUT_OF_INDEXES;
  Lock lock;
  return storage::AddSlot(lock, callback);
}

BOOL WINAPI FlsFree(DWORD index) {
  VWIN_CALL_INFALLIBLE(FlsFree);
  return storage::RemoveSlot(index) ? TRUE : (SetLastError(ERROR_INVALID_PARAMETER), FALSE);
}

PVOID WINAPI FlsGetValue(DWORD index) {
  VWIN_CALL_INFALLIBLE(FlsGetValue);
  Lock lock;
  return storage::Get(lock, index);
}

BOOL WINAPI FlsSetValue(DWORD index, PVOID value) {
  VWIN_CALL(FlsSetValue);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  return storage::Set(lock, index, value) ? TRUE : (SetLastError(ERROR_INVALID_PARAMETER), FALSE);
}
