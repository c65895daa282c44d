// Terminal services: the state of a session.
#pragma once

#include "windows.h"

#define WTS_CURRENT_SERVER_HANDLE ((HANDLE) nullptr)
#define WTS_CURRENT_SESSION ((DWORD)-1)

#define WTS_SESSIONSTATE_LOCK 0x00000000
#define WTS_SESSIONSTATE_UNLOCK 0x00000001

typedef enum _WTS_INFO_CLASS { WTSSessionInfo = 24, WTSSessionInfoEx = 25 } WTS_INFO_CLASS;
typedef enum _WTS_CONNECTSTATE_CLASS { WTSActive = 0, WTSDisconnected = 4 } WTS_CONNECTSTATE_CLASS;

typedef struct _WTSINFOEX_LEVEL1_W {
  ULONG SessionId;
  WTS_CONNECTSTATE_CLASS SessionState;
  LONG SessionFlags;
  WCHAR WinStationName[33];
  WCHAR UserName[21];
  WCHAR DomainName[18];
  LARGE_INTEGER LogonTime;
  LARGE_INTEGER ConnectTime;
  LARGE_INTEGER DisconnectTime;
  LARGE_INTEGER LastInputTime;
  LARGE_INTEGER CurrentTime;
  DWORD IncomingBytes;
  DWORD OutgoingBytes;
  DWORD IncomingFrames;
  DWORD OutgoingFrames;
  DWORD IncomingCompressedBytes;
  DWORD OutgoingCompressedBytes;
} WTSINFOEX_LEVEL1_W;

typedef struct _WTSINFOEXW {
  DWORD Level;
  union {
    WTSINFOEX_LEVEL1_W WTSInfoExLevel1;
  } Data;
} WTSINFOEXW;

extern "C" {

BOOL WINAPI WTSQuerySessionInformationW(HANDLE server, DWORD sessionId, WTS_INFO_CLASS infoClass,
                                        LPWSTR* buffer, DWORD* bytesReturned);
void WINAPI WTSFreeMemory(PVOID memory);

}  // extern "C"
