// COM: entering and leaving it on a thread, making objects of a class.
#pragma once

#include "unknwn.h"

typedef IUnknown* LPUNKNOWN;

#define CLSCTX_INPROC_SERVER 0x1
#define CLSCTX_ALL 0x17
#define COINIT_APARTMENTTHREADED 0x2
#define COINIT_MULTITHREADED 0x0

extern "C" {

HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD model);
void WINAPI CoUninitialize();
HRESULT WINAPI CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID iid,
                                LPVOID* object);

}  // extern "C"
