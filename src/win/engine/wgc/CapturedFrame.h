#pragma once

#include <d3d11.h>
#include <windows_graphics_capture.h>

#include <cstdint>

#include "win/util/ComPtr.h"

namespace qx {

// A frame of a pool, whose buffer it holds as long as it lives.
class CapturedFrame {
 public:
  // Null: none.
  explicit CapturedFrame(ComPtr<wgc::IDirect3D11CaptureFrame> frame);

  bool operator!() const { return !m_frame; }
  // Gives it back.
  void Reset();

  // Gets what the rest tells of. False on failure (logged).
  bool Open();

  ID3D11Texture2D* Texture() const { return m_texture.Get(); }
  // Of what it shows, when it was made; its texture may have another size.
  const wgc::SizeInt32& Size() const { return m_size; }

  // Whether it was made before this moment of MonotonicMicros. Unknown: yes.
  bool IsOlderThan(std::int64_t micros) const;

 private:
  ComPtr<wgc::IDirect3D11CaptureFrame> m_frame;
  ComPtr<ID3D11Texture2D> m_texture;
  wgc::SizeInt32 m_size = {};
};

}  // namespace qx
