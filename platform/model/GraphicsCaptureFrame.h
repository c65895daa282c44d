// What Windows.Graphics.Capture has of Direct3D: its device, a stand-in for one of
// Direct3D 11, and frames with their surfaces.
#pragma once

#include <d3d11.h>
#include <windows_graphics_capture.h>

#include <cstdint>
#include <memory>

#include "platform/model/D3D11Objects.h"

namespace vwin::capture {

HRESULT MakeDirect3DDevice(ID3D11Device* device, wgc::IInspectable** direct3dDevice);
// The Direct3D 11 device behind it, borrowed; null for what is none. `call` gets it, for
// the ledger.
ID3D11Device* DeviceBehind(wgc::IDirect3DDevice* device, const char* call);

// A texture of a pool, with at most one frame at a time.
struct Buffer {
  std::shared_ptr<d3d11::TextureContent> texture;
  bool out = false;
};

struct FrameFacts {
  std::shared_ptr<Buffer> buffer;  // marked as out; free again when the frame ends
  SIZE content{};
  std::int64_t time = 0;
};
// Its texture is withdrawn when it is closed or released for the last time.
HRESULT MakeFrame(ID3D11Device* device, const FrameFacts& facts,
                  wgc::IDirect3D11CaptureFrame** frame);

}  // namespace vwin::capture
