#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/Modules.h"
#include "platform/model/Text.h"
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

BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR nameOrAddress, HMODULE* module) {
  VWIN_CALL(GetModuleHandleExW);
  if (module != nullptr) *module = nullptr;
  if (fault) return SetLastError(fault->win32), FALSE;
  constexpr DWORD kContradiction =
      GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (module == nullptr || nameOrAddress == nullptr || (flags & kContradiction) == kContradiction) {
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  }
  Lock lock;
  *module = (flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) != 0
                ? modules::At(lock, nameOrAddress)
                : modules::Loaded(lock, ToNarrow(nameOrAddress));
  if (*module == nullptr) return SetLastError(ERROR_MOD_NOT_FOUND), FALSE;
  if ((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0) {
    modules::Pin(lock, *module, "GetModuleHandleExW");
  } else if ((flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == 0) {
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

// Of the flags only the one that the library uses, which looks in the system's folder.
HMODULE WINAPI LoadLibraryExW(LPCWSTR name, HANDLE reserved, DWORD flags) {
  VWIN_CALL(LoadLibraryExW);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (name == nullptr || reserved != nullptr || flags != LOAD_LIBRARY_SEARCH_SYSTEM32) {
    return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  }
  Lock lock;
  const HMODULE module = modules::Load(lock, ToNarrow(name), "LoadLibraryExW");
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
