// COM's standard interfaces, as far as they are used: streams. gdiplus.h wants it
// included first.
#pragma once

#include "combaseapi.h"

struct STATSTG;

struct ISequentialStream : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Read(void* bytes, ULONG count, ULONG* read) = 0;
  virtual HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG count, ULONG* written) = 0;
};
DEFINE_GUID(IID_ISequentialStream, 0x0c733a30, 0x2a1c, 0x11ce, 0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44,
            0x77, 0x3d);

struct IStream : ISequentialStream {
  virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                         ULARGE_INTEGER* position) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* stream, ULARGE_INTEGER count,
                                           ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
  virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
  virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count,
                                               DWORD kind) = 0;
  virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count,
                                                 DWORD kind) = 0;
  virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IStream** stream) = 0;
};
DEFINE_GUID(IID_IStream, 0x0000000c, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
            0x46);
