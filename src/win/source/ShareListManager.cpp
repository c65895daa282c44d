#include "win/source/ShareListManager.h"

#include <windows.h>

#include "common/Logging.h"
#include "win/source/WindowEnumeration.h"
#include "win/util/Thread.h"
#include "win/util/Utils.h"

namespace qx {

namespace {

using DesktopInfo = IScreenCapture::DesktopInfo;

std::vector<DesktopInfo> ListDesktops() {
  std::vector<HMONITOR> monitors;
  WindowsUtil::EnumMonitorHandles(monitors);
  std::vector<DesktopInfo> desktops;
  desktops.reserve(monitors.size());
  for (const HMONITOR monitor : monitors) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    if (!GetMonitorInfoW(monitor, &info)) {
      continue;  // unplugged since
    }
    const std::int32_t id = HandleToId(monitor);
    const RECT& rect = info.rcMonitor;
    desktops.push_back({.id = id,
                        .handle = id,
                        .isPrimary = (info.dwFlags & MONITORINFOF_PRIMARY) ? 1 : 0,
                        .x = rect.left,
                        .y = rect.top,
                        .width = rect.right - rect.left,
                        .height = rect.bottom - rect.top});
  }
  return desktops;
}

}  // namespace

void ShareListManager::GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user) {
  if (!callback) {
    return;
  }
  const std::vector<DesktopInfo> desktops = ListDesktops();
  if (desktops.empty()) {
    callback(nullptr, 0, user);
    return;
  }
  {
    const std::lock_guard lock(m_desktopListMutex);
    m_desktopList = desktops;
  }
  callback(desktops.data(), static_cast<int>(desktops.size()), user);
}

void ShareListManager::GetDesktopListAsync(IScreenCapture::DesktopListCallback callback,
                                           void* user) {
  if (!callback) {
    return;
  }
  const bool started = Thread::RunDetached([this, callback, user] {
    QX_LOG_INFO("start new thread to get window list");
    GetDesktopList(callback, user);
  });
  if (!started) {
    callback(nullptr, 0, user);
  }
}

}  // namespace qx
