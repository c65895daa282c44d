// Direct3D 9, as far as surfaces go. All interfaces have all their slots.
//
// The library doesn't link to d3d9.dll: Direct3DCreate9Ex is declared for its type, and
// reached through GetProcAddress.
#pragma once

#include "d3d9types.h"

struct IDirect3DDevice9Ex;

// -------------------------------------------------------------------- surfaces

struct IDirect3DResource9 : IUnknown {
  VWIN_SLOT(GetDevice);
  VWIN_SLOT(SetPrivateData);
  VWIN_SLOT(GetPrivateData);
  VWIN_SLOT(FreePrivateData);
  VWIN_SLOT(SetPriority);
  VWIN_SLOT(GetPriority);
  VWIN_SLOT(PreLoad);
  VWIN_SLOT(GetType);
};
DEFINE_GUID(IID_IDirect3DResource9, 0x05eec05d, 0x8f7d, 0x4362, 0xb9, 0x99, 0xd1, 0xba, 0xf3, 0x57,
            0xc7, 0x04);

struct IDirect3DSurface9 : IDirect3DResource9 {
  VWIN_SLOT(GetContainer);
  virtual HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC* desc) = 0;
  virtual HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* locked, const RECT* rect,
                                             DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE UnlockRect() = 0;
  // The surface can't be locked while it is out.
  virtual HRESULT STDMETHODCALLTYPE GetDC(HDC* dc) = 0;
  virtual HRESULT STDMETHODCALLTYPE ReleaseDC(HDC dc) = 0;
};
DEFINE_GUID(IID_IDirect3DSurface9, 0x0cfbaf3a, 0x9ff6, 0x429a, 0x99, 0xb3, 0xa2, 0x79, 0x6a, 0xf8,
            0xb8, 0x9b);

// --------------------------------------------------------------------- devices

struct IDirect3DDevice9 : IUnknown {
  VWIN_SLOT(TestCooperativeLevel);
  VWIN_SLOT(GetAvailableTextureMem);
  VWIN_SLOT(EvictManagedResources);
  VWIN_SLOT(GetDirect3D);
  VWIN_SLOT(GetDeviceCaps);
  VWIN_SLOT(GetDisplayMode);
  virtual HRESULT STDMETHODCALLTYPE
  GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* parameters) = 0;
  VWIN_SLOT(SetCursorProperties);
  VWIN_SLOT(SetCursorPosition);
  VWIN_SLOT(ShowCursor);
  VWIN_SLOT(CreateAdditionalSwapChain);
  VWIN_SLOT(GetSwapChain);
  VWIN_SLOT(GetNumberOfSwapChains);
  VWIN_SLOT(Reset);
  VWIN_SLOT(Present);
  VWIN_SLOT(GetBackBuffer);
  VWIN_SLOT(GetRasterStatus);
  VWIN_SLOT(SetDialogBoxMode);
  VWIN_SLOT(SetGammaRamp);
  VWIN_SLOT(GetGammaRamp);
  VWIN_SLOT(CreateTexture);
  VWIN_SLOT(CreateVolumeTexture);
  VWIN_SLOT(CreateCubeTexture);
  VWIN_SLOT(CreateVertexBuffer);
  VWIN_SLOT(CreateIndexBuffer);
  virtual HRESULT STDMETHODCALLTYPE CreateRenderTarget(UINT width, UINT height, D3DFORMAT format,
                                                       D3DMULTISAMPLE_TYPE multiSample,
                                                       DWORD quality, BOOL lockable,
                                                       IDirect3DSurface9** surface,
                                                       HANDLE* sharedHandle) = 0;
  VWIN_SLOT(CreateDepthStencilSurface);
  VWIN_SLOT(UpdateSurface);
  VWIN_SLOT(UpdateTexture);
  // From the default pool to system memory.
  virtual HRESULT STDMETHODCALLTYPE GetRenderTargetData(IDirect3DSurface9* source,
                                                        IDirect3DSurface9* destination) = 0;
  VWIN_SLOT(GetFrontBufferData);
  // Within the default pool. Null rectangles are whole surfaces.
  virtual HRESULT STDMETHODCALLTYPE StretchRect(IDirect3DSurface9* source, const RECT* sourceRect,
                                                IDirect3DSurface9* destination,
                                                const RECT* destinationRect,
                                                D3DTEXTUREFILTERTYPE filter) = 0;
  virtual HRESULT STDMETHODCALLTYPE ColorFill(IDirect3DSurface9* surface, const RECT* rect,
                                              D3DCOLOR color) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT width, UINT height,
                                                                D3DFORMAT format, D3DPOOL pool,
                                                                IDirect3DSurface9** surface,
                                                                HANDLE* sharedHandle) = 0;
  VWIN_SLOT(SetRenderTarget);
  VWIN_SLOT(GetRenderTarget);
  VWIN_SLOT(SetDepthStencilSurface);
  VWIN_SLOT(GetDepthStencilSurface);
  VWIN_SLOT(BeginScene);
  VWIN_SLOT(EndScene);
  VWIN_SLOT(Clear);
  VWIN_SLOT(SetTransform);
  VWIN_SLOT(GetTransform);
  VWIN_SLOT(MultiplyTransform);
  VWIN_SLOT(SetViewport);
  VWIN_SLOT(GetViewport);
  VWIN_SLOT(SetMaterial);
  VWIN_SLOT(GetMaterial);
  VWIN_SLOT(SetLight);
  VWIN_SLOT(GetLight);
  VWIN_SLOT(LightEnable);
  VWIN_SLOT(GetLightEnable);
  VWIN_SLOT(SetClipPlane);
  VWIN_SLOT(GetClipPlane);
  VWIN_SLOT(SetRenderState);
  VWIN_SLOT(GetRenderState);
  VWIN_SLOT(CreateStateBlock);
  VWIN_SLOT(BeginStateBlock);
  VWIN_SLOT(EndStateBlock);
  VWIN_SLOT(SetClipStatus);
  VWIN_SLOT(GetClipStatus);
  VWIN_SLOT(GetTexture);
  VWIN_SLOT(SetTexture);
  VWIN_SLOT(GetTextureStageState);
  VWIN_SLOT(SetTextureStageState);
  VWIN_SLOT(GetSamplerState);
  VWIN_SLOT(SetSamplerState);
  VWIN_SLOT(ValidateDevice);
  VWIN_SLOT(SetPaletteEntries);
  VWIN_SLOT(GetPaletteEntries);
  VWIN_SLOT(SetCurrentTexturePalette);
  VWIN_SLOT(GetCurrentTexturePalette);
  VWIN_SLOT(SetScissorRect);
  VWIN_SLOT(GetScissorRect);
  VWIN_SLOT(SetSoftwareVertexProcessing);
  VWIN_SLOT(GetSoftwareVertexProcessing);
  VWIN_SLOT(SetNPatchMode);
  VWIN_SLOT(GetNPatchMode);
  VWIN_SLOT(DrawPrimitive);
  VWIN_SLOT(DrawIndexedPrimitive);
  VWIN_SLOT(DrawPrimitiveUP);
  VWIN_SLOT(DrawIndexedPrimitiveUP);
  VWIN_SLOT(ProcessVertices);
  VWIN_SLOT(CreateVertexDeclaration);
  VWIN_SLOT(SetVertexDeclaration);
  VWIN_SLOT(GetVertexDeclaration);
  VWIN_SLOT(SetFVF);
  VWIN_SLOT(GetFVF);
  VWIN_SLOT(CreateVertexShader);
  VWIN_SLOT(SetVertexShader);
  VWIN_SLOT(GetVertexShader);
  VWIN_SLOT(SetVertexShaderConstantF);
  VWIN_SLOT(GetVertexShaderConstantF);
  VWIN_SLOT(SetVertexShaderConstantI);
  VWIN_SLOT(GetVertexShaderConstantI);
  VWIN_SLOT(SetVertexShaderConstantB);
  VWIN_SLOT(GetVertexShaderConstantB);
  VWIN_SLOT(SetStreamSource);
  VWIN_SLOT(GetStreamSource);
  VWIN_SLOT(SetStreamSourceFreq);
  VWIN_SLOT(GetStreamSourceFreq);
  VWIN_SLOT(SetIndices);
  VWIN_SLOT(GetIndices);
  VWIN_SLOT(CreatePixelShader);
  VWIN_SLOT(SetPixelShader);
  VWIN_SLOT(GetPixelShader);
  VWIN_SLOT(SetPixelShaderConstantF);
  VWIN_SLOT(GetPixelShaderConstantF);
  VWIN_SLOT(SetPixelShaderConstantI);
  VWIN_SLOT(GetPixelShaderConstantI);
  VWIN_SLOT(SetPixelShaderConstantB);
  VWIN_SLOT(GetPixelShaderConstantB);
  VWIN_SLOT(DrawRectPatch);
  VWIN_SLOT(DrawTriPatch);
  VWIN_SLOT(DeletePatch);
  VWIN_SLOT(CreateQuery);
};
DEFINE_GUID(IID_IDirect3DDevice9, 0xd0223b96, 0xbf7a, 0x43fd, 0x92, 0xbd, 0xa4, 0x3b, 0x0d, 0x82,
            0xb9, 0xeb);

struct IDirect3DDevice9Ex : IDirect3DDevice9 {
  VWIN_SLOT(SetConvolutionMonoKernel);
  VWIN_SLOT(ComposeRects);
  VWIN_SLOT(PresentEx);
  VWIN_SLOT(GetGPUThreadPriority);
  VWIN_SLOT(SetGPUThreadPriority);
  VWIN_SLOT(WaitForVBlank);
  VWIN_SLOT(CheckResourceResidency);
  VWIN_SLOT(SetMaximumFrameLatency);
  VWIN_SLOT(GetMaximumFrameLatency);
  VWIN_SLOT(CheckDeviceState);
  VWIN_SLOT(CreateRenderTargetEx);
  VWIN_SLOT(CreateOffscreenPlainSurfaceEx);
  VWIN_SLOT(CreateDepthStencilSurfaceEx);
  VWIN_SLOT(ResetEx);
  VWIN_SLOT(GetDisplayModeEx);
};
DEFINE_GUID(IID_IDirect3DDevice9Ex, 0xb18b10ce, 0x2649, 0x405a, 0x87, 0x0f, 0x95, 0xf7, 0x77, 0xd4,
            0x31, 0x3a);

// ------------------------------------------------------------------------ object

struct IDirect3D9 : IUnknown {
  VWIN_SLOT(RegisterSoftwareDevice);
  VWIN_SLOT(GetAdapterCount);
  VWIN_SLOT(GetAdapterIdentifier);
  VWIN_SLOT(GetAdapterModeCount);
  VWIN_SLOT(EnumAdapterModes);
  VWIN_SLOT(GetAdapterDisplayMode);
  VWIN_SLOT(CheckDeviceType);
  VWIN_SLOT(CheckDeviceFormat);
  VWIN_SLOT(CheckDeviceMultiSampleType);
  VWIN_SLOT(CheckDepthStencilMatch);
  VWIN_SLOT(CheckDeviceFormatConversion);
  VWIN_SLOT(GetDeviceCaps);
  VWIN_SLOT(GetAdapterMonitor);
  VWIN_SLOT(CreateDevice);
};
DEFINE_GUID(IID_IDirect3D9, 0x81bdcbca, 0x64d4, 0x426d, 0xae, 0x8d, 0xad, 0x01, 0x47, 0xf4, 0x27,
            0x5c);

struct IDirect3D9Ex : IDirect3D9 {
  VWIN_SLOT(GetAdapterModeCountEx);
  VWIN_SLOT(EnumAdapterModesEx);
  VWIN_SLOT(GetAdapterDisplayModeEx);
  virtual HRESULT STDMETHODCALLTYPE CreateDeviceEx(UINT adapter, D3DDEVTYPE type, HWND focusWindow,
                                                   DWORD behaviour,
                                                   D3DPRESENT_PARAMETERS* parameters,
                                                   D3DDISPLAYMODEEX* fullScreenMode,
                                                   IDirect3DDevice9Ex** device) = 0;
  VWIN_SLOT(GetAdapterLUID);
};
DEFINE_GUID(IID_IDirect3D9Ex, 0x02177241, 0x69fc, 0x400c, 0x8f, 0xf1, 0x93, 0xa4, 0x4d, 0xf6, 0x86,
            0x1d);

extern "C" HRESULT WINAPI Direct3DCreate9Ex(UINT sdkVersion, IDirect3D9Ex** d3d);
