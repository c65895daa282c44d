#include <virtual_windows.h>
#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Modules.h"
#include "platform/model/Text.h"
#include "platform/model/Threads.h"

using namespace vwin;

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

HANDLE PseudoThreadHandle() { return reinterpret_cast<HANDLE>(std::intptr_t{-2}); }

// The thread that a handle names, 0 for none.
std::uint32_t ThreadOf(Lock& lock, HANDLE handle) {
  if (handle == PseudoThreadHandle()) return scheduler::CurrentThreadId();
  const auto object = handles::Get<ThreadObject>(lock, HandleKind::kThread, handle);
  return object ? object->id : 0;
}

}  // namespace

// These two are not counted: the other adapters call them.
DWORD WINAPI GetLastError() { return lastError; }
void WINAPI SetLastError(DWORD error) { lastError = error; }

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState,
                           LPCWSTR name) {
  VWIN_CALL(CreateEventW);
  if (fault) return SetLastError(fault->win32), nullptr;
  if (name != nullptr) return SetLastError(ERROR_CALL_NOT_IMPLEMENTED), nullptr;
  Lock lock;
  return handles::Add(lock, HandleKind::kEvent,
                      std::make_shared<Event>(manualReset != FALSE, initialState != FALSE),
                      "CreateEventW");
}

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE start,
                           LPVOID argument, DWORD, LPDWORD threadId) {
  VWIN_CALL(CreateThread);
  if (fault) return SetLastError(fault->win32), nullptr;
  std::uint32_t id = 0;
  Lock lock;
  void* const handle = threads::Start(lock, start, argument, id, "CreateThread");
  if (handle == nullptr) return SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr;
  if (threadId != nullptr) *threadId = id;
  return handle;
}

BOOL WINAPI SetEvent(HANDLE event) {
  VWIN_CALL(SetEvent);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto object = handles::Get<Event>(lock, HandleKind::kEvent, event);
  if (!object) {
    ledger::Misuse(lock, "SetEvent: no open event");
    return SetLastError(ERROR_INVALID_HANDLE), FALSE;
  }
  object->set = true;
  scheduler::Changed();
  return TRUE;
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  VWIN_CALL(WaitForSingleObject);
  if (fault) return SetLastError(fault->win32), WAIT_FAILED;
  const std::optional<bool> signalled = threads::Wait(handle, milliseconds);
  if (!signalled) {
    Lock lock;
    ledger::Misuse(lock, "WaitForSingleObject: nothing to wait for has this handle");
    return SetLastError(ERROR_INVALID_HANDLE), WAIT_FAILED;
  }
  return *signalled ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

BOOL WINAPI CloseHandle(HANDLE handle) {
  VWIN_CALL_INFALLIBLE(CloseHandle);
  if (handle == PseudoThreadHandle()) return TRUE;
  Lock lock;
  for (const HandleKind kind : {HandleKind::kEvent, HandleKind::kThread, HandleKind::kProcess}) {
    if (handles::Remove(lock, kind, handle)) return TRUE;
  }
  ledger::Misuse(lock, "CloseHandle: no open handle of this kind");
  return SetLastError(ERROR_INVALID_HANDLE), FALSE;
}

HANDLE WINAPI GetCurrentThread() {
  VWIN_CALL_INFALLIBLE(GetCurrentThread);
  return PseudoThreadHandle();
}

DWORD WINAPI GetCurrentThreadId() {
  VWIN_CALL_INFALLIBLE(GetCurrentThreadId);
  return scheduler::CurrentThreadId();
}

HRESULT WINAPI SetThreadDescription(HANDLE thread, PCWSTR description) {
  VWIN_CALL(SetThreadDescription);
  if (fault) return fault->hresult;
  Lock lock;
  const std::uint32_t id = ThreadOf(lock, thread);
  if (id == 0) return E_HANDLE;
  scheduler::SetThreadName(lock, id, ToUtf8(description));
  return S_OK;
}

void WINAPI Sleep(DWORD milliseconds) {
  VWIN_CALL_INFALLIBLE(Sleep);
  Lock lock;
  scheduler::WaitUntil(
      lock, "Sleep", [] { return false; }, threads::Deadline(lock, milliseconds));
}

void WINAPI AcquireSRWLockExclusive(PSRWLOCK lock) {
  VWIN_CALL_INFALLIBLE(AcquireSRWLockExclusive);
  Lock machineLock;
  threads::Acquire(machineLock, *lock);
}

void WINAPI ReleaseSRWLockExclusive(PSRWLOCK lock) {
  VWIN_CALL_INFALLIBLE(ReleaseSRWLockExclusive);
  Lock machineLock;
  threads::Release(machineLock, *lock);
}

BOOL WINAPI SleepConditionVariableSRW(PCONDITION_VARIABLE condition, PSRWLOCK lock,
                                      DWORD milliseconds, ULONG flags) {
  // Fails by its time-out only: a caller that gave up on anything else would be wrong.
  VWIN_CALL_INFALLIBLE(SleepConditionVariableSRW);
  if (flags != 0) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  Lock machineLock;
  if (threads::SleepOn(machineLock, *condition, *lock, milliseconds)) return TRUE;
  return SetLastError(ERROR_TIMEOUT), FALSE;
}

void WINAPI WakeAllConditionVariable(PCONDITION_VARIABLE condition) {
  VWIN_CALL_INFALLIBLE(WakeAllConditionVariable);
  Lock lock;
  threads::WakeAll(lock, *condition);
}

vwin::StructuredException::~StructuredException() = default;

void WINAPI RaiseException(DWORD code, DWORD, DWORD, const ULONG_PTR*) {
  VWIN_CALL_INFALLIBLE(RaiseException);
  throw StructuredException{code};
}
