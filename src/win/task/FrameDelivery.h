#pragma once

#include <qx-screen-capture.h>

#include <cstdint>
#include <optional>

#include "win/engine/ScreenCaptureFrame.h"
#include "win/task/FrameRecord.h"
#include "win/task/ShareListenerWrapper.h"
#include "win/task/ShareWishes.h"

namespace qx {

// One capture.
struct Shot {
  IScreenCapture::CaptureRect rect = {};
  std::int32_t targetWidth = 0;
  std::int32_t targetHeight = 0;
  std::int64_t timestamp = 0;  // system microseconds
};

// From a captured picture to the host: the size that a frame may have, scaling, format,
// and what goes out when nothing has changed. The capture thread's.
//
// A still screen hides no setting: the format and a smaller size are made of the picture
// that lies in Frame; for the rest the engine is to make another one.
class FrameDelivery {
 public:
  // Before the first frame. `listener` is borrowed.
  void Begin(ShareListenerWrapper* listener, const ShareSettings& settings);

  // What engines capture into.
  ScreenCaptureFrame& Frame() { return m_frame; }

  // The size that a frame of `shot.rect` may have. False: capture nothing (logged); the next
  // call goes by the limit that is set now.
  bool ChooseTargetSize(const ShareSettings& settings, Shot& shot);
  // Before each capture. True: something else is wanted since the last one that can't be
  // made of what lies in Frame. What it says of the first one means nothing to an engine.
  bool NeedsAnotherPicture(const ShareSettings& settings, const Shot& shot);
  // Scales and converts what lies in Frame, and hands it over.
  void DeliverCapture(const ShareSettings& settings, const Shot& shot);
  // Nobody is to see what lies in Frame, not even when another engine takes it for the last
  // picture.
  void DropPicture();
  // Hands the last frame over again, unless the host wants unchanged ones held back. One
  // that is not as it is to be is made anew and handed over at once; so is one that could
  // not be made before.
  void DeliverUnchanged(const ShareSettings& settings, const Shot& shot);
  // The last frame with the present time; of no size before the first one.
  const IScreenCapture::ScreenFrameData& KeepLiveFrame();

 private:
  // How a record was made.
  struct Look {
    IScreenCapture::ScreenFrameFormat format;
    std::int32_t width;  // of the picture
    std::int32_t height;
  };

  bool fits(const Shot& shot) const;
  bool isOutdated(const ShareSettings& settings, const Shot& shot) const;
  Picture choosePicture(const Shot& shot);
  bool makeRecord(const ShareSettings& settings, const Shot& shot);
  void tellDirty(const ShareSettings& settings, const DirtyInfo& dirty) const;
  void adoptLimit(const IScreenCapture::ScreenFrameResolutionLimit& wanted);

  ShareListenerWrapper* m_listener = nullptr;
  ScreenCaptureFrame m_frame;
  FrameRecord m_record;
  std::optional<Look> m_look;  // none: the record is not made of what lies in Frame
  bool m_hasPicture = false;   // Frame, one that may be shown
  Shot m_lastShot;             // what the last capture was asked for
  bool m_lastCursor = false;
  IScreenCapture::ScreenFrameResolutionLimit m_limit;  // in force
  std::uint32_t m_dropCount = 0;
  std::uint32_t m_lastDropCount = 0;  // at the last log line
};

}  // namespace qx
