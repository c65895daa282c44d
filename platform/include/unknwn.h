// IUnknown, the base of every COM interface.
#pragma once

#include "windows.h"

namespace vwin {
// Records the call of a function that virtual Windows does not have.
void NotProvided(const char* function);
}  // namespace vwin

// A function that nobody here calls: it has its place in the order, and no name to call
// it by.
#define VWIN_SLOT(function) \
  virtual void STDMETHODCALLTYPE slot##function() { vwin::NotProvided(#function); }

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
};
DEFINE_GUID(IID_IUnknown, 0x00000000, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
            0x46);
