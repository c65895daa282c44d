#include "win/task/FrameRecord.h"

#include <libyuv.h>

#include "common/Logging.h"

namespace qx {
namespace {

constexpr std::int32_t kBytesPerPixel = 4;

}  // namespace

bool FrameRecord::Fill(Format format, const Picture& picture, std::int32_t rawWidth,
                       std::int32_t rawHeight, std::int64_t timestamp) {
  switch (format) {
    case IScreenCapture::ScreenFrameFormatARGB:
      fillARGB(picture);
      break;
    case IScreenCapture::ScreenFrameFormatI420:
      if (!fillI420(picture)) {
        QX_LOG_LIMITED(LogLevelWarn, "no I420 frame of {}x{}", picture.width, picture.height);
        return false;
      }
      break;
    default:
      return true;
  }
  m_data.format = format;
  m_data.timestamp = timestamp;
  m_data.raw_width = rawWidth;
  m_data.raw_height = rawHeight;
  return true;
}

void FrameRecord::fillARGB(const Picture& picture) {
  m_pixels = picture.pixels;
  m_data.width = picture.width;
  m_data.height = picture.height;
  m_data.stride = picture.width * kBytesPerPixel;
  m_data.data = picture.pixels.get();
}

// 4:2:0 has no odd sizes: the last column and row are dropped.
bool FrameRecord::fillI420(const Picture& picture) {
  BufferYUVI420& buffer = m_i420;
  if (!buffer.CreateBuffer(picture.width - picture.width % 2,
                           picture.height - picture.height % 2)) {
    return false;
  }
  libyuv::ARGBToI420(picture.pixels.get(), picture.width * kBytesPerPixel, buffer.BufferY(),
                     buffer.StrideY(), buffer.BufferU(), buffer.StrideU(), buffer.BufferV(),
                     buffer.StrideV(), buffer.Width(), buffer.Height());
  m_data.width = buffer.Width();
  m_data.height = buffer.Height();
  m_data.strideY = buffer.StrideY();
  m_data.strideU = buffer.StrideU();
  m_data.strideV = buffer.StrideV();
  m_data.dataY = buffer.BufferY();
  m_data.dataU = buffer.BufferU();
  m_data.dataV = buffer.BufferV();
  return true;
}

}  // namespace qx
