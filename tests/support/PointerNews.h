#pragma once

#include <dxgi1_2.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace qx::test {

// What frames of a duplicated monitor tell of the pointer, as a test wants it. The rest
// of a duplication isn't asked.
class PointerNews : public IDXGIOutputDuplication {
 public:
  // A frame after which the pointer is here.
  static DXGI_OUTDUPL_FRAME_INFO MouseAt(int x, int y, bool visible = true) {
    DXGI_OUTDUPL_FRAME_INFO frame = {};
    frame.LastMouseUpdateTime.QuadPart = 1;
    frame.PointerPosition = {{x, y}, visible};
    return frame;
  }
  // The same, and it has this shape now.
  DXGI_OUTDUPL_FRAME_INFO At(int x, int y) const {
    DXGI_OUTDUPL_FRAME_INFO frame = MouseAt(x, y);
    frame.PointerShapeBufferSize = static_cast<UINT>(shape.size());
    return frame;
  }

  DXGI_OUTDUPL_POINTER_SHAPE_INFO info = {};
  std::vector<std::uint8_t> shape;
  HRESULT answer = S_OK;

  HRESULT STDMETHODCALLTYPE GetFramePointerShape(UINT size, void* buffer, UINT* required,
                                                 DXGI_OUTDUPL_POINTER_SHAPE_INFO* out) override {
    EXPECT_EQ(size, shape.size());
    *required = static_cast<UINT>(shape.size());
    if (SUCCEEDED(answer)) {
      std::memcpy(buffer, shape.data(), shape.size());
      *out = info;
    }
    return answer;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  // Virtual Windows has not all of these in its header.
  HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, UINT, const void*) { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID, const IUnknown*) { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, UINT*, void*) { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetParent(REFIID, void**) override { return E_NOTIMPL; }
  void STDMETHODCALLTYPE GetDesc(DXGI_OUTDUPL_DESC*) override {}
  HRESULT STDMETHODCALLTYPE AcquireNextFrame(UINT, DXGI_OUTDUPL_FRAME_INFO*,
                                             IDXGIResource**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetFrameDirtyRects(UINT, RECT*, UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetFrameMoveRects(UINT, DXGI_OUTDUPL_MOVE_RECT*, UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE MapDesktopSurface(DXGI_MAPPED_RECT*) { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnMapDesktopSurface() { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ReleaseFrame() override { return E_NOTIMPL; }
};

}  // namespace qx::test
