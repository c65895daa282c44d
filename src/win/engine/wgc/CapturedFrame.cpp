#include "win/engine/wgc/CapturedFrame.h"

#include <utility>

#include "common/Logging.h"

namespace qx {
namespace {

// Each step has a limit of its own. Nor is a success without its object one.
template <int Step>
bool Done(HRESULT hr, bool got, const char* what) {
  if (SUCCEEDED(hr) && got) {
    return true;
  }
  QX_LOG_LIMITED(LogLevelError, "{}:{}", what, static_cast<std::int32_t>(FAILED(hr) ? hr : E_FAIL));
  return false;
}

}  // namespace

CapturedFrame::CapturedFrame(ComPtr<wgc::IDirect3D11CaptureFrame> frame)
    : m_frame(std::move(frame)) {}

void CapturedFrame::Reset() {
  m_texture.Reset();
  m_frame.Reset();
}

bool CapturedFrame::Open() {
  ComPtr<wgc::IDirect3DSurface> surface;
  HRESULT hr = m_frame->get_Surface(surface.Put());
  if (!Done<0>(hr, surface.Get(), "get_Surface failed")) {
    return false;
  }
  ComPtr<wgc::IDirect3DDxgiInterfaceAccess> access;
  hr = surface.As(wgc::IID_IDirect3DDxgiInterfaceAccess, access);
  if (!Done<1>(hr, access.Get(), "Failed to get IDirect3DDxgiInterfaceAccess")) {
    return false;
  }
  hr = access->GetInterface(IID_ID3D11Texture2D, m_texture.PutVoid());
  if (!Done<2>(hr, m_texture.Get(), "Failed to get ID3D11Texture2D")) {
    return false;
  }
  return Done<3>(m_frame->get_ContentSize(&m_size), true, "Failed to get ContentSize");
}

bool CapturedFrame::IsOlderThan(std::int64_t micros) const {
  std::int64_t time = 0;  // in units of 100 ns
  return FAILED(m_frame->get_SystemRelativeTime(&time)) || time / 10 < micros;
}

}  // namespace qx
