#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/Modules.h"
#include "platform/model/Threads.h"

using namespace vwin;

HMODULE WINAPI GetModuleHandleA(LPCSTR name) {
  VWIN_CALL(GetModuleHandleA);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const HMODULE module = name == nullptr ? modules::Program(lock) : modules::Loaded(lock, name);
  if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return module;
}

// By address only, which is all that the library asks for.
BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR nameOrAddress, HMODULE* module) {
  VWIN_CALL(GetModuleHandleExW);
  if (module != nullptr) *module = nullptr;
  if (fault) return SetLastError(fault->win32), FALSE;
  if (module == nullptr || (flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) == 0) {
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  }
  Lock lock;
  *module = modules::At(lock, nameOrAddress);
  if (*module == nullptr) return SetLastError(ERROR_MOD_NOT_FOUND), FALSE;
  if ((flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == 0) {
    modules::AddReference(lock, *module, "GetModuleHandleExW");
  }
  return TRUE;
}

HMODULE WINAPI LoadLibraryA(LPCSTR name) {
  VWIN_CALL(LoadLibraryA);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (name == nullptr) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  Lock lock;
  const HMODULE module = modules::Load(lock, name, "LoadLibraryA");
  if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return module;
}

BOOL WINAPI FreeLibrary(HMODULE module) {
  VWIN_CALL_INFALLIBLE(FreeLibrary);
  Lock lock;
  if (modules::Free(lock, module)) return TRUE;
  ledger::Misuse(lock, "FreeLibrary: no module");
  return SetLastError(ERROR_MOD_NOT_FOUND), FALSE;
}

void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD) {
  VWIN_CALL_INFALLIBLE(FreeLibraryAndExitThread);
  {
    Lock lock;
    if (!modules::Free(lock, module)) {
      ledger::Misuse(lock, "FreeLibraryAndExitThread: no module");
    }
  }
  threads::Exit();
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  VWIN_CALL(GetProcAddress);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (name == nullptr) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  Lock lock;
  const FARPROC function = modules::Export(lock, module, name);
  if (function == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return function;
}
