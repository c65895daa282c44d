// Windows.Graphics.Capture as its binary interface has it: what the library calls, and
// what stands before that in the function tables. Declared here, once for both targets,
// since the headers of MinGW-w64 lack most of it. The order of the functions is the
// platform's; so are names, identifiers and types.
#pragma once

#include <unknwn.h>
#include <windows.h>

#include <cstdint>

struct IDXGIDevice;

namespace wgc {

using HSTRING = struct HSTRING__*;  // null is the empty string
using Boolean = std::uint8_t;

struct SizeInt32 {
  std::int32_t width;
  std::int32_t height;

  friend bool operator==(const SizeInt32&, const SizeInt32&) = default;
};

struct EventRegistrationToken {
  std::int64_t value;
};

// Numbers as DXGI_FORMAT has them.
enum class DirectXPixelFormat : std::int32_t { B8G8R8A8UIntNormalized = 87 };

struct IInspectable : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetIids(ULONG* count, IID** iids) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRuntimeClassName(HSTRING* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTrustLevel(std::int32_t* level) = 0;
};
inline constexpr IID IID_IInspectable = {
    0xaf86e2e0, 0xb12d, 0x4c6a, {0x9c, 0x5a, 0xd7, 0xaa, 0x65, 0x10, 0x1e, 0x90}};

// An object that has it may be called on any thread.
inline constexpr IID IID_IAgileObject = {
    0x94ea2b94, 0xe9cc, 0x49e0, {0xc0, 0xff, 0xee, 0x64, 0xca, 0x8f, 0x5b, 0x90}};

// Frames, pools and sessions have it.
struct IClosable : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE Close() = 0;
};
inline constexpr IID IID_IClosable = {
    0x30d5a829, 0x7fa4, 0x4026, {0x83, 0xbb, 0xd7, 0x5b, 0xae, 0x4e, 0xa9, 0x9e}};

// --------------------------------------------------------------------- Direct3D

struct IDirect3DDevice : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE Trim() = 0;
};
inline constexpr IID IID_IDirect3DDevice = {
    0xa37624ab, 0x8d5f, 0x4650, {0x9d, 0x3e, 0x9e, 0xae, 0x3d, 0x9b, 0xc6, 0x70}};

struct Direct3DSurfaceDescription {
  std::int32_t width;
  std::int32_t height;
  DirectXPixelFormat format;
  std::int32_t sampleCount;
  std::int32_t sampleQuality;
};

struct IDirect3DSurface : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_Description(Direct3DSurfaceDescription* description) = 0;
};
inline constexpr IID IID_IDirect3DSurface = {
    0x0bf4a146, 0x13c1, 0x4694, {0xbe, 0xe3, 0x7a, 0xbf, 0x15, 0xea, 0xf5, 0x86}};

// Surfaces have it: the way to the texture.
struct IDirect3DDxgiInterfaceAccess : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetInterface(REFIID iid, void** object) = 0;
};
inline constexpr IID IID_IDirect3DDxgiInterfaceAccess = {
    0xa9b3d012, 0x3df2, 0x4ee3, {0xb8, 0xd1, 0x86, 0x95, 0xf4, 0x57, 0xd3, 0xc1}};

// ------------------------------------------------------------------------ items

struct IGraphicsCaptureItem;

struct IClosedHandler : IUnknown {  // ITypedEventHandler<GraphicsCaptureItem, IInspectable>
  virtual HRESULT STDMETHODCALLTYPE Invoke(IGraphicsCaptureItem* item, IInspectable* args) = 0;
};
inline constexpr IID IID_IClosedHandler = {
    0xe9c610c0, 0xa68c, 0x5bd9, {0x80, 0x21, 0x85, 0x89, 0x34, 0x6e, 0xee, 0xe2}};

struct IGraphicsCaptureItem : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_DisplayName(HSTRING* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Size(SizeInt32* size) = 0;
  // `Closed` is told on a thread of the system.
  virtual HRESULT STDMETHODCALLTYPE add_Closed(IClosedHandler* handler,
                                               EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_Closed(EventRegistrationToken token) = 0;
};
inline constexpr IID IID_IGraphicsCaptureItem = {
    0x79c3f95b, 0x31f7, 0x4ec2, {0xa4, 0x64, 0x63, 0x2e, 0xf5, 0xd3, 0x07, 0x60}};

// Of the factory of "Windows.Graphics.Capture.GraphicsCaptureItem".
struct IGraphicsCaptureItemInterop : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateForWindow(HWND window, REFIID iid, void** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateForMonitor(HMONITOR monitor, REFIID iid, void** item) = 0;
};
inline constexpr IID IID_IGraphicsCaptureItemInterop = {
    0x3628e81b, 0x3cac, 0x4c60, {0xb7, 0xf4, 0x23, 0xce, 0x0e, 0x0c, 0x33, 0x56}};

// --------------------------------------------------------------------- sessions

struct IGraphicsCaptureSession : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE StartCapture() = 0;
};
inline constexpr IID IID_IGraphicsCaptureSession = {
    0x814e42a9, 0xf70f, 0x4ad7, {0x93, 0x9b, 0xfd, 0xdc, 0xc6, 0xeb, 0x88, 0x0d}};

struct IGraphicsCaptureSession2 : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_IsCursorCaptureEnabled(Boolean* enabled) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_IsCursorCaptureEnabled(Boolean enabled) = 0;
};
inline constexpr IID IID_IGraphicsCaptureSession2 = {
    0x2c39ae40, 0x7d2e, 0x5044, {0x80, 0x4e, 0x8b, 0x67, 0x99, 0xd4, 0xcf, 0x9e}};

struct IGraphicsCaptureSession3 : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_IsBorderRequired(Boolean* required) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_IsBorderRequired(Boolean required) = 0;
};
inline constexpr IID IID_IGraphicsCaptureSession3 = {
    0xf2cdd966, 0x22ae, 0x5ea1, {0x95, 0x96, 0x3a, 0x28, 0x93, 0x44, 0xc3, 0xbe}};

// ----------------------------------------------------------------------- frames

struct IDirect3D11CaptureFrame : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_Surface(IDirect3DSurface** surface) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_SystemRelativeTime(std::int64_t* time) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ContentSize(SizeInt32* size) = 0;
};
inline constexpr IID IID_IDirect3D11CaptureFrame = {
    0xfa50c623, 0x38da, 0x4b32, {0xac, 0xf3, 0xfa, 0x97, 0x34, 0xad, 0x80, 0x0e}};

struct IDirect3D11CaptureFramePool : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE Recreate(IDirect3DDevice* device, DirectXPixelFormat format,
                                             std::int32_t buffers, SizeInt32 size) = 0;
  // S_OK with null when there is none.
  virtual HRESULT STDMETHODCALLTYPE TryGetNextFrame(IDirect3D11CaptureFrame** frame) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_FrameArrived(IUnknown* handler,
                                                     EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_FrameArrived(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateCaptureSession(IGraphicsCaptureItem* item,
                                                         IGraphicsCaptureSession** session) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DispatcherQueue(IInspectable** queue) = 0;
};
inline constexpr IID IID_IDirect3D11CaptureFramePool = {
    0x24eb6d22, 0x1975, 0x422e, {0x82, 0xe7, 0x78, 0x0d, 0xbd, 0x8d, 0xdf, 0x24}};

// Of the factory of "Windows.Graphics.Capture.Direct3D11CaptureFramePool", as the next.
struct IDirect3D11CaptureFramePoolStatics : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE Create(IDirect3DDevice* device, DirectXPixelFormat format,
                                           std::int32_t buffers, SizeInt32 size,
                                           IDirect3D11CaptureFramePool** pool) = 0;
};
inline constexpr IID IID_IDirect3D11CaptureFramePoolStatics = {
    0x7784056a, 0x67aa, 0x4d53, {0xae, 0x54, 0x10, 0x88, 0xd5, 0xa8, 0xca, 0x21}};

// Its pools may be used on any thread.
struct IDirect3D11CaptureFramePoolStatics2 : IInspectable {
  virtual HRESULT STDMETHODCALLTYPE CreateFreeThreaded(IDirect3DDevice* device,
                                                       DirectXPixelFormat format,
                                                       std::int32_t buffers, SizeInt32 size,
                                                       IDirect3D11CaptureFramePool** pool) = 0;
};
inline constexpr IID IID_IDirect3D11CaptureFramePoolStatics2 = {
    0x589b103f, 0x6bbc, 0x5df5, {0xa9, 0x91, 0x02, 0xe2, 0x8b, 0x3b, 0x66, 0xd5}};

// ------------------------------------------- functions, by their addresses' types

using RoGetActivationFactory = HRESULT(WINAPI*)(HSTRING className, REFIID iid, void** factory);
using WindowsCreateString = HRESULT(WINAPI*)(const WCHAR* text, UINT32 length, HSTRING* string);
using WindowsDeleteString = HRESULT(WINAPI*)(HSTRING string);
using CreateDirect3D11DeviceFromDXGIDevice = HRESULT(WINAPI*)(IDXGIDevice* device,
                                                              IInspectable** direct3dDevice);

}  // namespace wgc
