#pragma once

#include <windows.h>
#include <windows_graphics_capture.h>

#include <atomic>

namespace qx {

// Is told by a thread of the system that what a session captures is gone. Knows nobody: a
// session asks its own handler, so a call that comes late reaches neither the engine nor
// another session.
class ItemClosedHandler final : public wgc::IClosedHandler {
 public:
  bool IsClosed() const { return m_closed; }
  // By anybody but the caller.
  bool IsHeld() const { return m_references > 1; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE Invoke(wgc::IGraphicsCaptureItem* item,
                                   wgc::IInspectable* args) override;

 private:
  std::atomic<ULONG> m_references = 0;
  std::atomic<bool> m_closed = false;
};

}  // namespace qx
