// A picture of 32-bit pixels, 0x00RRGGBB, rows top to bottom. The top byte is 0
// throughout, so that whole rows can be copied between surfaces and bitmaps.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vwin {

class Surface {
 public:
  Surface() = default;
  Surface(int width, int height, std::uint32_t color);

  int width() const { return m_width; }
  int height() const { return m_height; }
  RECT bounds() const { return {0, 0, m_width, m_height}; }

  // A surface of one colour has no pixels: thousands of windows stay cheap.
  bool IsUniform() const { return m_uniform; }
  std::uint32_t color() const { return m_color; }  // of a uniform one

  std::uint32_t At(int x, int y) const;
  const std::uint32_t* Row(int y) const;  // null for a uniform surface
  std::uint32_t* MutableRow(int y);       // makes the pixels
  // Makes the pixels, which somebody else sees as well: they are kept where they are.
  // Not to be resized from now on.
  std::uint32_t* Share();

  void Fill(const RECT& rect, std::uint32_t color);
  // Keeps what was there, top left, and gives the rest `color`.
  void Resize(int width, int height, std::uint32_t color);
  // Copies `from`, a rectangle of `source`, to `x`, `y`. Both must lie within the
  // surfaces. `source` may be this surface.
  void Copy(int x, int y, const Surface& source, const RECT& from);
  // Sets the top byte of each pixel to 0.
  void ClearTopBytes();
  // What a black-and-white bitmap keeps of its pixels.
  void Threshold(const RECT& rect);

 private:
  void makePixels();

  int m_width = 0;
  int m_height = 0;
  bool m_uniform = true;
  bool m_shared = false;
  std::uint32_t m_color = 0;
  std::vector<std::uint32_t> m_pixels;
};

}  // namespace vwin
