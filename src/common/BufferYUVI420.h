#pragma once

#include <cstdint>
#include <memory>

namespace qx {

// One planar 4:2:0 picture: a full-size Y plane, and U and V planes of half the
// size in each direction, one behind the other in a single block without gaps.
// The planes belong to this object and move when the size changes.
class BufferYUVI420 {
 public:
  BufferYUVI420() = default;
  BufferYUVI420(const BufferYUVI420&) = delete;
  BufferYUVI420& operator=(const BufferYUVI420&) = delete;

  // Makes room for a picture of this size in pixels; the contents are undefined.
  // Does nothing when the buffer has that size already. False when a side is not
  // positive, or when there is no memory for it: the buffer then keeps the size
  // and the picture that it had.
  bool CreateBuffer(std::int32_t width, std::int32_t height);

  std::int32_t Width() const { return m_width; }
  std::int32_t Height() const { return m_height; }
  // Bytes per row.
  std::int32_t StrideY() const { return m_strideY; }
  std::int32_t StrideU() const { return m_strideU; }
  std::int32_t StrideV() const { return m_strideV; }
  // Null until the first CreateBuffer.
  std::uint8_t* BufferY() const { return m_bufferY; }
  std::uint8_t* BufferU() const { return m_bufferU; }
  std::uint8_t* BufferV() const { return m_bufferV; }

 private:
  std::int32_t m_width = 0;
  std::int32_t m_height = 0;
  std::int32_t m_strideY = 0;
  std::int32_t m_strideU = 0;
  std::int32_t m_strideV = 0;
  std::uint8_t* m_bufferY = nullptr;
  std::uint8_t* m_bufferU = nullptr;
  std::uint8_t* m_bufferV = nullptr;
  std::unique_ptr<std::uint8_t[]> m_buffer;
};

}  // namespace qx
