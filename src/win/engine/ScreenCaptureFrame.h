#pragma once

#include <cstdint>
#include <memory>

namespace qx {

// How much of a picture changed.
struct DirtyInfo {
  double ratio = 0.0;           // of the picture's area; 0 when not known
  std::uint64_t rectCount = 0;  // changed rectangles
  bool valid = false;           // the two figures belong to the last capture
};

// A captured picture and, when the processor has to scale, its scaled copy: 32
// bits a pixel, bytes B, G, R, A, rows from top to bottom without gaps.
//
// The blocks are shared: who keeps a reference can go on reading a picture for as long
// as he likes, and the next one is written elsewhere, unless it is to take the last one's
// place. While sizes are steady two blocks take turns, or one is written again and again.
// One thread at a time.
class ScreenCaptureFrame {
 public:
  using Pixels = std::shared_ptr<std::uint8_t[]>;

  std::uint32_t Width() const { return m_width; }
  std::uint32_t Height() const { return m_height; }
  const Pixels& Buffer() const { return m_buffer; }

  std::int32_t ScaledWidth() const { return m_scaledWidth; }
  std::int32_t ScaledHeight() const { return m_scaledHeight; }
  const Pixels& ScaledBuffer() const { return m_scaledBuffer; }

  const DirtyInfo& Dirty() const { return m_dirty; }
  void SetDirty(const DirtyInfo& dirty) { m_dirty = dirty; }

  // What becomes of the last picture when the next one is written.
  enum class Last {
    Kept,     // it may be shown again: the next one may turn out not to be fit to be shown
    Replaced  // also for one who reads it: the next one is delivered once it is there
  };

  // Makes room for a picture of this size; what is there is an older picture, the last one
  // or zeros. False without memory, or for a picture of 2 GiB or more: size and picture
  // stay as they were.
  bool Resize(std::uint32_t width, std::uint32_t height, Last last = Last::Kept);

  // Whether a picture of this size is below 2 GiB.
  static bool CanHold(std::uint32_t width, std::uint32_t height);

  // Takes a picture where it is, without copying. `pixels` holds all of it, and it can
  // be held.
  void Adopt(std::uint32_t width, std::uint32_t height, Pixels pixels);

  // Scales the picture down into ScaledBuffer. False when there is nothing to do
  // (the picture has that size), when the size is not positive or above the
  // picture's, without a picture, and without memory for a first scaled copy.
  // Without memory for a changed size the copy keeps its present size, so ask
  // ScaledWidth and ScaledHeight.
  bool ScaleTo(std::int32_t width, std::int32_t height);

  // Drops both pictures; all sizes are 0 then.
  void Reset();

 private:
  std::uint32_t m_width = 0;
  std::uint32_t m_height = 0;
  std::int32_t m_scaledWidth = 0;
  std::int32_t m_scaledHeight = 0;
  Pixels m_buffer;
  Pixels m_otherBuffer;  // of the same size, or none
  Pixels m_scaledBuffer;
  DirtyInfo m_dirty;
};

}  // namespace qx
