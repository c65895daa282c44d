// The Desktop Window Manager.
#pragma once

#include "windows.h"

#define DWMWA_EXTENDED_FRAME_BOUNDS 9
#define DWMWA_CLOAKED 14

typedef HANDLE HTHUMBNAIL;

#define DWM_TNP_RECTDESTINATION 0x00000001
#define DWM_TNP_RECTSOURCE 0x00000002
#define DWM_TNP_VISIBLE 0x00000008

#pragma pack(push, 1)
typedef struct _DWM_THUMBNAIL_PROPERTIES {
  DWORD dwFlags;  // which of the others count
  RECT rcDestination;
  RECT rcSource;
  BYTE opacity;
  BOOL fVisible;
  BOOL fSourceClientAreaOnly;
} DWM_THUMBNAIL_PROPERTIES;
#pragma pack(pop)

static_assert(sizeof(DWM_THUMBNAIL_PROPERTIES) == 45, "the platform's layout");

extern "C" {

HRESULT WINAPI DwmIsCompositionEnabled(BOOL* enabled);
HRESULT WINAPI DwmGetWindowAttribute(HWND window, DWORD attribute, PVOID value, DWORD size);

HRESULT WINAPI DwmRegisterThumbnail(HWND destination, HWND source, HTHUMBNAIL* thumbnail);
HRESULT WINAPI DwmUnregisterThumbnail(HTHUMBNAIL thumbnail);
HRESULT WINAPI DwmUpdateThumbnailProperties(HTHUMBNAIL thumbnail,
                                            const DWM_THUMBNAIL_PROPERTIES* properties);
HRESULT WINAPI DwmQueryThumbnailSourceSize(HTHUMBNAIL thumbnail, SIZE* size);

}  // extern "C"
