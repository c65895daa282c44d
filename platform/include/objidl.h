// COM's standard interfaces, as far as they are used: streams. gdiplus.h wants it
// included first.
#pragma once

#include "combaseapi.h"

struct ISequentialStream : IUnknown {
  VWIN_SLOT(Read);
  virtual HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG count, ULONG* written) = 0;
};
DEFINE_GUID(IID_ISequentialStream, 0x0c733a30, 0x2a1c, 0x11ce, 0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44,
            0x77, 0x3d);

struct IStream : ISequentialStream {
  VWIN_SLOT(Seek);
  VWIN_SLOT(SetSize);
  VWIN_SLOT(CopyTo);
  VWIN_SLOT(Commit);
  VWIN_SLOT(Revert);
  VWIN_SLOT(LockRegion);
  VWIN_SLOT(UnlockRegion);
  VWIN_SLOT(Stat);
  VWIN_SLOT(Clone);
};
DEFINE_GUID(IID_IStream, 0x0000000c, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
            0x46);
