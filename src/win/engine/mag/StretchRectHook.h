#pragma once

#include <d3d9.h>
#include <windows.h>

namespace qx {

// The detour of IDirect3DDevice9::StretchRect. A magnifier window of ours is about to
// copy what it has drawn: its picture takes that, and the copy fails. For all other
// devices it is the function as it was.
HRESULT STDMETHODCALLTYPE StretchRectHook(IDirect3DDevice9* device, IDirect3DSurface9* source,
                                          const RECT* sourceRect, IDirect3DSurface9* dest,
                                          const RECT* destRect, D3DTEXTUREFILTERTYPE filter);

}  // namespace qx
