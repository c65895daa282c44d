// DXGI 1.1: adapters and outputs.
//
// The interfaces are complete and in the real order, because slot numbers matter;
// types that only unused functions take stay incomplete.
#pragma once

#include "unknwn.h"

typedef enum DXGI_FORMAT { DXGI_FORMAT_UNKNOWN = 0, DXGI_FORMAT_B8G8R8A8_UNORM = 87 } DXGI_FORMAT;

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
typedef enum DXGI_RESIDENCY { DXGI_RESIDENCY_FULLY_RESIDENT = 1 } DXGI_RESIDENCY;
typedef UINT DXGI_USAGE;

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

typedef struct DXGI_OUTPUT_DESC {
  WCHAR DeviceName[32];
  RECT DesktopCoordinates;
  BOOL AttachedToDesktop;
  DXGI_MODE_ROTATION Rotation;
  HMONITOR Monitor;
} DXGI_OUTPUT_DESC;

typedef struct DXGI_ADAPTER_DESC {
  WCHAR Description[128];
  UINT VendorId;
  UINT DeviceId;
  UINT SubSysId;
  UINT Revision;
  SIZE_T DedicatedVideoMemory;
  SIZE_T DedicatedSystemMemory;
  SIZE_T SharedSystemMemory;
  LUID AdapterLuid;
} DXGI_ADAPTER_DESC;

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

struct DXGI_FRAME_STATISTICS;
struct DXGI_GAMMA_CONTROL;
struct DXGI_GAMMA_CONTROL_CAPABILITIES;
struct DXGI_MAPPED_RECT;
struct DXGI_SHARED_RESOURCE;
struct DXGI_SURFACE_DESC;
struct DXGI_SWAP_CHAIN_DESC;
struct IDXGISurface;
struct IDXGISwapChain;

struct IDXGIObject : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID name,
                                                            const IUnknown* object) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID name, UINT* size, void* data) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetParent(REFIID iid, void** parent) = 0;
};
DEFINE_GUID(IID_IDXGIObject, 0xaec22fb8, 0x76f3, 0x4639, 0x9b, 0xe0, 0x28, 0xeb, 0x43, 0xa6, 0x7a,
            0x2e);

struct IDXGIDeviceSubObject : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE GetDevice(REFIID iid, void** device) = 0;
};

struct IDXGIResource : IDXGIDeviceSubObject {
  virtual HRESULT STDMETHODCALLTYPE GetSharedHandle(HANDLE* handle) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetUsage(DXGI_USAGE* usage) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetEvictionPriority(UINT priority) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetEvictionPriority(UINT* priority) = 0;
};

struct IDXGIOutput : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* desc) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDisplayModeList(DXGI_FORMAT format, UINT flags, UINT* count,
                                                       DXGI_MODE_DESC* modes) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindClosestMatchingMode(const DXGI_MODE_DESC* mode,
                                                            DXGI_MODE_DESC* closest,
                                                            IUnknown* device) = 0;
  virtual HRESULT STDMETHODCALLTYPE WaitForVBlank() = 0;
  virtual HRESULT STDMETHODCALLTYPE TakeOwnership(IUnknown* device, BOOL exclusive) = 0;
  virtual void STDMETHODCALLTYPE ReleaseOwnership() = 0;
  virtual HRESULT STDMETHODCALLTYPE
  GetGammaControlCapabilities(DXGI_GAMMA_CONTROL_CAPABILITIES* capabilities) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetGammaControl(const DXGI_GAMMA_CONTROL* control) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetGammaControl(DXGI_GAMMA_CONTROL* control) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetDisplaySurface(IDXGISurface* surface) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData(IDXGISurface* surface) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics) = 0;
};
DEFINE_GUID(IID_IDXGIOutput, 0xae02eedb, 0xc735, 0x4690, 0x8d, 0x52, 0x5a, 0x8d, 0xc2, 0x02, 0x13,
            0xaa);

struct IDXGIAdapter : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE EnumOutputs(UINT index, IDXGIOutput** output) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_ADAPTER_DESC* desc) = 0;
  virtual HRESULT STDMETHODCALLTYPE CheckInterfaceSupport(REFGUID name, LARGE_INTEGER* version) = 0;
};
DEFINE_GUID(IID_IDXGIAdapter, 0x2411e7e1, 0x12ac, 0x4ccf, 0xbd, 0x14, 0x97, 0x98, 0xe8, 0x53, 0x4d,
            0xc0);

struct IDXGIAdapter1 : IDXGIAdapter {
  virtual HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_ADAPTER_DESC1* desc) = 0;
};
DEFINE_GUID(IID_IDXGIAdapter1, 0x29038f61, 0x3839, 0x4626, 0x91, 0xfd, 0x08, 0x68, 0x79, 0x01, 0x1a,
            0x05);

struct IDXGIFactory : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE EnumAdapters(UINT index, IDXGIAdapter** adapter) = 0;
  virtual HRESULT STDMETHODCALLTYPE MakeWindowAssociation(HWND window, UINT flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetWindowAssociation(HWND* window) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateSwapChain(IUnknown* device, DXGI_SWAP_CHAIN_DESC* desc,
                                                    IDXGISwapChain** swapChain) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateSoftwareAdapter(HMODULE module,
                                                          IDXGIAdapter** adapter) = 0;
};
DEFINE_GUID(IID_IDXGIFactory, 0x7b7166ec, 0x21c7, 0x44ae, 0xb2, 0x1a, 0xc9, 0xae, 0x32, 0x1a, 0xe3,
            0x69);

struct IDXGIFactory1 : IDXGIFactory {
  virtual HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) = 0;
  virtual BOOL STDMETHODCALLTYPE IsCurrent() = 0;
};
DEFINE_GUID(IID_IDXGIFactory1, 0x770aae78, 0xf26f, 0x4dba, 0xa8, 0x29, 0x25, 0x3c, 0x83, 0xd1, 0xb3,
            0x87);

struct IDXGIDevice : IDXGIObject {
  virtual HRESULT STDMETHODCALLTYPE GetAdapter(IDXGIAdapter** adapter) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateSurface(const DXGI_SURFACE_DESC* desc, UINT count,
                                                  DXGI_USAGE usage,
                                                  const DXGI_SHARED_RESOURCE* shared,
                                                  IDXGISurface** surface) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryResourceResidency(IUnknown* const* resources,
                                                           DXGI_RESIDENCY* residency,
                                                           UINT count) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetGPUThreadPriority(INT priority) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetGPUThreadPriority(INT* priority) = 0;
};
DEFINE_GUID(IID_IDXGIDevice, 0x54ec77fa, 0x1377, 0x44e6, 0x8c, 0x32, 0x88, 0xfd, 0x5f, 0x44, 0xc8,
            0x4c);

extern "C" HRESULT WINAPI CreateDXGIFactory1(REFIID iid, void** factory);
