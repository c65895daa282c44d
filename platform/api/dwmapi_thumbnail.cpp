// dwmapi: thumbnails.
#include <dwmapi.h>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Thumbnails.h"

using namespace vwin;

HRESULT WINAPI DwmRegisterThumbnail(HWND destination, HWND source, HTHUMBNAIL* thumbnail) {
  VWIN_CALL(DwmRegisterThumbnail);
  if (fault) return fault->hresult;
  Lock lock;
  if (!TheMachine(lock).composition) return DWM_E_COMPOSITIONDISABLED;
  const auto to = desktop::FindWindow(lock, destination);
  const auto from = desktop::FindWindow(lock, source);
  // The destination is the caller's own, so that nobody draws over other programs.
  const bool allowed = thumbnail && to && from && to->windowClass &&
                       desktop::IsTopLevel(lock, *to) && desktop::IsTopLevel(lock, *from);
  if (!allowed) return E_INVALIDARG;
  *thumbnail = thumbnails::Register(lock, *to, *from);
  return S_OK;
}

HRESULT WINAPI DwmUnregisterThumbnail(HTHUMBNAIL thumbnail) {
  VWIN_CALL_INFALLIBLE(DwmUnregisterThumbnail);
  Lock lock;
  const auto found = thumbnails::Find(lock, thumbnail);
  if (!found) return E_INVALIDARG;
  thumbnails::Unregister(lock, *found);
  return S_OK;
}

HRESULT WINAPI DwmUpdateThumbnailProperties(HTHUMBNAIL thumbnail,
                                            const DWM_THUMBNAIL_PROPERTIES* properties) {
  VWIN_CALL(DwmUpdateThumbnailProperties);
  if (fault) return fault->hresult;
  Lock lock;
  if (!TheMachine(lock).composition) return DWM_E_COMPOSITIONDISABLED;
  const auto found = thumbnails::Find(lock, thumbnail);
  if (!found || !properties || !desktop::FindWindow(lock, found->source)) return E_INVALIDARG;
  const DWORD flags = properties->dwFlags;
  if (flags & ~DWORD{DWM_TNP_RECTDESTINATION | DWM_TNP_RECTSOURCE | DWM_TNP_VISIBLE}) {
    ledger::Misuse(lock, "DwmUpdateThumbnailProperties: virtual Windows knows three properties");
    return E_INVALIDARG;
  }
  if (flags & DWM_TNP_RECTDESTINATION) found->to = properties->rcDestination;
  if (flags & DWM_TNP_RECTSOURCE) found->from = properties->rcSource;
  if (flags & DWM_TNP_VISIBLE) found->visible = properties->fVisible != FALSE;
  scheduler::Changed();
  return S_OK;
}

HRESULT WINAPI DwmQueryThumbnailSourceSize(HTHUMBNAIL thumbnail, SIZE* size) {
  VWIN_CALL(DwmQueryThumbnailSourceSize);
  if (fault) return fault->hresult;
  Lock lock;
  if (!TheMachine(lock).composition) return DWM_E_COMPOSITIONDISABLED;
  const auto found = thumbnails::Find(lock, thumbnail);
  const auto source = found ? desktop::FindWindow(lock, found->source) : nullptr;
  if (!source || !size) return E_INVALIDARG;
  *size = thumbnails::SourceSize(*source);
  return S_OK;
}
