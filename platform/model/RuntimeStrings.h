// The strings of the Windows Runtime. The empty one is null.
#pragma once

#include <windows_graphics_capture.h>

#include <optional>
#include <string>

#include "platform/model/Scheduler.h"

namespace vwin::runtime_strings {

// `call` hands it out, for the ledger.
wgc::HSTRING Make(Lock& lock, std::wstring text, const char* call);
// Nothing, and a misuse, for one that was deleted or is none.
std::optional<std::wstring> TextOf(Lock& lock, wgc::HSTRING string, const char* call);
// A string that was deleted before, or is none, is a misuse.
void Delete(Lock& lock, wgc::HSTRING string);

}  // namespace vwin::runtime_strings
