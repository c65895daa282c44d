#pragma once

#include <cstdint>
#include <vector>

#include "qx-screen-capture.h"

// A copy of one delivered frame, without padding between rows. ARGB: B, G, R, A
// bytes. I420: all of Y, then U, then V.
struct Picture {
  IScreenCapture::ScreenFrameFormat format = IScreenCapture::ScreenFrameFormatARGB;
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> bytes;
};

// Copies the visible pixels of a frame, reusing the storage of `picture`.
void CopyFrame(const IScreenCapture::ScreenFrameData& frame, Picture& picture);

// Puts an ARGB picture to the right of another one, on a dark ground.
void PutBeside(const Picture& right, Picture& left);

// CRC-32 (as in PNG and zip) of the visible pixels of a frame, row by row, for
// I420 plane by plane. Padding at row ends doesn't count. 0 without pixels.
std::uint32_t FrameChecksum(const IScreenCapture::ScreenFrameData& frame);

// The picture as R, G, B bytes, rows top to bottom.
std::vector<std::uint8_t> ToRgb(const Picture& picture);
