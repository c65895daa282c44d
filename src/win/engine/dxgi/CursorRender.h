#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <vector>

#include "win/util/ComPtr.h"

namespace qx {

// The cursor of a duplicated monitor, whose picture comes without it: keeps the last
// position and shape that frames told, and makes of them, for each picture, a texture
// that shows the cursor as it looks over that very picture, and the quad that places
// it. One thread at a time, the one that uses the context.
class CursorRender {
 public:
  CursorRender(ComPtr<ID3D11Device> device, ComPtr<ID3D11DeviceContext> context);
  CursorRender(const CursorRender&) = delete;
  CursorRender& operator=(const CursorRender&) = delete;

  // Takes in what an acquired frame says of the cursor. Always true. When its shape
  // can't be read the old one stays; one that claims more than it holds is none.
  bool Update(IDXGIOutputDuplication* duplication, const DXGI_OUTDUPL_FRAME_INFO& frameInfo);

  // Whether the last frame that told of it showed the cursor on this monitor.
  bool IsVisible() const { return m_visible; }

  // True: draw `view` with `vertices` over the picture, whatever its size. False: no
  // cursor on this one. `desktop` is the picture upright, in the monitor's size.
  bool Render(ID3D11Texture2D* desktop, ComPtr<ID3D11ShaderResourceView>& view,
              ComPtr<ID3D11Buffer>& vertices);

 private:
  bool isComposed() const;
  bool updateCursorRect();
  bool composeWithDesktop(ID3D11Texture2D* desktop);
  bool copyDesktopPart(ID3D11Texture2D* desktop, ComPtr<IDXGISurface>& surface);
  void composeMonochrome(const DXGI_MAPPED_RECT& desktop);
  void composeMaskedColor(const DXGI_MAPPED_RECT& desktop);
  bool createCursorTexture(ComPtr<ID3D11Texture2D>& texture);
  bool createVertexBuffer(ComPtr<ID3D11Buffer>& vertices);

  std::int32_t cursorWidth() const { return m_cursorRect.right - m_cursorRect.left; }
  std::int32_t cursorHeight() const { return m_cursorRect.bottom - m_cursorRect.top; }
  // How much of the shape lies left of and above the desktop.
  std::int32_t skipX() const { return m_position.x < 0 ? -m_position.x : 0; }
  std::int32_t skipY() const { return m_position.y < 0 ? -m_position.y : 0; }

  const ComPtr<ID3D11Device> m_device;
  const ComPtr<ID3D11DeviceContext> m_context;
  POINT m_position = {};   // in pixels of the desktop texture; may be negative
  RECT m_cursorRect = {};  // what is drawn of the cursor, in the same pixels
  bool m_visible = false;
  DXGI_OUTDUPL_POINTER_SHAPE_INFO m_shapeInfo = {};
  std::vector<std::uint8_t> m_shapeBuffer;     // only grows
  std::vector<std::uint32_t> m_composeBuffer;  // only grows
  std::int32_t m_desktopWidth = 0;
  std::int32_t m_desktopHeight = 0;
};

}  // namespace qx
