// clang-format off
#include <windows.h>  // tlhelp32.h needs it
#include <tlhelp32.h>
// clang-format on

#include <cstdio>

#include "tests/support/Watchdog.h"

namespace qx::test {

void PrintThreads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID != GetCurrentProcessId() ||
        entry.th32ThreadID == GetCurrentThreadId()) {
      continue;
    }
    const HANDLE thread =
        OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, entry.th32ThreadID);
    CONTEXT context = {};
    context.ContextFlags = CONTEXT_CONTROL;
    if (thread == nullptr || SuspendThread(thread) == static_cast<DWORD>(-1)) {
      continue;
    }
    if (GetThreadContext(thread, &context)) {
      std::fprintf(stderr, "watchdog: thread %lu stands at %llx\n", entry.th32ThreadID,
                   static_cast<unsigned long long>(context.Rip));
    }
    ResumeThread(thread);
    CloseHandle(thread);
  }
  CloseHandle(snapshot);
}

}  // namespace qx::test
