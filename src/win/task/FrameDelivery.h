#pragma once

#include <qx-screen-capture.h>

#include <cstdint>

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
class FrameDelivery {
 public:
  // Before the first frame. `listener` is borrowed.
  void Begin(ShareListenerWrapper* listener,
             const IScreenCapture::ScreenFrameResolutionLimit& limit);

  // What engines capture into.
  ScreenCaptureFrame& Frame() { return m_frame; }

  // The size that a frame of `shot.rect` may have. False: capture nothing (logged).
  bool ChooseTargetSize(Shot& shot) const;
  // Scales and converts what lies in Frame, and hands it over.
  void DeliverCapture(const ShareSettings& settings, const Shot& shot);
  // Hands the last frame over again, unless the host wants unchanged ones held back. When
  // the last picture could not be handed over it is now, and not one from before it.
  void DeliverUnchanged(const ShareSettings& settings, const Shot& shot);
  // The last frame with the present time; of no size before the first one.
  const IScreenCapture::ScreenFrameData& KeepLiveFrame();

 private:
  Picture choosePicture(const Shot& shot);
  void adoptLimit(const IScreenCapture::ScreenFrameResolutionLimit& wanted);

  ShareListenerWrapper* m_listener = nullptr;
  ScreenCaptureFrame m_frame;
  FrameRecord m_record;
  bool m_owesPicture = false;  // Frame holds one that the record could not take
  IScreenCapture::ScreenFrameResolutionLimit m_limit;  // in force
  std::uint32_t m_dropCount = 0;
  std::uint32_t m_lastDropCount = 0;  // at the last log line
};

}  // namespace qx
