// DXGI 1.1: adapters and outputs.
//
// The interfaces have all their functions in the real order, because slot numbers
// matter; those that nobody here calls are only slots.
#pragma once

#include "unknwn.h"

typedef enum DXGI_FORMAT {
  DXGI_FORMAT_UNKNOWN = 0,
  DXGI_FORMAT_R32G32B32A32_FLOAT = 2,
  DXGI_FORMAT_R32G32B32_FLOAT = 6,
  DXGI_FORMAT_R16G16B16A16_FLOAT = 10,
  DXGI_FORMAT_R32G32_FLOAT = 16,
  DXGI_FORMAT_B8G8R8A8_UNORM = 87
} DXGI_FORMAT;

typedef enum DXGI_MODE_ROTATION {
  DXGI_MODE_ROTATION_UNSPECIFIED = 0,
  DXGI_MODE_ROTATION_IDENTITY = 1,
  DXGI_MODE_ROTATION_ROTATE90 = 2,
  DXGI_MODE_ROTATION_ROTATE180 = 3,
  DXGI_MODE_ROTATION_ROTATE270 = 4
} DXGI_MODE_ROTATION;
typedef enum DXGI_MODE_SCANLINE_ORDER {
  DXGI_MODE_SCANLINE_ORDER_UNSPECIFIED = 0
} DXGI_MODE_SCANLINE_ORDER;
typedef enum DXGI_MODE_SCALING { DXGI_MODE_SCALING_UNSPECIFIED = 0 } DXGI_MODE_SCALING;

typedef struct DXGI_RATIONAL {
  UINT Numerator;
  UINT Denominator;
} DXGI_RATIONAL;

typedef struct DXGI_MODE_DESC {
  UINT Width;
  UINT Height;
  DXGI_RATIONAL RefreshRate;
  DXGI_FORMAT Format;
  DXGI_MODE_SCANLINE_ORDER ScanlineOrdering;
  DXGI_MODE_SCALING Scaling;
} DXGI_MODE_DESC;

typedef struct DXGI_SAMPLE_DESC {
  UINT Count;
  UINT Quality;
} DXGI_SAMPLE_DESC;

#define DXGI_MAP_READ 1
#define DXGI_MAP_WRITE 2

typedef struct DXGI_MAPPED_RECT {
  INT Pitch;
  BYTE* pBits;
} DXGI_MAPPED_RECT;

typedef struct DXGI_OUTPUT_DESC {
  WCHAR DeviceName[32];
  RECT DesktopCoordinates;
  BOOL AttachedToDesktop;
  DXGI_MODE_ROTATION Rotation;
  HMONITOR Monitor;
} DXGI_OUTPUT_DESC;

typedef struct DXGI_ADAPTER_DESC1 {
  WCHAR Description[128];
  UINT VendorId;
  UINT DeviceId;
  UINT SubSysId;
  UINT Revision;
  SIZE_T DedicatedVideoMemory;
  SIZE_T DedicatedSystemMemory;
  SIZE_T SharedSystemMemory;
  LUID AdapterLuid;
  UINT Flags;
} DXGI_ADAPTER_DESC1;

struct IDXGIObject : IUnknown {
  VWIN_SLOT(SetPrivateData);
  VWIN_SLOT(SetPrivateDataInterface);
  VWIN_SLOT(GetPrivateData);
  // Of devices and adapters.
  virtual HRESULT STDMETHODCALLTYPE GetParent(REFIID, void**) {
    vwin::NotProvided("GetParent");
    return E_NOTIMPL;
  }
};
DEFINE_GUID(IID_IDXGIObject, 0xaec22fb8, 0x76f3, 0x4639, 0x9b, 0xe0, 0x28, 0xeb, 0x43, 0xa6, 0x7a,
            0x2e);

struct IDXGIDeviceSubObject : IDXGIObject {
  VWIN_SLOT(GetDevice);
};
DEFINE_GUID(IID_IDXGIDeviceSubObject, 0x3d3e0379, 0xf9de, 0x4d58, 0xbb, 0x6c, 0x18, 0xd6, 0x29,
            0x92, 0xf1, 0xa6);

struct IDXGIResource : IDXGIDeviceSubObject {
  VWIN_SLOT(GetSharedHandle);
  VWIN_SLOT(GetUsage);
  VWIN_SLOT(SetEvictionPriority);
  VWIN_SLOT(GetEvictionPriority);
};
DEFINE_GUID(IID_IDXGIResource, 0x035f3ab4, 0x482e, 0x4e50, 0xb4, 0x1f, 0x8a, 0x7f, 0x8b, 0xd8, 0x96,
            0x0b);

struct IDXGISurface : IDXGIDeviceSubObject {
  VWIN_SLOT(GetDesc);
  virtual HRESULT STDMETHODCALLTYPE Map(DXGI_MAPPED_RECT* mapped, UINT flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Unmap() = 0;
};
DEFINE_GUID(IID_IDXGISurface, 0xcafcb56c, 0x6ac3, 0x4889, 0xbf, 0x47, 0x9e, 0x23, 0xbb, 0xd2, 0x60,
            0xec);

struct IDXGIOutput : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* desc) = 0;
  VWIN_SLOT(GetDisplayModeList);
  VWIN_SLOT(FindClosestMatchingMode);
  VWIN_SLOT(WaitForVBlank);
  VWIN_SLOT(TakeOwnership);
  VWIN_SLOT(ReleaseOwnership);
  VWIN_SLOT(GetGammaControlCapabilities);
  VWIN_SLOT(SetGammaControl);
  VWIN_SLOT(GetGammaControl);
  VWIN_SLOT(SetDisplaySurface);
  VWIN_SLOT(GetDisplaySurfaceData);
  VWIN_SLOT(GetFrameStatistics);
};
DEFINE_GUID(IID_IDXGIOutput, 0xae02eedb, 0xc735, 0x4690, 0x8d, 0x52, 0x5a, 0x8d, 0xc2, 0x02, 0x13,
            0xaa);

struct IDXGIAdapter : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE EnumOutputs(UINT index, IDXGIOutput** output) = 0;
  VWIN_SLOT(GetDesc);
  VWIN_SLOT(CheckInterfaceSupport);
};
DEFINE_GUID(IID_IDXGIAdapter, 0x2411e7e1, 0x12ac, 0x4ccf, 0xbd, 0x14, 0x97, 0x98, 0xe8, 0x53, 0x4d,
            0xc0);

struct IDXGIAdapter1 : IDXGIAdapter {
  virtual HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_ADAPTER_DESC1* desc) = 0;
};
DEFINE_GUID(IID_IDXGIAdapter1, 0x29038f61, 0x3839, 0x4626, 0x91, 0xfd, 0x08, 0x68, 0x79, 0x01, 0x1a,
            0x05);

struct IDXGIFactory : IDXGIObject {
  VWIN_SLOT(EnumAdapters);
  VWIN_SLOT(MakeWindowAssociation);
  VWIN_SLOT(GetWindowAssociation);
  VWIN_SLOT(CreateSwapChain);
  VWIN_SLOT(CreateSoftwareAdapter);
};
DEFINE_GUID(IID_IDXGIFactory, 0x7b7166ec, 0x21c7, 0x44ae, 0xb2, 0x1a, 0xc9, 0xae, 0x32, 0x1a, 0xe3,
            0x69);

struct IDXGIFactory1 : IDXGIFactory {
  virtual HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) = 0;
  VWIN_SLOT(IsCurrent);
};
DEFINE_GUID(IID_IDXGIFactory1, 0x770aae78, 0xf26f, 0x4dba, 0xa8, 0x29, 0x25, 0x3c, 0x83, 0xd1, 0xb3,
            0x87);

struct IDXGIDevice : IDXGIObject {
  VWIN_SLOT(GetAdapter);
  VWIN_SLOT(CreateSurface);
  VWIN_SLOT(QueryResourceResidency);
  VWIN_SLOT(SetGPUThreadPriority);
  VWIN_SLOT(GetGPUThreadPriority);
};
DEFINE_GUID(IID_IDXGIDevice, 0x54ec77fa, 0x1377, 0x44e6, 0x8c, 0x32, 0x88, 0xfd, 0x5f, 0x44, 0xc8,
            0x4c);

extern "C" HRESULT WINAPI CreateDXGIFactory1(REFIID iid, void** factory);
