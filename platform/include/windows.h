// What <windows.h> gives on Windows, as far as the library calls it. A name that
// is missing here does not compile, and so can't silently do nothing.
#pragma once

#include "winbase.h"
#include "windef.h"
#include "winerror.h"
#include "wingdi.h"
#include "winreg.h"
#include "winstation.h"
#include "winuser.h"
