// GDI+, the flat interface. On Windows this header wants <objidl.h> included first.
#pragma once

#include "windows.h"

namespace Gdiplus {

enum Status {
  Ok = 0,
  GenericError = 1,
  InvalidParameter = 2,
  OutOfMemory = 3,
  Win32Error = 7,
  UnsupportedGdiplusVersion = 17
};
typedef Status GpStatus;

enum DebugEventLevel { DebugEventLevelFatal, DebugEventLevelWarning };
typedef void(WINAPI* DebugEventProc)(DebugEventLevel level, CHAR* message);
typedef GpStatus(WINAPI* NotificationHookProc)(ULONG_PTR* token);
typedef void(WINAPI* NotificationUnhookProc)(ULONG_PTR token);

struct GdiplusStartupInput {
  UINT32 GdiplusVersion;
  DebugEventProc DebugEventCallback;
  BOOL SuppressBackgroundThread;
  BOOL SuppressExternalCodecs;

  GdiplusStartupInput(DebugEventProc debugEventCallback = nullptr,
                      BOOL suppressBackgroundThread = FALSE, BOOL suppressExternalCodecs = FALSE)
      : GdiplusVersion(1),
        DebugEventCallback(debugEventCallback),
        SuppressBackgroundThread(suppressBackgroundThread),
        SuppressExternalCodecs(suppressExternalCodecs) {}
};

struct GdiplusStartupOutput {
  NotificationHookProc NotificationHook = nullptr;
  NotificationUnhookProc NotificationUnhook = nullptr;
};

extern "C" GpStatus WINAPI GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input,
                                          GdiplusStartupOutput* output);

}  // namespace Gdiplus
