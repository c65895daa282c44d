// dwmapi: attributes of windows.
#include <dwmapi.h>

#include <cstring>

#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Machine.h"

using namespace vwin;

namespace {

constexpr DWORD kCloakedByShell = 2;

template <typename T>
HRESULT give(const T& value, void* to, DWORD size) {
  if (!to || size < sizeof(T)) return E_INVALIDARG;
  std::memcpy(to, &value, sizeof(T));
  return S_OK;
}

}  // namespace

HRESULT WINAPI DwmGetWindowAttribute(HWND handle, DWORD attribute, PVOID value, DWORD size) {
  VWIN_CALL(DwmGetWindowAttribute);
  if (fault) return fault->hresult;
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return E_HANDLE;
  const Machine& machine = TheMachine(lock);
  if (machine.version < kWindows8 && !machine.composition) return DWM_E_COMPOSITIONDISABLED;
  if (attribute == DWMWA_CLOAKED && machine.version >= kWindows8)
    return give(window->cloaked ? kCloakedByShell : DWORD{0}, value, size);
  if (attribute == DWMWA_EXTENDED_FRAME_BOUNDS) {
    const RECT& frame = window->invisibleFrame;
    const RECT& rect = window->rect;
    return give(RECT{rect.left + frame.left, rect.top + frame.top, rect.right - frame.right,
                     rect.bottom - frame.bottom},
                value, size);
  }
  return E_INVALIDARG;
}
