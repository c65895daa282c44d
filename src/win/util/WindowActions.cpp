#include "win/util/WindowActions.h"

#include "common/Logging.h"
#include "win/util/Errand.h"

namespace qx::WindowsUtil {

void RestoreWindow(HWND window) {
  if (!IsIconic(window)) {
    return;
  }
  if (!RunWithin(kPatienceMs, [window] { ShowWindow(window, SW_RESTORE); })) {
    QX_LOG_WARN("a minimised window does not answer");
  }
}

void RaiseWindow(HWND window) {
  const auto raise = [window] {
    // The system lets a thread raise windows that shares its input with the foreground.
    // With a thread that hangs none is shared: it would be waited for as well.
    const HWND front = GetForegroundWindow();
    const DWORD foreground = IsHungAppWindow(front) ? 0 : GetWindowThreadProcessId(front, nullptr);
    const DWORD self = GetCurrentThreadId();
    const bool attached = foreground != 0 && AttachThreadInput(foreground, self, TRUE);
    BringWindowToTop(window);
    if (attached) {
      AttachThreadInput(foreground, self, FALSE);
    }
  };
  if (IsHungAppWindow(window) || !RunWithin(kPatienceMs, raise)) {
    QX_LOG_WARN("a window that is to be raised does not answer");
  }
}

}  // namespace qx::WindowsUtil
