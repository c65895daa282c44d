// user32: device contexts of windows, painting, printing.
#include <windows.h>

#include "platform/api/user32.h"
#include "platform/model/Desktop.h"
#include "platform/model/Faults.h"
#include "platform/model/Gdi.h"
#include "platform/model/Ledger.h"
#include "platform/model/OwnWindows.h"
#include "platform/model/SentMessages.h"

using namespace vwin;

HDC WINAPI GetDC(HWND handle) {
  VWIN_CALL(GetDC);
  if (fault) return SetLastError(fault->win32), nullptr;
  Lock lock;
  const auto window = handle ? desktop::FindWindow(lock, handle) : nullptr;
  if (handle && !window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
  return gdi::OpenDC(lock, window.get(), handle, "GetDC");
}

int WINAPI ReleaseDC(HWND window, HDC handle) {
  VWIN_CALL_INFALLIBLE(ReleaseDC);
  if (!handle) return 0;
  Lock lock;
  const auto dc = gdi::FindDC(lock, handle);
  if (!dc || dc->painting || dc->kind == DeviceContext::Kind::kMemory) {
    ledger::Misuse(lock, "ReleaseDC: not a DC of GetDC");
    return SetLastError(ERROR_INVALID_HANDLE), 0;
  }
  if (dc->window != window) ledger::Misuse(lock, "ReleaseDC: the DC belongs to another window");
  if (dc->threadId != scheduler::CurrentThreadId())
    ledger::Misuse(lock, "ReleaseDC: the DC belongs to another thread");
  gdi::CloseDC(lock, *dc);
  return 1;
}

HDC WINAPI BeginPaint(HWND window, LPPAINTSTRUCT paint) {
  VWIN_CALL(BeginPaint);
  if (fault) return SetLastError(fault->win32), nullptr;
  const HDC dc = own_windows::BeginPaint(window, *paint);
  if (!dc) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return dc;
}

BOOL WINAPI EndPaint(HWND, const PAINTSTRUCT* paint) {
  VWIN_CALL_INFALLIBLE(EndPaint);
  own_windows::EndPaint(*paint);
  return TRUE;
}

BOOL WINAPI InvalidateRect(HWND handle, const RECT* rect, BOOL erase) {
  VWIN_CALL(InvalidateRect);
  if (fault) return SetLastError(fault->win32), FALSE;
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
  desktop::Invalidate(lock, *window, rect, erase != FALSE);
  return TRUE;
}

BOOL WINAPI RedrawWindow(HWND handle, const RECT* rect, HRGN, UINT flags) {
  VWIN_CALL(RedrawWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  {
    Lock lock;
    const auto window = desktop::FindWindow(lock, handle);
    if (!window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
    const bool erase = (flags & RDW_ERASE) != 0;
    if (flags & RDW_INVALIDATE) {
      desktop::Invalidate(lock, *window, rect, erase);
      if (flags & RDW_ALLCHILDREN) {
        for (const auto& child : window->children)
          desktop::Invalidate(lock, *child, nullptr, erase);
      }
    }
  }
  if (flags & RDW_UPDATENOW) messages::UpdateNow(handle);
  return TRUE;
}

BOOL WINAPI UpdateWindow(HWND handle) {
  VWIN_CALL(UpdateWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  {
    Lock lock;
    if (!desktop::FindWindow(lock, handle)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
  }
  messages::UpdateNow(handle);
  return TRUE;
}

BOOL WINAPI PrintWindow(HWND handle, HDC dcHandle, UINT flags) {
  VWIN_CALL(PrintWindow);
  if (fault) return SetLastError(fault->win32), FALSE;
  if (flags & ~UINT{PW_RENDERFULLCONTENT}) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  bool drawn = false;
  const auto print = [&](Lock& lock, Window& window) {
    const auto dc = gdi::FindDC(lock, dcHandle);
    drawn = dc && gdi::DrawWholeWindow(lock, *dc, window);
  };
  if (!AsOwnerOrSetError(handle, print)) return FALSE;
  if (!drawn) SetLastError(ERROR_INVALID_HANDLE);
  return drawn;
}

int WINAPI FillRect(HDC handle, const RECT* rect, HBRUSH brush) {
  VWIN_CALL(FillRect);
  if (fault) return SetLastError(fault->win32), 0;
  Lock lock;
  const auto dc = gdi::FindDC(lock, handle);
  const auto pixel = gdi::BrushPixel(lock, brush);
  if (!dc || !pixel || !gdi::Fill(lock, *dc, *rect, *pixel))
    return SetLastError(ERROR_INVALID_HANDLE), 0;
  return 1;
}
