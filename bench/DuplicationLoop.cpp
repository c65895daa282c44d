#include "DuplicationLoop.h"

#include <d3d11.h>
#include <dxgi1_2.h>

#include "Duplication.h"
#include "PacedLoop.h"
#include "PictureDrawing.h"

namespace {

using qx::ComPtr;

class DrawingLoop {
 public:
  explicit DrawingLoop(const Round& round) : m_drawing(m_screen.device, round.picture) {}

  bool Capture() {
    DXGI_OUTDUPL_FRAME_INFO info = {};
    ComPtr<IDXGIResource> resource;
    if (FAILED(m_screen.duplication->AcquireNextFrame(0, &info, resource.Put()))) {
      return false;
    }
    ComPtr<ID3D11Texture2D> texture;
    const bool copied =
        SUCCEEDED(resource.As(IID_ID3D11Texture2D, texture)) && m_drawing.Draw(texture.Get());
    m_screen.duplication->ReleaseFrame();
    return copied;
  }

 private:
  Duplication m_screen;
  PictureDrawing m_drawing;
};

class StillLoop {
 public:
  explicit StillLoop(const Round&) {}

  // As virtual Windows logs them. The first time there is a picture.
  bool Capture() {
    WatchMonitor(m_monitor);
    DXGI_OUTDUPL_FRAME_INFO frame = {};
    ComPtr<IDXGIResource> resource;
    const HRESULT hr = m_screen.duplication->AcquireNextFrame(0, &frame, resource.Put());
    if (SUCCEEDED(hr)) {
      m_screen.duplication->ReleaseFrame();
    }
    GetSystemMetrics(SM_REMOTESESSION);
    return SUCCEEDED(hr) || hr == DXGI_ERROR_WAIT_TIMEOUT;
  }

 private:
  const Neighbour m_neighbour;
  const HMONITOR m_monitor = MonitorFromWindow(nullptr, MONITOR_DEFAULTTOPRIMARY);
  Duplication m_screen;
};

}  // namespace

double DuplicationLoopMicrosPerFrame(const Round& round) {
  return PacedMicrosPerFrame<DrawingLoop>(round);
}

double StillLoopMicrosPerFrame(const Round& round) { return PacedMicrosPerFrame<StillLoop>(round); }
