#include "platform/model/Dxgi.h"

#include <dxgi.h>

#include "platform/model/Faults.h"

using namespace vwin;

HRESULT WINAPI CreateDXGIFactory1(REFIID iid, void** factory) {
  VWIN_CALL(CreateDXGIFactory1);
  if (factory == nullptr) return DXGI_ERROR_INVALID_CALL;
  *factory = nullptr;
  return fault ? fault->hresult : dxgi::MakeFactory(iid, factory, "CreateDXGIFactory1");
}
