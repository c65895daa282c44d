#pragma once

#include <d3d11.h>
#include <windows.h>
#include <windows_graphics_capture.h>

#include <atomic>

#include "win/engine/wgc/ItemClosedHandler.h"
#include "win/util/ComPtr.h"

namespace qx {

// What is captured: one of the two.
struct CaptureSource {
  HMONITOR monitor = nullptr;
  HWND window = nullptr;
};

// One capture session of the system, from its start to its stop, with everything that the
// system wants for it. It is started once.
//
// It belongs to the thread that starts and stops it, but that between the two another one
// may fetch pictures; IsClosed and IsStarted are for any thread.
class CaptureSession {
 public:
  // `device` may be null: the session does not start then.
  CaptureSession(const CaptureSource& source, ComPtr<ID3D11Device> device, bool showCursor);
  CaptureSession(const CaptureSession&) = delete;
  CaptureSession& operator=(const CaptureSession&) = delete;
  ~CaptureSession() { Stop(); }

  // A failure is logged and leaves nothing behind.
  void Start();
  // Also what is stopped already.
  void Stop();

  bool IsStarted() const { return m_started; }
  // Whether what is captured is gone.
  bool IsClosed() const { return m_handler && m_handler->IsClosed(); }
  const CaptureSource& Source() const { return m_source; }

  // The rest is for a session that is started.

  // Null when there is none.
  HRESULT TryGetNextFrame(ComPtr<wgc::IDirect3D11CaptureFrame>& frame);
  // What the pictures of the pool are made for.
  const wgc::SizeInt32& ContentSize() const { return m_contentSize; }
  // Makes pictures of another size from now on.
  HRESULT Resize(const wgc::SizeInt32& size);
  // False: the pictures show it as before.
  bool ShowCursor(bool show);

 private:
  bool open();
  void createItem();
  bool watchItem();
  bool wrapDevice();
  bool createPool();
  bool createSession();

  const CaptureSource m_source;
  const ComPtr<ID3D11Device> m_device;
  const bool m_showCursor;  // from the start on
  std::atomic<bool> m_started = false;
  const ComPtr<ItemClosedHandler> m_handler;
  bool m_watched = false;  // the item knows the handler
  wgc::EventRegistrationToken m_token = {};
  wgc::SizeInt32 m_contentSize = {};
  ComPtr<wgc::IGraphicsCaptureItem> m_item;
  ComPtr<wgc::IDirect3DDevice> m_direct3dDevice;
  ComPtr<wgc::IDirect3D11CaptureFramePool> m_framePool;
  ComPtr<wgc::IGraphicsCaptureSession> m_session;
};

}  // namespace qx
