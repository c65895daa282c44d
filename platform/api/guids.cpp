// The definitions of all GUID constants, as dxguid.lib and uuid.lib have them.
#define VWIN_DEFINE_GUIDS

#include <d3d11.h>
#include <d3d9.h>
#include <dxgi1_2.h>
#include <objidl.h>
#include <shobjidl.h>
