#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "win/engine/ScreenCaptureEngine.h"
#include "win/engine/dxgi/DynamicCaptureHelper.h"
#include "win/engine/mag/MagPicture.h"

namespace qx {

// The engine that can leave windows out of the picture: a magnifier draws the desktop
// without them, for a window that never shows, and its picture is taken out of it on the
// way (MagPicture). Scaling is done on the graphics processor.
//
// A rectangle of the desktop is captured, for a window share the one that the window
// covers, without the windows above it.
//
// No picture that it delivers or has repeated shows a window that the provider named for
// it. When in doubt there is none.
class ScreenCaptureEngineMag : public ScreenCaptureEngine {
 public:
  // `monitor` is null for the share of a window, `filterWindows` may be empty. With
  // `dynamicCheck` an unchanged screen is answered by NoChange, with `dirtyInfo` frames
  // carry dirty figures then. `newMouseCaptureWay` as for MagCursor.
  ScreenCaptureEngineMag(HMONITOR monitor, FilterWindowProvider filterWindows, bool dynamicCheck,
                         bool dirtyInfo, bool newMouseCaptureWay);
  ~ScreenCaptureEngineMag() override;

  // Leaves nothing behind when it fails.
  bool Initialize() override;
  void UnInitialize() override;
  CaptureEngineType GetEngineType() const override { return IScreenCapture::CaptureEngineMag; }
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  void SetTargetSize(std::int32_t width, std::int32_t height) override;
  void SetDynamicCheck(bool check) override;
  bool IsDesktopBased() const override { return true; }
  void DropPicture() override { m_hasPicture = false; }
  void WantAnotherPicture() override { m_pictureMissed = true; }

 private:
  bool start();
  HWND createWindow();
  bool canCapture() const;
  void setSourceRect(const RECT& rect, bool needScale);
  bool isUnchanged(ScreenCaptureFrame& frame);
  bool isLastPictureWithoutThem() const;
  bool applyFilterList(CaptureResult& result);
  bool waitForDrawing() const;
  bool render(ScreenCaptureFrame& frame);
  MagPicture::Wish wishedPicture() const;
  bool checkBlackFrame(const ScreenCaptureFrame& frame, CaptureResult& result);

  const FilterWindowProvider m_filterWindows;
  RECT m_sourceRect = {0, 0, 1, 1};
  HWND m_magnificationWindow = nullptr;
  std::shared_ptr<MagPicture> m_picture;  // the window's
  std::unique_ptr<DynamicCaptureHelper> m_dynamicCaptureHelper;
  bool m_firstCapture = true;  // no picture yet, or none of the size that is wanted now
  bool m_checkBlack = true;    // until a picture was not black
  std::int32_t m_blackCount = 0;
  std::uint64_t m_lastFilterCount = 0;
  std::int32_t m_surfaceWidth = 0;  // of the last picture
  std::int32_t m_surfaceHeight = 0;
  bool m_needScale = false;
  const bool m_dirtyInfo;
  const bool m_newMouseCaptureWay;

  std::vector<HWND> m_windows;         // to be left out
  std::vector<HWND> m_pictureWindows;  // left out of the last picture in the frame
  bool m_hasPicture = false;
  bool m_pictureMissed = false;  // one that the screen has shown since, or that is wanted
};

}  // namespace qx
