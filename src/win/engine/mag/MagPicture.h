#pragma once

#include <d3d9.h>
#include <windows.h>

#include <cstdint>
#include <mutex>

#include "win/engine/ScreenCaptureFrame.h"
#include "win/engine/mag/MagCursor.h"
#include "win/util/ComPtr.h"

namespace qx {

// Where a magnifier window's pictures are taken out of it. The engine asks for one and
// has the window draw; the drawing, on "SC-MagThread", comes through here.
//
// Whoever still uses it holds a share of it: a window can outlive its engine. What nobody
// asked for is not looked at, so what a window draws by itself can reach no frame.
class MagPicture {
 public:
  explicit MagPicture(bool newMouseCaptureWay) : m_cursor(newMouseCaptureWay) {}
  MagPicture(const MagPicture&) = delete;
  MagPicture& operator=(const MagPicture&) = delete;

  struct Wish {
    RECT source = {};  // of the virtual screen
    // The picture's size: the source's, or below that.
    std::int32_t width = 0;
    std::int32_t height = 0;
    // The window may still draw in the size of another source.
    bool needScale = false;
    bool showCursor = false;
  };

  enum class Outcome {
    Nothing,  // no picture came (logged, if one was drawn)
    Arrived,
    NoRoom,  // one came, and the frame, which can't hold it, is as it was
  };

  // The engine's: into `frame`, until Take, goes what is drawn first.
  void Ask(const Wish& wish, ScreenCaptureFrame& frame);
  Outcome Take();

  // SC-MagThread's: `source` is what the window has drawn.
  void Render(IDirect3DDevice9* device, IDirect3DSurface9* source);

 private:
  void updateSurfaces(IDirect3DDevice9* device);
  void createSurfaces(IDirect3DDevice9* device);
  bool fetch(IDirect3DDevice9* device, IDirect3DSurface9* source);
  bool scale(IDirect3DDevice9* device, IDirect3DSurface9* source);
  void copySurfaceToFrame();

  // Held for a whole Render.
  std::mutex m_mutex;
  Wish m_wish;
  ScreenCaptureFrame* m_currentFrame = nullptr;  // null unless a picture is asked for
  Outcome m_outcome = Outcome::Nothing;
  MagCursor m_cursor;
  // Whose the surfaces are, and held by them.
  IDirect3DDevice9* m_device = nullptr;
  std::int32_t m_surfaceWidth = 0;
  std::int32_t m_surfaceHeight = 0;
  ComPtr<IDirect3DSurface9> m_offscreenSurface;  // readable
  ComPtr<IDirect3DSurface9> m_renderTarget;      // for scaling
};

}  // namespace qx
