#include <windows.h>

#include <algorithm>

#include "platform/model/Faults.h"
#include "platform/model/HandleTable.h"
#include "platform/model/Machine.h"
#include "platform/model/Text.h"

using namespace vwin;

namespace {

struct ProcessObject : Object {
  ProcessObject(std::wstring imagePath_, DWORD access_)
      : imagePath(std::move(imagePath_)), access(access_) {}
  const std::wstring imagePath;
  const DWORD access;
};

std::optional<std::wstring> ImagePath(HANDLE process) {
  Lock lock;
  const auto object = handles::Get<ProcessObject>(lock, HandleKind::kProcess, process);
  if (!object) return SetLastError(ERROR_INVALID_HANDLE), std::nullopt;
  if ((object->access & (PROCESS_QUERY_INFORMATION | PROCESS_QUERY_LIMITED_INFORMATION)) == 0) {
    return SetLastError(ERROR_ACCESS_DENIED), std::nullopt;
  }
  return object->imagePath;
}

}  // namespace

DWORD WINAPI GetCurrentProcessId() {
  VWIN_CALL_INFALLIBLE(GetCurrentProcessId);
  Lock lock;
  return TheMachine(lock).ownProcessId;
}

HANDLE WINAPI OpenProcess(DWORD access, BOOL, DWORD processId) {
  VWIN_CALL(OpenProcess);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto& processes = TheMachine(lock).processes;
  const auto process = processes.find(processId);
  if (process == processes.end()) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
  if (!process->second.openable) return SetLastError(ERROR_ACCESS_DENIED), nullptr;
  return handles::Add(lock, HandleKind::kProcess,
                      std::make_shared<ProcessObject>(process->second.imagePath, access),
                      "OpenProcess");
}

BOOL WINAPI QueryFullProcessImageNameA(HANDLE process, DWORD, LPSTR path, DWORD* size) {
  VWIN_CALL(QueryFullProcessImageNameA);
  if (fault) return SetLastError(fault->win32), FALSE;
  const std::optional<std::wstring> image = ImagePath(process);
  if (!image) return FALSE;
  const std::string narrow = ToNarrow(*image);
  if (*size <= narrow.size()) return SetLastError(ERROR_INSUFFICIENT_BUFFER), FALSE;
  *std::copy(narrow.begin(), narrow.end(), path) = '\0';
  *size = static_cast<DWORD>(narrow.size());
  return TRUE;
}
