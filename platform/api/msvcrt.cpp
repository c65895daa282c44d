#include <windows.h>

#include "platform/model/Text.h"

using namespace vwin;

int __cdecl _stricmp(const char* a, const char* b) { return ToLower(a).compare(ToLower(b)); }
