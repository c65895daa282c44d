#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "win/engine/ScreenCaptureFrame.h"

namespace qx {

using CaptureEngineType = IScreenCapture::CaptureEngineType;

// What a capture came to. On a true answer of Capture only the frame counts.
enum class CaptureResult : std::uint8_t {
  Success = 1,        // the frame holds a new picture
  Failed = 2,         // nothing captured
  FilterFailed = 3,   // the exclude list could not be applied
  BlackFrame = 4,     // the picture was all but black and was dropped
  FilterChanged = 5,  // the number of excluded windows changed; the next call captures
  NoChange = 6,       // the picture is what it was, and none was made
  EngineLost = 7,     // the engine can't work any more and must be replaced
};

// Replaces what is in `windows` by those to keep out of a picture of the rectangle.
// The caller keeps the vector, so that a picture takes no memory. Left alone when the
// windows can't be told at present: the last list stays in force.
using FilterWindowProvider = std::function<void(const RECT& rect, std::vector<HWND>& windows)>;
using EngineChangedCallback = std::function<void(CaptureEngineType)>;

// One way to capture the screen.
//
// Life: construct, Initialize, then captures and settings, UnInitialize. It may
// be initialised again afterwards; settings outlive that. The cursor is set before the
// start as well, so that the first picture has it as wanted. Rectangles are in
// pixels of the virtual screen. An engine takes no lock: one thread at a time
// calls it, a share's capture thread for all captures.
class ScreenCaptureEngine {
 public:
  ScreenCaptureEngine() = default;
  ScreenCaptureEngine(const ScreenCaptureEngine&) = delete;
  ScreenCaptureEngine& operator=(const ScreenCaptureEngine&) = delete;
  virtual ~ScreenCaptureEngine() = default;

  // False: this engine can't work here (logged). It is safe to destroy then, and
  // to capture with, which fails.
  virtual bool Initialize() = 0;
  virtual void UnInitialize() = 0;

  virtual CaptureEngineType GetEngineType() const = 0;

  // The monitor, after its handle changed. Null for engines that work for a window.
  virtual void SetSource(HMONITOR source) { m_source = source; }

  // True: `frame` may be delivered. It holds a new picture, of the rectangle's
  // size or scaled down to the target size, or still the last one. False:
  // `result` says why; it may have filled the frame's dirty figures even so.
  virtual bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                       ScreenCaptureFrame& frame, CaptureResult& result) = 0;

  // The size that the picture is wanted in, in pixels; 0 means the rectangle's.
  // An engine that can't scale ignores it.
  virtual void SetTargetSize(std::int32_t width, std::int32_t height) {
    m_targetWidth = width;
    m_targetHeight = height;
  }
  // Whether the machine draws in software.
  virtual void SetUseBasicGraphics(bool use) { m_useBasicGraphics = use; }
  virtual void ShowCursor(bool show) { m_showCursor = show; }
  // Turns the detection of unchanged pictures on or off in a running engine.
  virtual void SetDynamicCheck(bool /*check*/) {}

  // Whether pictures are taken of the desktop, so that what covers a window
  // shows; false when a window draws itself, wherever it lies.
  virtual bool IsDesktopBased() const = 0;

  // The picture of the last capture was not delivered: the next one must make another,
  // and not say that nothing has changed.
  virtual void DropPicture() {}

  // The last picture has another cursor or a smaller size than is wanted now. It may be
  // repeated, but the engine makes another as soon as the system lets it, also of a screen
  // that has not changed. Before its first picture there is nothing to do.
  virtual void WantAnotherPicture() {}

  // Whether the shared window has yet to answer; no capture can succeed meanwhile, and
  // that is no fault of the engine.
  virtual bool IsWaiting() const { return false; }

 protected:
  HMONITOR m_source = nullptr;
  bool m_useBasicGraphics = false;
  bool m_showCursor = true;
  std::int32_t m_targetWidth = 0;
  std::int32_t m_targetHeight = 0;
};

// The class name that log lines give an engine of this type.
const char* EngineClassName(CaptureEngineType type);

}  // namespace qx
