#pragma once

#include <qx-screen-capture-c.h>
#include <qx-screen-capture.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qx::c {

// A frame that was copied. The pointers of `data` are into the copy; those that the frame's
// format does not name are null.
class Picture {
 public:
  // Throws std::bad_alloc. Takes no memory for a frame that is no larger than an earlier one.
  void Copy(const IScreenCapture::ScreenFrameData& frame);

  qx_screen_frame_data data = {};
  qx_frame_info info = {};

 private:
  std::uint8_t* reserve(std::size_t bytes);

  std::unique_ptr<std::uint8_t[]> m_memory;
  std::size_t m_room = 0;  // of m_memory
};

}  // namespace qx::c
