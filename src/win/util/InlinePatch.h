#pragma once

#include <atomic>
#include <string>

namespace qx {

// Redirecting functions of this process to functions of ours, for as long as the
// process lives. There is no way back: other threads may be in the middle of it.

// The address of a function that a module of the system exports; the module is loaded if
// need be, from the system's folder, and stays. Null when there is none.
void* FindSystemFunction(const wchar_t* module, const char* name);

// Every call of the function whose address is in `function` runs `detour` from now on,
// which must have its signature. `function` holds then what runs it as it was: it is
// stored before the first call can reach the detour.
//
// Answers why that is not possible, and then nothing has changed; empty when it is done.
// Any thread, one at a time for one function; other threads may be running it. The
// library stays loaded from then on, since the function leads into it.
std::string Redirect(std::atomic<void*>& function, void* detour);

}  // namespace qx
