#pragma once

#include <d3d11.h>
#include <windows.h>
#include <windows_graphics_capture.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "win/engine/ScreenCaptureEngine.h"
#include "win/engine/dxgi/DynamicCaptureHelper.h"
#include "win/engine/wgc/CaptureSession.h"
#include "win/engine/wgc/CaptureThread.h"
#include "win/engine/wgc/CapturedFrame.h"
#include "win/engine/wgc/PictureReader.h"
#include "win/util/ComPtr.h"

namespace qx {

// Captures a monitor or a window with Windows.Graphics.Capture. What covers a window is not
// in its picture. The system draws the cursor; the picture is scaled, also up, on the
// graphics processor.
//
// The system tells of each picture once, and where there is no new one the last one counts:
// Capture is true then, with `result` Failed. When the last one does not count any more
// (it was dropped, has another size, shows another part of the window, or a cursor that is
// not wanted) and no new one comes, the session is started anew, since every session begins
// with a picture. So nothing has to be kept for it while all is well.
//
// A picture that could not be fetched is missed until one is: meanwhile an empty pool is a
// failure, as it is once the device was removed, and who counts the failures starts the
// engine anew.
class ScreenCaptureEngineWGC : public ScreenCaptureEngine {
 public:
  // With `dynamicCheck` an unchanged screen is answered by NoChange, with `dirtyInfo` frames
  // carry dirty figures then.
  ScreenCaptureEngineWGC(HMONITOR monitor, bool dynamicCheck, bool dirtyInfo);
  // `filterWindows`, which may be empty, names what covers the window.
  ScreenCaptureEngineWGC(HWND window, FilterWindowProvider filterWindows, bool dynamicCheck,
                         bool dirtyInfo);
  ~ScreenCaptureEngineWGC() override;

  bool Initialize() override;
  void UnInitialize() override;
  CaptureEngineType GetEngineType() const override { return IScreenCapture::CaptureEngineWGC; }
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  void ShowCursor(bool show) override;
  void SetDynamicCheck(bool check) override;
  bool IsDesktopBased() const override { return true; }
  void DropPicture() override;
  void WantAnotherPicture() override;

 private:
  // Whether the screen has changed: not since some captures, or lately, or nobody can tell.
  enum class Change { None, Lately, Possible };
  // A picture that could not be fetched: none, one of this session, one of an earlier one.
  enum class Missed { None, Now, Before };
  // What of a picture is shown.
  struct Part {
    bool whole = true;
    RECT box = {};
  };

  ScreenCaptureEngineWGC(HMONITOR monitor, HWND window, FilterWindowProvider filterWindows,
                         bool dynamicCheck, bool dirtyInfo);

  void createDevice();
  HRESULT deviceState() const;
  bool capture(const RECT& rect, ScreenCaptureFrame& frame, CaptureResult& result);
  bool restart();
  bool showsOldCursor(const CapturedFrame& captured);
  Change checkForChange(const RECT& rect, ScreenCaptureFrame& frame);
  bool handleNoFrame(const RECT& rect, Change change, CaptureResult& result);
  bool needsAnotherPicture(const RECT& rect);
  bool followSize(const wgc::SizeInt32& size);
  bool findPart(const RECT& rect, Part& part) const;
  bool copyPicture(const CapturedFrame& captured, const RECT& rect, ScreenCaptureFrame& frame,
                   CaptureResult& result);

  const HWND m_window;  // null for a monitor
  const FilterWindowProvider m_filterProvider;
  const bool m_dirtyInfo;
  std::vector<HWND> m_coveringWindows;
  ComPtr<ID3D11Device> m_device;
  std::shared_ptr<CaptureSession> m_session;  // null while not initialised
  PictureReader m_reader;
  std::unique_ptr<DynamicCaptureHelper> m_dynamicCaptureHelper;
  bool m_firstFrame = true;
  bool m_frameIsOld = false;  // made before what it shows changed its size
  RECT m_pictureRect = {};    // of the last picture, and what it shows
  Part m_picturePart;
  Missed m_missed = Missed::None;
  bool m_anotherWanted = false;
  bool m_pictureDropped = false;  // the last one; it must not be repeated
  bool m_restartWanted = false;
  std::int64_t m_cursorTime = 0;     // since when pictures show it as it is wanted; 0: all do
  std::int32_t m_emptyCaptures = 0;  // since another picture is wanted
  std::int32_t m_looksLeft = 0;      // that the last change is good for
  CaptureThread m_thread;
};

}  // namespace qx
