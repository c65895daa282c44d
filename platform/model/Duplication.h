// Desktop duplication: a monitor's picture as a texture, and what changed in it.
#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>

#include "platform/model/Desktop.h"

namespace vwin::dxgi {

DXGI_MODE_ROTATION RotationOf(const Monitor& monitor);

// `device` is on the adapter that shows the monitor; it is kept. The monitor must be
// marked as duplicated; with the last reference it isn't any more.
HRESULT MakeDuplication(ID3D11Device* device, const Monitor& monitor,
                        IDXGIOutputDuplication** duplication);

}  // namespace vwin::dxgi
