#include <d3d9.h>

#include "platform/model/D3D9Device.h"
#include "platform/model/Faults.h"
#include "platform/model/PatchPoints.h"

using namespace vwin;

namespace {

HRESULT WINAPI createDirect3D(UINT sdkVersion, IDirect3D9Ex** d3d) {
  VWIN_CALL(Direct3DCreate9Ex);
  if (fault) return fault->hresult;
  if (sdkVersion != D3D_SDK_VERSION || !d3d) return D3DERR_NOTAVAILABLE;
  return d3d9::MakeDirect3D(d3d);
}

const patches::PatchPoint createPoint(reinterpret_cast<void*>(&Direct3DCreate9Ex),
                                      reinterpret_cast<void*>(&createDirect3D));

}  // namespace

HRESULT WINAPI Direct3DCreate9Ex(UINT sdkVersion, IDirect3D9Ex** d3d) {
  return createPoint.InForce<decltype(&createDirect3D)>()(sdkVersion, d3d);
}
