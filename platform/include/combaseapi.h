// COM: entering and leaving it on a thread, making objects of a class, streams over
// memory.
#pragma once

#include "unknwn.h"

typedef IUnknown* LPUNKNOWN;
typedef struct IStream* LPSTREAM;

#define CLSCTX_INPROC_SERVER 0x1
#define CLSCTX_ALL 0x17
#define COINIT_APARTMENTTHREADED 0x2
#define COINIT_MULTITHREADED 0x0

extern "C" {

HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD model);
void WINAPI CoUninitialize();
HRESULT WINAPI CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID iid,
                                LPVOID* object);

// A null `memory` makes some, of no size yet.
HRESULT WINAPI CreateStreamOnHGlobal(HGLOBAL memory, BOOL freeWithStream, LPSTREAM* stream);
// The memory stays the stream's.
HRESULT WINAPI GetHGlobalFromStream(LPSTREAM stream, HGLOBAL* memory);

}  // extern "C"
