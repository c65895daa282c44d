// The part of user32 that looks at the desktops of the session (which are not the
// desktop with its windows). Included by windows.h; Windows has no header of this
// name.
#pragma once

#include "windef.h"

#define DESKTOP_SWITCHDESKTOP 0x0100

extern "C" {

HDESK WINAPI OpenDesktopA(LPCSTR name, DWORD flags, BOOL inherit, DWORD access);
BOOL WINAPI SwitchDesktop(HDESK desktop);
BOOL WINAPI CloseDesktop(HDESK desktop);

}  // extern "C"
