// The shell's manager of virtual desktops (Windows 10).
#pragma once

#include "combaseapi.h"

struct IVirtualDesktopManager : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE IsWindowOnCurrentVirtualDesktop(HWND window,
                                                                    BOOL* onCurrentDesktop) = 0;
  VWIN_SLOT(GetWindowDesktopId);
  VWIN_SLOT(MoveWindowToDesktop);
};
DEFINE_GUID(IID_IVirtualDesktopManager, 0xa5cd92ff, 0x29be, 0x454c, 0x8d, 0x04, 0xd8, 0x28, 0x79,
            0xfb, 0x3f, 0x1b);
DEFINE_GUID(CLSID_VirtualDesktopManager, 0xaa509086, 0x5ca9, 0x4c25, 0x8f, 0x95, 0x58, 0x9d, 0x3c,
            0x07, 0xb4, 0x8a);
