#include "platform/model/Surface.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/model/Rects.h"

namespace vwin {

Surface::Surface(int width, int height, std::uint32_t color)
    : m_width(std::max(width, 0)), m_height(std::max(height, 0)), m_color(color) {}

std::uint32_t Surface::At(int x, int y) const { return m_uniform ? m_color : Row(y)[x]; }

const std::uint32_t* Surface::Row(int y) const {
  if (m_uniform) return nullptr;
  return m_pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width);
}

std::uint32_t* Surface::MutableRow(int y) {
  makePixels();
  return m_pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width);
}

std::uint32_t* Surface::Share() {
  m_shared = true;
  return MutableRow(0);
}

void Surface::makePixels() {
  if (!m_uniform) return;
  m_pixels.assign(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height), m_color);
  m_uniform = false;
}

void Surface::Fill(const RECT& rect, std::uint32_t color) {
  const RECT area = Overlap(rect, bounds());
  if (IsEmpty(area)) return;
  if (!m_shared && Covers(area, bounds())) {
    m_uniform = true;
    m_color = color;
    return;
  }
  if (m_uniform && m_color == color) return;
  for (int y = area.top; y < area.bottom; ++y)
    std::fill_n(MutableRow(y) + area.left, WidthOf(area), color);
}

void Surface::Resize(int width, int height, std::uint32_t color) {
  if (width == m_width && height == m_height) return;
  Surface resized(width, height, color);
  const RECT kept = Overlap(bounds(), resized.bounds());
  if (!IsEmpty(kept)) resized.Copy(0, 0, *this, kept);
  *this = std::move(resized);
}

void Surface::Copy(int x, int y, const Surface& source, const RECT& from) {
  if (source.m_uniform) {
    Fill(SizedRect(x, y, WidthOf(from), HeightOf(from)), source.m_color);
    return;
  }
  const int rows = HeightOf(from);
  const std::size_t bytes = static_cast<std::size_t>(WidthOf(from)) * sizeof(std::uint32_t);
  const bool downwards = &source == this && y > from.top;
  for (int i = 0; i < rows; ++i) {
    const int row = downwards ? rows - 1 - i : i;
    std::memmove(MutableRow(y + row) + x, source.Row(from.top + row) + from.left, bytes);
  }
}

void Surface::ClearTopBytes() {
  m_color &= 0x00FFFFFF;
  if (m_uniform) return;
  for (std::uint32_t& pixel : m_pixels) pixel &= 0x00FFFFFF;
}

void Surface::Threshold(const RECT& rect) {
  const RECT area = Overlap(rect, bounds());
  for (int y = area.top; y < area.bottom; ++y) {
    std::uint32_t* row = MutableRow(y);
    for (int x = area.left; x < area.right; ++x) row[x] = row[x] == 0xFFFFFF ? 0xFFFFFF : 0;
  }
}

}  // namespace vwin
