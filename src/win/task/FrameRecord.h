#pragma once

#include <qx-screen-capture.h>

#include <cstdint>

#include "common/BufferYUVI420.h"
#include "win/engine/ScreenCaptureFrame.h"

namespace qx {

// A 32-bit picture without gaps between its rows.
struct Picture {
  ScreenCaptureFrame::Pixels pixels;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// The record that the listener gets, and what its pixels live in. It stays
// readable between frames, for repeats and keep-live frames, whatever becomes of
// the captured frame that it was filled from. The capture thread's.
class FrameRecord {
 public:
  using Data = IScreenCapture::ScreenFrameData;
  using Format = IScreenCapture::ScreenFrameFormat;

  const Data& Get() const { return m_data; }
  void SetTimestamp(std::int64_t timestamp) { m_data.timestamp = timestamp; }

  // Shows `picture` in this format; ARGB shares its pixels, I420 is converted. An
  // unknown format changes nothing. False when the picture can't be converted
  // (logged), and the record is as before.
  bool Fill(Format format, const Picture& picture, std::int32_t rawWidth, std::int32_t rawHeight,
            std::int64_t timestamp);

 private:
  void fillARGB(const Picture& picture);
  bool fillI420(const Picture& picture);

  Data m_data;
  ScreenCaptureFrame::Pixels m_pixels;  // keeps what m_data.data points to
  BufferYUVI420 m_i420;
};

}  // namespace qx
