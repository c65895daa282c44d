#include "common/BufferYUVI420.h"

#include <cstddef>
#include <new>

#include "common/Logging.h"

namespace qx {

bool BufferYUVI420::CreateBuffer(std::int32_t width, std::int32_t height) {
  if (width == m_width && height == m_height) {
    return true;
  }
  if (width <= 0 || height <= 0) {
    return false;
  }
  const std::size_t lumaSize = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const std::size_t chromaWidth = (static_cast<std::size_t>(width) + 1) / 2;
  const std::size_t chromaSize = chromaWidth * ((static_cast<std::size_t>(height) + 1) / 2);
  std::unique_ptr<std::uint8_t[]> block(new (std::nothrow) std::uint8_t[lumaSize + 2 * chromaSize]);
  if (!block) {
    return false;
  }

  m_buffer = std::move(block);
  m_width = width;
  m_height = height;
  m_strideY = width;
  m_strideU = m_strideV = static_cast<std::int32_t>(chromaWidth);
  m_bufferY = m_buffer.get();
  m_bufferU = m_bufferY + lumaSize;
  m_bufferV = m_bufferU + chromaSize;
  QX_LOG_INFO("BufferYUVI420::CreateBuffer param is width is {}, height is {},m_bufferY is {}",
              width, height, fmt::ptr(m_bufferY));
  return true;
}

}  // namespace qx
