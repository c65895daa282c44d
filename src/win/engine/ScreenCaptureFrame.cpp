#include "win/engine/ScreenCaptureFrame.h"

#include <libyuv.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace qx {
namespace {

constexpr std::uint64_t kBytesPerPixel = 4;

// Pictures start with a page, as those of the system do: a copy between places
// that lie differently within their pages takes up to half as long again.
constexpr std::size_t kPage = 4096;

// Null without memory, and for a picture that can't be held.
ScreenCaptureFrame::Pixels AllocatePixels(std::uint32_t width, std::uint32_t height) {
  if (!ScreenCaptureFrame::CanHold(width, height)) {
    return nullptr;
  }
  try {
    const std::size_t bytes = std::size_t{width} * height * kBytesPerPixel;
    std::size_t space = bytes + kPage - 1;
    auto block = std::make_shared<std::uint8_t[]>(space);
    void* pixels = block.get();
    std::align(kPage, bytes, pixels, space);
    return {std::move(block), static_cast<std::uint8_t*>(pixels)};
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

bool ScreenCaptureFrame::Resize(std::uint32_t width, std::uint32_t height, Last last) {
  const bool sameSize = width == m_width && height == m_height;
  if (sameSize && m_buffer.use_count() <= (last == Last::Replaced ? 2 : 1)) {
    return true;
  }
  if (sameSize && m_otherBuffer.use_count() == 1) {
    m_buffer.swap(m_otherBuffer);
    return true;
  }
  Pixels buffer = AllocatePixels(width, height);
  if (!buffer) {
    return false;
  }
  m_otherBuffer = sameSize ? std::move(m_buffer) : nullptr;
  m_buffer = std::move(buffer);
  m_width = width;
  m_height = height;
  return true;
}

// Every offset into a picture then fits the 32-bit arithmetic of the calls that read it.
bool ScreenCaptureFrame::CanHold(std::uint32_t width, std::uint32_t height) {
  constexpr std::uint64_t kMaxBytes = std::numeric_limits<std::int32_t>::max();
  return width <= kMaxBytes && height <= kMaxBytes &&
         std::uint64_t{width} * height <= kMaxBytes / kBytesPerPixel;
}

void ScreenCaptureFrame::Adopt(std::uint32_t width, std::uint32_t height, Pixels pixels) {
  m_buffer = std::move(pixels);
  m_otherBuffer.reset();
  m_width = width;
  m_height = height;
}

bool ScreenCaptureFrame::ScaleTo(std::int32_t width, std::int32_t height) {
  const auto ownWidth = static_cast<std::int32_t>(m_width);
  const auto ownHeight = static_cast<std::int32_t>(m_height);
  if (!m_buffer || width < 1 || height < 1 || width > ownWidth || height > ownHeight ||
      (width == ownWidth && height == ownHeight)) {
    return false;
  }
  if (width != m_scaledWidth || height != m_scaledHeight) {
    Pixels scaled =
        AllocatePixels(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
    if (scaled) {
      m_scaledBuffer = std::move(scaled);
      m_scaledWidth = width;
      m_scaledHeight = height;
    } else if (!m_scaledBuffer) {
      return false;
    }
  }
  constexpr int kStep = static_cast<int>(kBytesPerPixel);
  libyuv::ARGBScale(m_buffer.get(), ownWidth * kStep, ownWidth, ownHeight, m_scaledBuffer.get(),
                    m_scaledWidth * kStep, m_scaledWidth, m_scaledHeight, libyuv::kFilterBox);
  return true;
}

void ScreenCaptureFrame::Reset() {
  m_width = 0;
  m_height = 0;
  m_scaledWidth = 0;
  m_scaledHeight = 0;
  m_buffer.reset();
  m_otherBuffer.reset();
  m_scaledBuffer.reset();
}

}  // namespace qx
