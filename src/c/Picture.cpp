#include "c/Picture.h"

#include <bit>
#include <cstring>

namespace qx::c {

namespace {

// As the library's own pictures do: a copy between two that lie differently within their
// pages takes longer.
constexpr std::size_t kPage = 4096;

// Rows of one group of pixels, without what may lie behind the last one.
struct Plane {
  const std::uint8_t* rows;
  std::int32_t stride;
  std::int32_t rowBytes;
  std::int32_t height;

  std::size_t Bytes() const {
    return static_cast<std::size_t>(stride) * static_cast<std::size_t>(height - 1) +
           static_cast<std::size_t>(rowBytes);
  }
};

}  // namespace

std::uint8_t* Picture::reserve(std::size_t bytes) {
  std::size_t room = bytes + kPage - 1;
  if (m_room < room) {
    m_memory.reset();  // before the new one is taken
    m_room = 0;
    m_memory = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    m_room = room;
  }
  void* start = m_memory.get();
  return static_cast<std::uint8_t*>(std::align(kPage, bytes, start, room));
}

void Picture::Copy(const IScreenCapture::ScreenFrameData& frame) {
  const bool planar = frame.format == IScreenCapture::ScreenFrameFormatI420;
  const std::int32_t halfWidth = (frame.width + 1) / 2;
  const std::int32_t halfHeight = (frame.height + 1) / 2;
  const Plane planes[] = {
      planar ? Plane{frame.dataY, frame.strideY, frame.width, frame.height}
             : Plane{frame.data, frame.stride, frame.width * 4, frame.height},
      {frame.dataU, frame.strideU, halfWidth, halfHeight},
      {frame.dataV, frame.strideV, halfWidth, halfHeight},
  };
  const std::size_t first = planes[0].Bytes();
  const std::size_t second = planar ? planes[1].Bytes() : 0;
  const std::size_t third = planar ? planes[2].Bytes() : 0;

  std::uint8_t* const memory = reserve(first + second + third);
  std::memcpy(memory, planes[0].rows, first);
  data = std::bit_cast<qx_screen_frame_data>(frame);
  if (planar) {
    data.stride = 0;
    data.data = nullptr;
    data.data_y = memory;
    data.data_u = memory + first;
    data.data_v = data.data_u + second;
    std::memcpy(data.data_u, planes[1].rows, second);
    std::memcpy(data.data_v, planes[2].rows, third);
  } else {
    data.data = memory;
    data.stride_y = data.stride_u = data.stride_v = 0;
    data.data_y = data.data_u = data.data_v = nullptr;
  }
}

}  // namespace qx::c
