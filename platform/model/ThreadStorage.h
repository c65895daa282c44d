// What threads keep for somebody: a value for each thread and slot, given back when the
// thread ends or the slot goes.
#pragma once

#include <windows.h>

#include "platform/model/Scheduler.h"

namespace vwin::storage {

DWORD AddSlot(Lock& lock, PFLS_CALLBACK_FUNCTION giveBack);
// False when there is no such slot. Without a lock, since what threads have there is given
// back.
bool RemoveSlot(DWORD slot);

// The calling thread's; null without one, or without the slot.
void* Get(Lock& lock, DWORD slot);
bool Set(Lock& lock, DWORD slot, void* value);

}  // namespace vwin::storage
