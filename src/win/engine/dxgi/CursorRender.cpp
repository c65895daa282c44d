#include "win/engine/dxgi/CursorRender.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "common/Logging.h"
#include "win/engine/dxgi/QuadVertex.h"

namespace qx {
namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;
constexpr std::uint32_t kColor = 0x00FFFFFF;

// How much of `size` pixels from `position` on lies within `limit` pixels.
std::int32_t VisiblePart(std::int32_t position, std::int32_t size, std::int32_t limit) {
  const std::int64_t begin = std::max<std::int64_t>(position, 0);
  const std::int64_t end = std::min(std::int64_t{position} + size, std::int64_t{limit});
  return static_cast<std::int32_t>(std::max<std::int64_t>(end - begin, 0));
}

std::uint32_t PixelAt(const std::uint8_t* row, std::int32_t column) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, row + std::ptrdiff_t{column} * 4, sizeof(pixel));
  return pixel;
}

// Whether a shape of `size` bytes holds all that the system says of it.
bool IsWhole(const DXGI_OUTDUPL_POINTER_SHAPE_INFO& shape, UINT size) {
  const std::uint64_t width = shape.Width;
  const std::uint64_t rowBytes =
      shape.Type == DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME ? (width + 7) / 8 : width * 4;
  return shape.Pitch >= rowBytes && std::uint64_t{shape.Pitch} * shape.Height <= size;
}

}  // namespace

CursorRender::CursorRender(ComPtr<ID3D11Device> device, ComPtr<ID3D11DeviceContext> context)
    : m_device(std::move(device)), m_context(std::move(context)) {}

bool CursorRender::Update(IDXGIOutputDuplication* duplication,
                          const DXGI_OUTDUPL_FRAME_INFO& frameInfo) {
  if (frameInfo.LastMouseUpdateTime.QuadPart == 0) {
    return true;
  }
  m_position = frameInfo.PointerPosition.Position;
  m_visible = frameInfo.PointerPosition.Visible != FALSE;
  const UINT size = frameInfo.PointerShapeBufferSize;
  if (size == 0) {
    return true;
  }
  if (size > m_shapeBuffer.size()) {
    m_shapeBuffer.resize(size);
  }
  UINT required = 0;
  DXGI_OUTDUPL_POINTER_SHAPE_INFO shape = {};
  if (SUCCEEDED(duplication->GetFramePointerShape(size, m_shapeBuffer.data(), &required, &shape))) {
    m_shapeInfo = IsWhole(shape, size) ? shape : DXGI_OUTDUPL_POINTER_SHAPE_INFO{};
  }
  return true;
}

bool CursorRender::isComposed() const {
  return m_shapeInfo.Type == DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME ||
         m_shapeInfo.Type == DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR;
}

bool CursorRender::Render(ID3D11Texture2D* desktop, ComPtr<ID3D11ShaderResourceView>& view,
                          ComPtr<ID3D11Buffer>& vertices) {
  if (!m_visible) {
    return false;
  }
  D3D11_TEXTURE2D_DESC desc = {};
  desktop->GetDesc(&desc);
  m_desktopWidth = static_cast<std::int32_t>(desc.Width);
  m_desktopHeight = static_cast<std::int32_t>(desc.Height);
  if (!updateCursorRect() || (isComposed() && !composeWithDesktop(desktop))) {
    return false;
  }
  ComPtr<ID3D11Texture2D> texture;
  if (!createCursorTexture(texture)) {
    QX_LOG_LIMITED(LogLevelError, "createMouseTexture failed");
    return false;
  }
  if (!CreateShaderResourceView(m_device.Get(), texture.Get(), view)) {
    QX_LOG_LIMITED(LogLevelError, "createMouseShaderResourceView failed");
    return false;
  }
  if (!createVertexBuffer(vertices)) {
    QX_LOG_LIMITED(LogLevelError, "createMouseVertexBuffer failed");
    return false;
  }
  return true;
}

// A shape that is drawn as it is may reach over the desktop's edges: the viewport cuts
// it. One that is composed with the desktop is cut beforehand. False when nothing of it
// lies on the desktop.
bool CursorRender::updateCursorRect() {
  const bool composed = isComposed();
  if (!composed && m_shapeInfo.Type != DXGI_OUTDUPL_POINTER_SHAPE_TYPE_COLOR) {
    return false;
  }
  auto width = static_cast<std::int32_t>(m_shapeInfo.Width);
  auto height = static_cast<std::int32_t>(m_shapeInfo.Height);
  if (m_shapeInfo.Type == DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME) {
    height /= 2;  // the height counts both masks
  }
  const std::int32_t visibleWidth = VisiblePart(m_position.x, width, m_desktopWidth);
  const std::int32_t visibleHeight = VisiblePart(m_position.y, height, m_desktopHeight);
  if (visibleWidth == 0 || visibleHeight == 0) {
    return false;
  }
  POINT corner = m_position;
  if (composed) {
    corner = {std::max<LONG>(corner.x, 0), std::max<LONG>(corner.y, 0)};
    width = visibleWidth;
    height = visibleHeight;
  }
  m_cursorRect = {corner.x, corner.y, corner.x + width, corner.y + height};
  return true;
}

bool CursorRender::composeWithDesktop(ID3D11Texture2D* desktop) {
  const std::size_t pixels =
      static_cast<std::size_t>(cursorWidth()) * static_cast<std::size_t>(cursorHeight());
  if (pixels > m_composeBuffer.size()) {
    m_composeBuffer.resize(pixels);
  }
  ComPtr<IDXGISurface> surface;
  if (!copyDesktopPart(desktop, surface)) {
    QX_LOG_LIMITED(LogLevelError, "createCursorTexture failed");
    return false;
  }
  DXGI_MAPPED_RECT mapped = {};
  const HRESULT hr = surface->Map(&mapped, DXGI_MAP_READ);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "cursorSurface->Map failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  if (m_shapeInfo.Type == DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME) {
    composeMonochrome(mapped);
  } else {
    composeMaskedColor(mapped);
  }
  static_cast<void>(surface->Unmap());
  return true;
}

// Fetches what is below the cursor to where the processor can read it.
bool CursorRender::copyDesktopPart(ID3D11Texture2D* desktop, ComPtr<IDXGISurface>& surface) {
  D3D11_TEXTURE2D_DESC desc = PictureDesc(cursorWidth(), cursorHeight());
  desc.Usage = D3D11_USAGE_STAGING;
  desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
  ComPtr<ID3D11Texture2D> staging;
  HRESULT hr = m_device->CreateTexture2D(&desc, nullptr, staging.Put());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "CreateTexture2D failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  const D3D11_BOX box = {
      static_cast<UINT>(m_cursorRect.left),  static_cast<UINT>(m_cursorRect.top),    0,
      static_cast<UINT>(m_cursorRect.right), static_cast<UINT>(m_cursorRect.bottom), 1};
  m_context->CopySubresourceRegion(staging.Get(), 0, 0, 0, 0, desktop, 0, &box);
  hr = staging.As(IID_IDXGISurface, surface);
  return SUCCEEDED(hr);
}

// AND mask above, XOR mask below, one bit a pixel.
void CursorRender::composeMonochrome(const DXGI_MAPPED_RECT& desktop) {
  const std::uint8_t* const andMask = m_shapeBuffer.data();
  const std::size_t pitch = m_shapeInfo.Pitch;
  const std::uint8_t* const xorMask = andMask + m_shapeInfo.Height / 2 * pitch;
  std::uint32_t* out = m_composeBuffer.data();
  for (std::int32_t row = 0; row < cursorHeight(); ++row) {
    const std::size_t offset = static_cast<std::size_t>(skipY() + row) * pitch;
    const BYTE* const below = desktop.pBits + std::ptrdiff_t{row} * desktop.Pitch;
    for (std::int32_t column = 0; column < cursorWidth(); ++column) {
      const std::int32_t x = skipX() + column;
      const std::size_t byte = offset + static_cast<std::size_t>(x / 8);
      const int bit = 128 >> (x % 8);
      const std::uint32_t keep = (andMask[byte] & bit) != 0 ? 0xFFFFFFFF : kOpaque;
      const std::uint32_t invert = (xorMask[byte] & bit) != 0 ? kColor : 0;
      // What is below the cursor is opaque, whatever the desktop's top byte says.
      *out++ = ((PixelAt(below, column) & keep) ^ invert) | kOpaque;
    }
  }
}

// The top byte says whether a pixel replaces what is below or is combined with it.
void CursorRender::composeMaskedColor(const DXGI_MAPPED_RECT& desktop) {
  std::uint32_t* out = m_composeBuffer.data();
  for (std::int32_t row = 0; row < cursorHeight(); ++row) {
    const std::uint8_t* const shape =
        m_shapeBuffer.data() + static_cast<std::size_t>(skipY() + row) * m_shapeInfo.Pitch;
    const BYTE* const below = desktop.pBits + std::ptrdiff_t{row} * desktop.Pitch;
    for (std::int32_t column = 0; column < cursorWidth(); ++column) {
      std::uint32_t pixel = PixelAt(shape, skipX() + column);
      if (pixel > kColor) {
        pixel ^= PixelAt(below, column);
      }
      *out++ = pixel | kOpaque;
    }
  }
}

bool CursorRender::createCursorTexture(ComPtr<ID3D11Texture2D>& texture) {
  D3D11_TEXTURE2D_DESC desc = PictureDesc(cursorWidth(), cursorHeight());
  desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
  D3D11_SUBRESOURCE_DATA data = {};
  if (isComposed()) {
    data.pSysMem = m_composeBuffer.data();
    data.SysMemPitch = static_cast<UINT>(cursorWidth()) * 4;
  } else {
    data.pSysMem = m_shapeBuffer.data();
    data.SysMemPitch = m_shapeInfo.Pitch;
  }
  const HRESULT hr = m_device->CreateTexture2D(&desc, &data, texture.Put());
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "CreateTexture2D failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

// In clip space, so that the cursor lands right in a picture of any size.
bool CursorRender::createVertexBuffer(ComPtr<ID3D11Buffer>& vertices) {
  const auto centerX = static_cast<float>(m_desktopWidth / 2);
  const auto centerY = static_cast<float>(m_desktopHeight / 2);
  const auto clipX = [centerX](LONG x) { return (static_cast<float>(x) - centerX) / centerX; };
  const auto clipY = [centerY](LONG y) { return (centerY - static_cast<float>(y)) / centerY; };
  const RECT& rect = m_cursorRect;
  const QuadVertex quad[kQuadVertices] = {
      {clipX(rect.left), clipY(rect.bottom), 0, 0, 1},
      {clipX(rect.left), clipY(rect.top), 0, 0, 0},
      {clipX(rect.right), clipY(rect.bottom), 0, 1, 1},
      {clipX(rect.right), clipY(rect.top), 0, 1, 0},
  };
  const HRESULT hr = CreateQuad(m_device.Get(), quad, D3D11_USAGE_DEFAULT, vertices);
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "CreateBuffer failed hr:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

}  // namespace qx
