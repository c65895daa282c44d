// shell32.
#include <shellapi.h>

#include "platform/model/Faults.h"
#include "platform/model/Icons.h"
#include "platform/model/Ledger.h"

using namespace vwin;

DWORD_PTR WINAPI SHGetFileInfoW(LPCWSTR path, DWORD, SHFILEINFOW* info, UINT size, UINT flags) {
  VWIN_CALL(SHGetFileInfoW);
  if (fault) return SetLastError(fault->win32), 0;
  if (!path || !info || size != sizeof(SHFILEINFOW)) return 0;
  Lock lock;
  if (flags != (SHGFI_ICON | SHGFI_SMALLICON)) {
    ledger::Misuse(lock, "SHGetFileInfoW: virtual Windows gives only small icons");
    return 0;
  }
  icons::WaitForShell(lock);
  const auto icon = icons::Find(lock, icons::OfProgram(lock, path));
  if (!icon) return SetLastError(ERROR_FILE_NOT_FOUND), 0;
  *info = {};
  info->hIcon = icons::AddCopy(lock, *icon, "SHGetFileInfoW");
  return 1;
}
