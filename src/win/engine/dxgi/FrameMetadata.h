#pragma once

#include <dxgi1_2.h>
#include <windows.h>

#include <cstddef>
#include <memory>
#include <span>

namespace qx {

// Lets go of a duplication's frame, whichever way its use ends.
class AcquiredFrame {
 public:
  explicit AcquiredFrame(IDXGIOutputDuplication* duplication) : m_duplication(duplication) {}
  AcquiredFrame(const AcquiredFrame&) = delete;
  AcquiredFrame& operator=(const AcquiredFrame&) = delete;
  ~AcquiredFrame() { static_cast<void>(m_duplication->ReleaseFrame()); }

 private:
  IDXGIOutputDuplication* const m_duplication;
};

// Of the rectangles one by one: where they overlap it counts more than once.
double TotalArea(std::span<const RECT> rects);

// What a duplication says of an acquired frame beside its picture. Keeps its memory
// from frame to frame.
class FrameMetadata {
 public:
  // Reads the frame's changed rectangles, in pixels of the monitor. What moved is
  // read and left out. False on failure (logged). The rectangles are good until the
  // next call.
  bool Read(IDXGIOutputDuplication* duplication, const DXGI_OUTDUPL_FRAME_INFO& frameInfo,
            std::span<const RECT>& dirtyRects);

 private:
  bool reserve(UINT size);

  std::unique_ptr<std::byte[]> m_metadataBuffer;
  UINT m_metadataBufferSize = 0;
};

}  // namespace qx
