#include <gdiplus.h>

#include "platform/model/Faults.h"
#include "platform/model/Ledger.h"

using namespace vwin;

extern "C" Gdiplus::GpStatus WINAPI Gdiplus::GdiplusStartup(ULONG_PTR* token,
                                                            const GdiplusStartupInput* input,
                                                            GdiplusStartupOutput* output) {
  VWIN_CALL(GdiplusStartup);
  if (token == nullptr || input == nullptr) return InvalidParameter;
  if (input->SuppressBackgroundThread != FALSE && output == nullptr) return InvalidParameter;
  if (input->GdiplusVersion != 1) return UnsupportedGdiplusVersion;
  if (fault) return OutOfMemory;
  Lock lock;
  static ULONG_PTR lastToken = 0;
  *token = ++lastToken;
  ledger::Take(lock, "GDI+ start", *token, "GdiplusStartup");
  return Ok;
}
