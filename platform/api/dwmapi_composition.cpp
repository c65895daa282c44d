#include <dwmapi.h>

#include "platform/model/Faults.h"
#include "platform/model/Machine.h"

using namespace vwin;

HRESULT WINAPI DwmIsCompositionEnabled(BOOL* enabled) {
  VWIN_CALL(DwmIsCompositionEnabled);
  if (enabled == nullptr) return E_INVALIDARG;
  if (fault) return fault->hresult;
  Lock lock;
  *enabled = TheMachine(lock).composition ? TRUE : FALSE;
  return S_OK;
}
