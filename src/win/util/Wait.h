#pragma once

#include <windows.h>

namespace qx {

// Waits until `object` is signalled; false when `milliseconds` have passed before.
//
// What other threads send to windows of the calling thread is answered meanwhile: the
// caller may be a host's only thread, and whoever signals `object` may first need an
// answer from one of its windows. So a window procedure of the host can run in here, and
// call the library. Posted messages stay where they are.
//
// The only wait of the library for anything but the next moment of a loop. Needs no
// memory, and waits on when the system refuses to.
bool WaitAnswering(HANDLE object, DWORD milliseconds = INFINITE);

// How long a single wait of a loop lasts that waits for another thread. What ends it is
// some state of ours, and the event or message that tells of it can get lost: without
// memory the system fails to set the one or to post the other.
inline constexpr DWORD kPollMs = 10;
// So often a thread that nobody waits for looks whether it has missed such a signal, as that
// of its end.
inline constexpr DWORD kLookMs = 1000;

}  // namespace qx
