// kernel32: modules, events, threads, locks, clocks, processes, memory, versions, text.
// Included by windows.h.
#pragma once

#include <cstring>

#include "windef.h"

// ------------------------------------------------------------- errors and modules

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x00000001
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x00000002
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x00000004
#define LOAD_LIBRARY_SEARCH_SYSTEM32 0x00000800

extern "C" {

DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD error);

HMODULE WINAPI GetModuleHandleA(LPCSTR name);
BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR nameOrAddress, HMODULE* module);
HMODULE WINAPI LoadLibraryA(LPCSTR name);
HMODULE WINAPI LoadLibraryExW(LPCWSTR name, HANDLE reserved, DWORD flags);
BOOL WINAPI FreeLibrary(HMODULE module);
// For threads of CreateThread only: what the thread's function has on its stack is
// destroyed, as it is not on Windows.
[[noreturn]] void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD exitCode);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);

}  // extern "C"

// -------------------------------------------------- events, waiting, threads, locks

#define INFINITE 0xFFFFFFFF
#define MAXIMUM_WAIT_OBJECTS 64
#define WAIT_OBJECT_0 ((DWORD)0)
#define WAIT_TIMEOUT 258
#define WAIT_FAILED ((DWORD)0xFFFFFFFF)

typedef struct _SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID);
typedef struct _RTL_SRWLOCK {
  PVOID Ptr;
} SRWLOCK, *PSRWLOCK;
typedef struct _RTL_CONDITION_VARIABLE {
  PVOID Ptr;
} CONDITION_VARIABLE, *PCONDITION_VARIABLE;
#define SRWLOCK_INIT \
  { 0 }
#define CONDITION_VARIABLE_INIT \
  { 0 }

extern "C" {

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initialState,
                           LPCWSTR name);
BOOL WINAPI SetEvent(HANDLE event);
DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds);
BOOL WINAPI CloseHandle(HANDLE handle);

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID argument, DWORD flags,
                           LPDWORD threadId);
HANDLE WINAPI GetCurrentThread();
DWORD WINAPI GetCurrentThreadId();
DWORD WINAPI GetCurrentProcessId();
void WINAPI Sleep(DWORD milliseconds);

#define FLS_OUT_OF_INDEXES 0xFFFFFFFFu
using PFLS_CALLBACK_FUNCTION = void(WINAPI*)(PVOID value);
DWORD WINAPI FlsAlloc(PFLS_CALLBACK_FUNCTION callback);
BOOL WINAPI FlsFree(DWORD index);
PVOID WINAPI FlsGetValue(DWORD index);
BOOL WINAPI FlsSetValue(DWORD index, PVOID value);

void WINAPI AcquireSRWLockExclusive(PSRWLOCK lock);
void WINAPI ReleaseSRWLockExclusive(PSRWLOCK lock);
BOOL WINAPI SleepConditionVariableSRW(PCONDITION_VARIABLE condition, PSRWLOCK lock,
                                      DWORD milliseconds, ULONG flags);
void WINAPI WakeAllConditionVariable(PCONDITION_VARIABLE condition);

// Throws vwin::StructuredException, see virtual_windows.h.
[[noreturn]] void WINAPI RaiseException(DWORD code, DWORD flags, DWORD argumentCount,
                                        const ULONG_PTR* arguments);

// ------------------------------------------------------------------------- clocks

BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* count);
BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* frequency);
void WINAPI GetSystemTimeAsFileTime(LPFILETIME time);

}  // extern "C"

// ---------------------------------------------------------------------- processes

#define PROCESS_VM_READ 0x0010
#define PROCESS_QUERY_INFORMATION 0x0400
#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000

extern "C" {

HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD processId);
// `size` is the buffer's in characters, and on return the path's without its NUL.
BOOL WINAPI QueryFullProcessImageNameW(HANDLE process, DWORD flags, LPWSTR path, DWORD* size);
BOOL WINAPI QueryFullProcessImageNameA(HANDLE process, DWORD flags, LPSTR path, DWORD* size);

}  // extern "C"

// ------------------------------------------------------------------ global memory

extern "C" {

SIZE_T WINAPI GlobalSize(HGLOBAL memory);
LPVOID WINAPI GlobalLock(HGLOBAL memory);
BOOL WINAPI GlobalUnlock(HGLOBAL memory);

}  // extern "C"

// ----------------------------------------------------------------------- versions

typedef struct _OSVERSIONINFOEXW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  // 16-bit units: the record's size is part of the call.
  uint16_t szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
} OSVERSIONINFOEXW, *POSVERSIONINFOEXW, *LPOSVERSIONINFOEXW;
static_assert(sizeof(OSVERSIONINFOEXW) == 284, "the platform's layout");

#define VER_MINORVERSION 0x0000001
#define VER_MAJORVERSION 0x0000002
#define VER_BUILDNUMBER 0x0000004
#define VER_SERVICEPACKMAJOR 0x0000020
#define VER_EQUAL 1
#define VER_GREATER 2
#define VER_GREATER_EQUAL 3
#define VER_LESS 4
#define VER_LESS_EQUAL 5

extern "C" {

ULONGLONG WINAPI VerSetConditionMask(ULONGLONG mask, DWORD type, BYTE condition);
BOOL WINAPI VerifyVersionInfoW(LPOSVERSIONINFOEXW version, DWORD typeMask, DWORDLONG conditionMask);

}  // extern "C"

// --------------------------------------------------------------------------- text

#define CP_UTF8 65001

extern "C" {

// Both count in units of their own text, and include the NUL when the source's
// length is given as -1.
int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength,
                               LPSTR narrow, int narrowSize, LPCSTR defaultChar,
                               LPBOOL usedDefault);
int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength,
                               LPWSTR wide, int wideSize);
int __cdecl _stricmp(const char* a, const char* b);

}  // extern "C"
