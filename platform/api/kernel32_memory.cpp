// kernel32: global memory.
#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/GlobalMemory.h"

using namespace vwin;

SIZE_T WINAPI GlobalSize(HGLOBAL handle) {
  VWIN_CALL(GlobalSize);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto memory = memory::Find(lock, handle);
  if (!memory) return SetLastError(ERROR_INVALID_HANDLE), 0;
  return memory->bytes.size();
}

LPVOID WINAPI GlobalLock(HGLOBAL handle) {
  VWIN_CALL(GlobalLock);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto memory = memory::Find(lock, handle);
  if (!memory) return SetLastError(ERROR_INVALID_HANDLE), nullptr;
  if (memory->bytes.empty()) return SetLastError(ERROR_DISCARDED), nullptr;
  ++memory->locks;
  return memory->bytes.data();
}

BOOL WINAPI GlobalUnlock(HGLOBAL handle) {
  VWIN_CALL_INFALLIBLE(GlobalUnlock);
  Lock lock;
  const auto memory = memory::Find(lock, handle);
  if (!memory) return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  if (memory->locks == 0) return SetLastError(ERROR_NOT_LOCKED), FALSE;
  SetLastError(ERROR_SUCCESS);
  return --memory->locks != 0;
}
