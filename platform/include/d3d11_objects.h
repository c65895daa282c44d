// What a Direct3D 11 device makes: resources, views, states, shaders. Included by
// d3d11.h.
#pragma once

#include "d3d11_types.h"

struct ID3D11Device;

struct ID3D11DeviceChild : IUnknown {
  VWIN_SLOT(GetDevice);
  VWIN_SLOT(GetPrivateData);
  VWIN_SLOT(SetPrivateData);
  VWIN_SLOT(SetPrivateDataInterface);
};
DEFINE_GUID(IID_ID3D11DeviceChild, 0x1841e5c8, 0x16b0, 0x489b, 0xbc, 0xc8, 0x44, 0xcf, 0xb0, 0xd5,
            0xde, 0xae);

// ------------------------------------------------------------------- resources

struct ID3D11Resource : ID3D11DeviceChild {
  VWIN_SLOT(GetType);
  VWIN_SLOT(SetEvictionPriority);
  VWIN_SLOT(GetEvictionPriority);
};
DEFINE_GUID(IID_ID3D11Resource, 0xdc8e63f3, 0xd12b, 0x4952, 0xb4, 0x7b, 0x5e, 0x45, 0x02, 0x6a,
            0x86, 0x2d);

struct ID3D11Buffer : ID3D11Resource {
  VWIN_SLOT(GetDesc);
};
DEFINE_GUID(IID_ID3D11Buffer, 0x48570b85, 0xd1ee, 0x4fcd, 0xa2, 0x50, 0xeb, 0x35, 0x07, 0x22, 0xb0,
            0x37);

struct ID3D11Texture2D : ID3D11Resource {
  virtual void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE2D_DESC* desc) = 0;
};
DEFINE_GUID(IID_ID3D11Texture2D, 0x6f15aaf2, 0xd208, 0x4e89, 0x9a, 0xb4, 0x48, 0x95, 0x35, 0xd3,
            0x4f, 0x9c);

// ----------------------------------------------------------------------- views

struct ID3D11View : ID3D11DeviceChild {
  VWIN_SLOT(GetResource);
};
DEFINE_GUID(IID_ID3D11View, 0x839d1216, 0xbb2e, 0x412b, 0xb7, 0xf4, 0xa9, 0xdb, 0xeb, 0xe0, 0x8e,
            0xd1);

struct ID3D11ShaderResourceView : ID3D11View {
  VWIN_SLOT(GetDesc);
};
DEFINE_GUID(IID_ID3D11ShaderResourceView, 0xb0e06fe0, 0x8192, 0x4e1a, 0xb1, 0xca, 0x36, 0xd7, 0x41,
            0x47, 0x10, 0xb2);

struct ID3D11RenderTargetView : ID3D11View {
  VWIN_SLOT(GetDesc);
};
DEFINE_GUID(IID_ID3D11RenderTargetView, 0xdfdba067, 0x0b8d, 0x4865, 0x87, 0x5b, 0xd7, 0xb4, 0x51,
            0x6c, 0xc1, 0x64);

// ---------------------------------------------------------- states and shaders

struct ID3D11BlendState : ID3D11DeviceChild {
  VWIN_SLOT(GetDesc);
};
DEFINE_GUID(IID_ID3D11BlendState, 0x75b68faa, 0x347d, 0x4159, 0x8f, 0x45, 0xa0, 0x64, 0x0f, 0x01,
            0xcd, 0x9a);

struct ID3D11SamplerState : ID3D11DeviceChild {
  VWIN_SLOT(GetDesc);
};
DEFINE_GUID(IID_ID3D11SamplerState, 0xda6fea51, 0x564c, 0x4487, 0x98, 0x10, 0xf0, 0xd0, 0xf9, 0xb4,
            0xe3, 0xa5);

struct ID3D11InputLayout : ID3D11DeviceChild {};
DEFINE_GUID(IID_ID3D11InputLayout, 0xe4819ddc, 0x4cf0, 0x4025, 0xbd, 0x26, 0x5d, 0xe8, 0x2a, 0x3e,
            0x07, 0xb7);

struct ID3D11VertexShader : ID3D11DeviceChild {};
DEFINE_GUID(IID_ID3D11VertexShader, 0x3b301d64, 0xd678, 0x4289, 0x88, 0x97, 0x22, 0xf8, 0x92, 0x8b,
            0x72, 0xf3);

struct ID3D11PixelShader : ID3D11DeviceChild {};
DEFINE_GUID(IID_ID3D11PixelShader, 0xea82e40d, 0x51dc, 0x4f33, 0x93, 0xd4, 0xdb, 0x7c, 0x91, 0x25,
            0xae, 0x8c);
