// DXGI 1.2: desktop duplication.
#pragma once

#include "dxgi.h"

typedef struct DXGI_OUTDUPL_DESC {
  DXGI_MODE_DESC ModeDesc;
  DXGI_MODE_ROTATION Rotation;
  BOOL DesktopImageInSystemMemory;
} DXGI_OUTDUPL_DESC;

typedef struct DXGI_OUTDUPL_POINTER_POSITION {
  POINT Position;
  BOOL Visible;
} DXGI_OUTDUPL_POINTER_POSITION;

typedef struct DXGI_OUTDUPL_FRAME_INFO {
  LARGE_INTEGER LastPresentTime;
  LARGE_INTEGER LastMouseUpdateTime;
  UINT AccumulatedFrames;
  BOOL RectsCoalesced;
  BOOL ProtectedContentMaskedOut;
  DXGI_OUTDUPL_POINTER_POSITION PointerPosition;
  UINT TotalMetadataBufferSize;
  UINT PointerShapeBufferSize;
} DXGI_OUTDUPL_FRAME_INFO;

typedef struct DXGI_OUTDUPL_MOVE_RECT {
  POINT SourcePoint;
  RECT DestinationRect;
} DXGI_OUTDUPL_MOVE_RECT;

typedef enum DXGI_OUTDUPL_POINTER_SHAPE_TYPE {
  DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME = 1,
  DXGI_OUTDUPL_POINTER_SHAPE_TYPE_COLOR = 2,
  DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR = 4
} DXGI_OUTDUPL_POINTER_SHAPE_TYPE;

typedef struct DXGI_OUTDUPL_POINTER_SHAPE_INFO {
  UINT Type;
  UINT Width;
  UINT Height;
  UINT Pitch;
  POINT HotSpot;
} DXGI_OUTDUPL_POINTER_SHAPE_INFO;

struct IDXGIOutputDuplication : IDXGIObject {
  virtual void STDMETHODCALLTYPE GetDesc(DXGI_OUTDUPL_DESC* desc) = 0;
  virtual HRESULT STDMETHODCALLTYPE AcquireNextFrame(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO* info,
                                                     IDXGIResource** resource) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFrameDirtyRects(UINT size, RECT* rects, UINT* required) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFrameMoveRects(UINT size, DXGI_OUTDUPL_MOVE_RECT* rects,
                                                      UINT* required) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFramePointerShape(UINT size, void* shape, UINT* required,
                                                         DXGI_OUTDUPL_POINTER_SHAPE_INFO* info) = 0;
  VWIN_SLOT(MapDesktopSurface);
  VWIN_SLOT(UnMapDesktopSurface);
  virtual HRESULT STDMETHODCALLTYPE ReleaseFrame() = 0;
};
DEFINE_GUID(IID_IDXGIOutputDuplication, 0x191cfac3, 0xa341, 0x470d, 0xb2, 0x6e, 0xa8, 0x64, 0xf4,
            0x28, 0x31, 0x9c);

struct IDXGIOutput1 : IDXGIOutput {
  VWIN_SLOT(GetDisplayModeList1);
  VWIN_SLOT(FindClosestMatchingMode1);
  VWIN_SLOT(GetDisplaySurfaceData1);
  virtual HRESULT STDMETHODCALLTYPE DuplicateOutput(IUnknown* device,
                                                    IDXGIOutputDuplication** duplication) = 0;
};
DEFINE_GUID(IID_IDXGIOutput1, 0x00cddea8, 0x939b, 0x4b83, 0xa3, 0x40, 0xa6, 0x85, 0x22, 0x66, 0x66,
            0xcc);
