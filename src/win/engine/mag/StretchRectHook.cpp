#include "win/engine/mag/StretchRectHook.h"

#include <memory>

#include "common/Logging.h"
#include "win/engine/mag/Direct3D9Hook.h"
#include "win/engine/mag/MagThread.h"
#include "win/util/RunClosed.h"

namespace qx {
namespace {

std::shared_ptr<MagPicture> PictureOf(IDirect3DDevice9* device) {
  D3DDEVICE_CREATION_PARAMETERS parameters = {};
  if (FAILED(device->GetCreationParameters(&parameters)) || !parameters.hFocusWindow) {
    return nullptr;
  }
  return MagThread::Instance().FindPicture(parameters.hFocusWindow);
}

}  // namespace

HRESULT STDMETHODCALLTYPE StretchRectHook(IDirect3DDevice9* device, IDirect3DSurface9* source,
                                          const RECT* sourceRect, IDirect3DSurface9* dest,
                                          const RECT* destRect, D3DTEXTUREFILTERTYPE filter) {
  const auto original = Direct3D9Hook::Instance().GetStretchRectOriginal();
  if (!original) {
    QX_LOG_ERROR("stretchRectOriginal is nullptr");
    return 0;
  }
  bool taken = false;
  RunClosed("StretchRectHook met an exception", [&] {
    if (const std::shared_ptr<MagPicture> picture = PictureOf(device)) {
      taken = true;
      picture->Render(device, source);
    }
  });
  return taken ? D3DERR_INVALIDCALL : original(device, source, sourceRect, dest, destRect, filter);
}

}  // namespace qx
