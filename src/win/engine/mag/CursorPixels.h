#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Pixels of cursors over plain memory: 32 bits each, 0xAARRGGBB, rows from top to bottom
// without gaps.
namespace qx {

struct CursorImage {
  std::span<const std::uint32_t> pixels;  // premultiplied; width * height of them
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// A picture with `pitch` bytes from row to row.
struct CursorCanvas {
  std::uint8_t* bits = nullptr;
  std::ptrdiff_t pitch = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// Where an image goes on a canvas, and how large it is there.
struct CursorPlace {
  std::int32_t x = 0;  // may be negative
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// Whether the pixels tell by themselves how opaque they are.
bool HasAlpha(std::span<const std::uint32_t> pixels);

// Makes pixels without alpha opaque or transparent as a mask of the same size has it.
// What inverts the screen under a mask becomes opaque.
void CombineWithMask(std::span<std::uint32_t> pixels, std::span<const std::uint32_t> mask);

void Premultiply(std::span<std::uint32_t> pixels);

// Blends the image, stretched to its place, into the part of the canvas that it covers.
void BlendCursor(const CursorCanvas& canvas, const CursorImage& image, const CursorPlace& place);

}  // namespace qx
