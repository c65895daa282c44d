#include <windows.h>

#include <algorithm>

#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/Registry.h"
#include "platform/model/Text.h"

using namespace vwin;

namespace {

std::shared_ptr<RegistryKey> FindKey(Lock& lock, HKEY key) {
  return handles::Get<RegistryKey>(lock, HandleKind::kRegistryKey, key);
}

LSTATUS Status(const Fault& fault) { return static_cast<LSTATUS>(fault.win32); }

}  // namespace

LSTATUS WINAPI RegOpenKeyExA(HKEY root, LPCSTR subKey, DWORD, REGSAM access, PHKEY key) {
  VWIN_CALL(RegOpenKeyExA);
  if (key == nullptr) return ERROR_INVALID_PARAMETER;
  *key = nullptr;
  if (fault) return Status(*fault);
  Lock lock;
  const auto path = registry::PathOf(lock, root, subKey == nullptr ? "" : subKey);
  if (!path) return ERROR_INVALID_HANDLE;
  if (registry::ValuesOf(lock, *path) == nullptr) return ERROR_FILE_NOT_FOUND;
  *key = static_cast<HKEY>(handles::Add(lock, HandleKind::kRegistryKey,
                                        std::make_shared<RegistryKey>(*path, access),
                                        "RegOpenKeyExA"));
  return ERROR_SUCCESS;
}

LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size) {
  VWIN_CALL(RegQueryValueExA);
  if (fault) return Status(*fault);
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
  Lock lock;
  const auto object = FindKey(lock, key);
  if (!object) return ERROR_INVALID_HANDLE;
  if ((object->access & KEY_QUERY_VALUE) == 0) return ERROR_ACCESS_DENIED;
  const RegistryValues* const values = registry::ValuesOf(lock, object->path);
  if (values == nullptr) return ERROR_FILE_NOT_FOUND;
  const auto value = values->find(ToLower(name == nullptr ? "" : name));
  if (value == values->end()) return ERROR_FILE_NOT_FOUND;

  if (type != nullptr) *type = value->second.type;
  if (size == nullptr) return ERROR_SUCCESS;
  const DWORD room = *size;
  *size = static_cast<DWORD>(value->second.data.size());
  if (data == nullptr) return ERROR_SUCCESS;
  if (room < *size) return ERROR_MORE_DATA;
  std::copy(value->second.data.begin(), value->second.data.end(), data);
  return ERROR_SUCCESS;
}

LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD, DWORD type, const BYTE* data,
                              DWORD size) {
  VWIN_CALL(RegSetValueExA);
  if (fault) return Status(*fault);
  Lock lock;
  const auto object = FindKey(lock, key);
  if (!object) return ERROR_INVALID_HANDLE;
  if ((object->access & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  RegistryValues* const values = registry::ValuesOf(lock, object->path);
  if (values == nullptr) return ERROR_FILE_NOT_FOUND;
  (*values)[ToLower(name == nullptr ? "" : name)] = {type, {data, data + size}};
  return ERROR_SUCCESS;
}

LSTATUS WINAPI RegCloseKey(HKEY key) {
  VWIN_CALL_INFALLIBLE(RegCloseKey);
  Lock lock;
  if (key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE) return ERROR_SUCCESS;
  if (handles::Remove(lock, HandleKind::kRegistryKey, key)) return ERROR_SUCCESS;
  ledger::Misuse(lock, "RegCloseKey: no open key");
  return ERROR_INVALID_HANDLE;
}
