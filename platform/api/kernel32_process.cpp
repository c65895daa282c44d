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

// Without room for the path and its NUL there is nothing.
template <typename Char>
BOOL GiveImagePath(const std::optional<Fault>& fault, HANDLE process, Char* path, DWORD* size) {
  if (fault) return SetLastError(fault->win32), FALSE;
  const std::optional<std::wstring> image = ImagePath(process);
  if (!image) return FALSE;
  const auto& text = FromWide<Char>(*image);
  if (*size <= text.size()) return SetLastError(ERROR_INSUFFICIENT_BUFFER), FALSE;
  *std::copy(text.begin(), text.end(), path) = Char{};
  *size = static_cast<DWORD>(text.size());
  return TRUE;
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

BOOL WINAPI QueryFullProcessImageNameW(HANDLE process, DWORD, LPWSTR path, DWORD* size) {
  VWIN_CALL(QueryFullProcessImageNameW);
  return GiveImagePath(fault, process, path, size);
}

BOOL WINAPI QueryFullProcessImageNameA(HANDLE process, DWORD, LPSTR path, DWORD* size) {
  VWIN_CALL(QueryFullProcessImageNameA);
  return GiveImagePath(fault, process, path, size);
}
