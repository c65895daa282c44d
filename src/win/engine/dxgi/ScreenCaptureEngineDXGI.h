#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>

#include "win/engine/ScreenCaptureEngine.h"
#include "win/engine/dxgi/DXGIDuplicationManager.h"
#include "win/engine/dxgi/Direct11Scale.h"
#include "win/engine/dxgi/FrameMetadata.h"
#include "win/engine/dxgi/StagingTexture.h"
#include "win/util/ComPtr.h"

namespace qx {

// Captures one monitor with desktop duplication. Scaling, rotation and the cursor are
// done on the graphics processor; what comes back has its final size. The picture
// shows the whole monitor whatever part of it is asked for.
//
// The first picture after a start is only looked at: some drivers begin with black ones,
// which nobody is to see. Where a still screen can be told from a failure, the next call
// delivers it unless there is a newer one.
//
// The system tells of a picture once. When the last one does not count any more and the
// screen rests, the desktop is duplicated anew: every duplication begins with a picture. So
// nothing has to be kept for it while all is well.
class ScreenCaptureEngineDXGI : public ScreenCaptureEngine {
 public:
  // With `dynamicCheck` an unchanged screen is answered by NoChange, with `dirtyInfo`
  // frames carry dirty figures.
  ScreenCaptureEngineDXGI(HMONITOR monitor, bool dynamicCheck, bool dirtyInfo);
  ~ScreenCaptureEngineDXGI() override;

  bool Initialize() override;
  void UnInitialize() override;
  CaptureEngineType GetEngineType() const override { return IScreenCapture::CaptureEngineDXGI; }
  void SetSource(HMONITOR source) override;
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  bool IsDesktopBased() const override { return true; }
  void WantAnotherPicture() override;

 private:
  HRESULT acquireFrame(DXGI_OUTDUPL_FRAME_INFO& frameInfo, ComPtr<IDXGIResource>& resource);
  bool canTellStillScreen() const;
  bool recreate(const RECT& monitorRect);
  void release();
  bool handleNoFrame(HRESULT hr, ScreenCaptureFrame& frame, CaptureResult& result);
  bool captureFrame(IDXGIResource* resource, const RECT& rect, ScreenCaptureFrame& frame,
                    CaptureResult& result);
  void checkForBlack(ID3D11Texture2D* texture, const RECT& rect, CaptureResult& result);
  bool takeTestedPicture(ScreenCaptureFrame& frame);
  void updateMetadata(const DXGI_OUTDUPL_FRAME_INFO& frameInfo);
  bool copyFrame(ID3D11Texture2D* texture, RECT rect, ScreenCaptureFrame& frame);
  bool readBack(ID3D11Texture2D* texture, std::uint32_t width, std::uint32_t height,
                ScreenCaptureFrame& frame);

  RECT m_monitorRect = {};
  DXGIDuplicationManager::Record m_duplication;  // null while not initialised
  HMONITOR m_duplicatedMonitor = nullptr;        // whose it is; the source may change
  bool m_frameChanged = true;
  bool m_mouseChanged = true;
  bool m_hasDesktop = false;     // the duplication has told of a picture
  bool m_pictureMissed = false;  // the last one that the system told of
  bool m_anotherWanted = false;  // the last one does not count any more, also after a restart
  std::int64_t m_lastPresentTime = 0;
  std::int64_t m_lastMouseUpdateTime = 0;
  const bool m_dirtyInfo;
  const bool m_dynamicCheck;
  std::uint64_t m_dirtyRectCount = 0;
  double m_dirtyRatio = 0.0;
  FrameMetadata m_metadata;
  StagingTexture m_cpuAccess{{.create = "create m_cpuAccessTexture",
                              .recreate = "need recreate m_cpuAccessTexture",
                              .withSurface = true}};
  Direct11Scale m_direct11Scale;
  bool m_checkBlackFrame = true;         // no picture has passed yet
  ScreenCaptureFrame m_blackCheckFrame;  // once one has: not yet delivered, if any
};

}  // namespace qx
