#include "win/engine/dxgi/FrameMetadata.h"

#include <algorithm>
#include <new>

#include "common/Logging.h"
#include "win/util/WindowHelpers.h"

namespace qx {

double TotalArea(std::span<const RECT> rects) {
  double area = 0.0;
  for (const RECT& rect : rects) {
    area += static_cast<double>(WindowsUtil::AreaOf(rect));
  }
  return area;
}

bool FrameMetadata::Read(IDXGIOutputDuplication* duplication,
                         const DXGI_OUTDUPL_FRAME_INFO& frameInfo,
                         std::span<const RECT>& dirtyRects) {
  dirtyRects = {};
  const UINT size = frameInfo.TotalMetadataBufferSize;
  if (size == 0) {
    return true;
  }
  if (!reserve(size)) {
    QX_LOG_LIMITED(LogLevelError, "Failed to update metadata buffer");
    return false;
  }
  std::byte* const buffer = m_metadataBuffer.get();
  UINT moved = 0;
  HRESULT hr = duplication->GetFrameMoveRects(
      size, reinterpret_cast<DXGI_OUTDUPL_MOVE_RECT*>(buffer), &moved);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "Failed to get move rects buffer size res:{}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  moved = std::min(moved, size);
  UINT dirty = 0;
  const auto rects = reinterpret_cast<RECT*>(buffer + moved);
  hr = duplication->GetFrameDirtyRects(size - moved, rects, &dirty);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "Failed to get dirty rects buffer size res:{}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  dirtyRects = {rects, std::min(dirty, size - moved) / sizeof(RECT)};
  return true;
}

bool FrameMetadata::reserve(UINT size) {
  if (size > m_metadataBufferSize) {
    m_metadataBuffer.reset(new (std::nothrow) std::byte[size]);
    m_metadataBufferSize = m_metadataBuffer ? size : 0;
  }
  return m_metadataBuffer != nullptr;
}

}  // namespace qx
