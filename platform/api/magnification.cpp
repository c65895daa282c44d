#include <magnification.h>

#include <utility>
#include <vector>

#include "platform/model/Faults.h"
#include "platform/model/Magnifier.h"
#include "platform/model/Modules.h"

using namespace vwin;

BOOL WINAPI MagInitialize() {
  VWIN_CALL(MagInitialize);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  magnifier::Start(lock);
  return TRUE;
}

BOOL WINAPI MagUninitialize() {
  VWIN_CALL(MagUninitialize);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  return magnifier::End(lock);
}

BOOL WINAPI MagSetWindowSource(HWND window, RECT source) {
  VWIN_CALL(MagSetWindowSource);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (!magnifier::SetSource(window, source)) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  return TRUE;
}

// Windows has no lists of windows to include since version 7.
BOOL WINAPI MagSetWindowFilterList(HWND window, DWORD mode, int count, HWND* windows) {
  VWIN_CALL(MagSetWindowFilterList);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (mode != MW_FILTERMODE_EXCLUDE || count < 0 || (count > 0 && !windows))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  std::vector<HWND> list(windows, windows + count);
  Lock lock;
  if (!magnifier::SetFilterList(lock, window, std::move(list)))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  return TRUE;
}

BOOL WINAPI MagSetColorEffect(HWND window, MAGCOLOREFFECT* effect) {
  VWIN_CALL(MagSetColorEffect);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  if (!magnifier::SetColorEffect(lock, window, effect))
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  return TRUE;
}
