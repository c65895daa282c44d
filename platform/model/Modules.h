// The modules of the process and what they export.
//
// Only functions that are looked up at run time are listed as exports; those that
// the library links to are plain functions of the stand-in.
#pragma once

#include <magnification.h>
#include <windows.h>
#include <windows_graphics_capture.h>

#include <string>

#include "platform/model/HandleTable.h"

namespace vwin::modules {

// Names count without case, and ".dll" may be left out. Null when there is no such
// module, or it is not loaded.
HMODULE Loaded(Lock& lock, const std::string& name);
// The module of the running program.
HMODULE Program(Lock& lock);
// The module in whose image `address` lies.
HMODULE At(Lock& lock, const void* address);

// Counts a reference to a module.
HMODULE Load(Lock& lock, const std::string& name, const char* call);
void AddReference(Lock& lock, HMODULE module, const char* call);
// Keeps a module loaded for the process's life, whoever frees it.
void Pin(Lock& lock, HMODULE module, const char* call);
// False when `module` is none. A reference too many is a misuse.
bool Free(Lock& lock, HMODULE module);

// Null when this version of Windows, or this machine, lacks the export.
FARPROC Export(Lock& lock, HMODULE module, const std::string& name);

// The same of a module that may not be loaded yet.
FARPROC SystemExport(Lock& lock, const std::string& module, const std::string& name);

// ------------------------------------------------------------------- the test side

// Each is false when there is no such thing.
bool Remove(Lock& lock, const std::string& name);
bool RemoveExport(Lock& lock, const std::string& module, const std::string& name);
bool LoadForGood(Lock& lock, const std::string& name);

}  // namespace vwin::modules

// Functions reached through GetProcAddress only; bodies in api/.
extern "C" {
void WINAPI RtlGetNtVersionNumbers(DWORD* major, DWORD* minor, DWORD* build);
HRESULT WINAPI SetThreadDescription(HANDLE thread, PCWSTR description);
void WINAPI GetSystemTimePreciseAsFileTime(LPFILETIME time);
BOOL WINAPI MagInitialize();
BOOL WINAPI MagUninitialize();
BOOL WINAPI MagSetWindowSource(HWND window, RECT source);
BOOL WINAPI MagSetWindowFilterList(HWND window, DWORD mode, int count, HWND* windows);
BOOL WINAPI MagSetColorEffect(HWND window, MAGCOLOREFFECT* effect);
HRESULT WINAPI RoGetActivationFactory(wgc::HSTRING className, REFIID iid, void** factory);
HRESULT WINAPI WindowsCreateString(const WCHAR* text, UINT32 length, wgc::HSTRING* string);
HRESULT WINAPI WindowsDeleteString(wgc::HSTRING string);
HRESULT WINAPI CreateDirect3D11DeviceFromDXGIDevice(IDXGIDevice* device,
                                                    wgc::IInspectable** direct3dDevice);
}
