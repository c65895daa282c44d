// What terminal services know of the session, and the memory that they hand out.
#pragma once

#include <wtsapi32.h>

#include "platform/model/Scheduler.h"

namespace vwin::session {

// A new record of the session's state, the caller's until FreeRecord.
WTSINFOEXW* NewRecord(Lock& lock, const char* call);
// False when the memory was not handed out, or is back already.
bool FreeRecord(Lock& lock, const void* memory);

}  // namespace vwin::session
