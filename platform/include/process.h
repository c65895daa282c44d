// Starting threads.
#pragma once

#include <cstdint>

#include "windef.h"

typedef unsigned(__stdcall* _beginthreadex_proc_type)(void*);

// Answers with the thread's handle, or 0 with errno set.
extern "C" uintptr_t __cdecl _beginthreadex(void* security, unsigned stackSize,
                                            _beginthreadex_proc_type start, void* argument,
                                            unsigned flags, unsigned* threadId);
