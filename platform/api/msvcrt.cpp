#include <process.h>

#include <cerrno>

#include "platform/model/Faults.h"
#include "platform/model/Text.h"
#include "platform/model/Threads.h"

using namespace vwin;

uintptr_t __cdecl _beginthreadex(void*, unsigned, _beginthreadex_proc_type start, void* argument,
                                 unsigned, unsigned* threadId) {
  VWIN_CALL(_beginthreadex);
  void* handle = nullptr;
  std::uint32_t id = 0;
  if (!fault) {
    Lock lock;
    handle = threads::Start(lock, start, argument, id, "_beginthreadex");
  }
  if (handle == nullptr) {
    errno = EAGAIN;
    SetLastError(fault ? fault->win32 : ERROR_NOT_ENOUGH_MEMORY);
  } else if (threadId != nullptr) {
    *threadId = id;
  }
  return reinterpret_cast<uintptr_t>(handle);
}

int __cdecl _stricmp(const char* a, const char* b) { return ToLower(a).compare(ToLower(b)); }
