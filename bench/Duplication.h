#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>

#include "src/win/util/ComPtr.h"

// Throws std::runtime_error when a call of Direct3D failed.
void Check(HRESULT hr);

// The primary monitor's duplication: the first output's of the first adapter.
class Duplication {
 public:
  Duplication();

  qx::ComPtr<ID3D11Device> device;
  qx::ComPtr<ID3D11DeviceContext> context;
  qx::ComPtr<IDXGIOutputDuplication> duplication;
};
