#include "win/engine/wgc/ItemClosedHandler.h"

#include <memory>

namespace qx {

HRESULT STDMETHODCALLTYPE ItemClosedHandler::QueryInterface(REFIID iid, void** object) {
  if (!object) {
    return E_POINTER;
  }
  const bool known =
      iid == IID_IUnknown || iid == wgc::IID_IClosedHandler || iid == wgc::IID_IAgileObject;
  *object = known ? static_cast<wgc::IClosedHandler*>(this) : nullptr;
  if (!known) {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG STDMETHODCALLTYPE ItemClosedHandler::AddRef() { return ++m_references; }

ULONG STDMETHODCALLTYPE ItemClosedHandler::Release() {
  const ULONG left = --m_references;
  if (left == 0) {
    const std::unique_ptr<ItemClosedHandler> last(this);
  }
  return left;
}

HRESULT STDMETHODCALLTYPE ItemClosedHandler::Invoke(wgc::IGraphicsCaptureItem* /*item*/,
                                                    wgc::IInspectable* /*args*/) {
  m_closed = true;
  return S_OK;
}

}  // namespace qx
