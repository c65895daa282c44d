#include "win/source/ShareListManager.h"

#include <algorithm>
#include <utility>

#include "common/DataUrl.h"
#include "common/Logging.h"
#include "win/prompt/FilterWindowManager.h"
#include "win/source/WindowEnumeration.h"
#include "win/source/WindowIcon.h"
#include "win/util/RunClosed.h"
#include "win/util/Thread.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx {

namespace {

using DesktopInfo = IScreenCapture::DesktopInfo;
using WindowInfo = IScreenCapture::WindowInfo;

// For the text of any usual icon.
constexpr std::size_t kIconRoom = 65536;

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

// The strings are those of `records`.
std::vector<WindowInfo> PublicForm(const std::vector<ShareWindowRecord>& records) {
  std::vector<WindowInfo> windows;
  windows.reserve(records.size());
  for (const ShareWindowRecord& record : records) {
    windows.push_back({.id = record.id,
                       .handle = record.handle,
                       .processId = record.processId,
                       .processName = record.processName.c_str(),
                       .title = record.title.c_str(),
                       .x = record.x,
                       .y = record.y,
                       .width = record.width,
                       .height = record.height});
  }
  return windows;
}

template <typename Item, typename Callback>
void Deliver(const std::vector<Item>& list, Callback callback, void* user) {
  callback(list.empty() ? nullptr : list.data(), static_cast<int>(list.size()), user);
}

constexpr char kListFailed[] = "a list failed";

// Runs `list` on a new thread. Without one the host still gets its callback.
template <typename Callback, typename List>
void ListOnThread(Callback callback, void* user, List list) {
  bool started = false;
  RunClosed(kListFailed, [&] {
    started = Thread::RunDetached([list = std::move(list)] {
      QX_LOG_INFO("start new thread to get window list");
      list();
    });
  });
  if (!started) {
    callback(nullptr, 0, user);
  }
}

}  // namespace

void ShareListManager::GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user) {
  if (!callback) {
    return;
  }
  std::vector<DesktopInfo> desktops;
  RunClosed(kListFailed, [&] { desktops = ListDesktops(); });
  Deliver(desktops, callback, user);
}

void ShareListManager::GetDesktopListAsync(IScreenCapture::DesktopListCallback callback,
                                           void* user) {
  if (!callback) {
    return;
  }
  ListOnThread(callback, user, [this, callback, user] { GetDesktopList(callback, user); });
}

void ShareListManager::GetWindowList(IScreenCapture::WindowListCallback callback, void* user,
                                     const Filter& filter) {
  if (!callback) {
    return;
  }
  WindowList records;
  std::vector<WindowInfo> windows;
  RunClosed(kListFailed, [&] {
    records = std::make_shared<const std::vector<ShareWindowRecord>>(
        ListShareWindows([&](HWND window) { return filter->IsExcludedWindow(window); }));
    windows = PublicForm(*records);
    if (!windows.empty()) {
      const std::lock_guard lock(m_windowListMutex);
      m_windowList = records;
    }
  });
  Deliver(windows, callback, user);
}

void ShareListManager::GetWindowListAsync(IScreenCapture::WindowListCallback callback, void* user,
                                          Filter filter) {
  if (!callback) {
    return;
  }
  ListOnThread(callback, user, [this, callback, user, filter = std::move(filter)] {
    GetWindowList(callback, user, filter);
  });
}

const char* ShareListManager::GetWindowIcon(int windowId) {
  std::vector<std::uint8_t> png;
  std::string url;
  const HWND window = findWindow(windowId);
  if (window && WindowsUtil::GetWindowIcon(window, png)) {
    url = MakePngDataUrl(png);
  }
  const std::lock_guard lock(m_windowIconMutex);
  m_windowIcon.reserve(kIconRoom);
  m_windowIcon.assign(url);
  return m_windowIcon.c_str();
}

const wchar_t* ShareListManager::GetWindowTitle(int windowId) {
  std::wstring title;
  if (const HWND window = findWindow(windowId)) {
    WindowsUtil::GetWindowTitle(window, title);
  }
  const std::lock_guard lock(m_windowTitleMutex);
  m_windowTitle.assign(title);
  return m_windowTitle.c_str();
}

ShareListManager::WindowList ShareListManager::windowList() {
  const std::lock_guard lock(m_windowListMutex);
  return m_windowList;
}

HWND ShareListManager::findWindow(std::int32_t id) {
  const WindowList list = windowList();
  if (!list) {
    return nullptr;
  }
  const auto found =
      std::find_if(list->begin(), list->end(),
                   [id](const ShareWindowRecord& record) { return record.id == id; });
  return found == list->end() ? nullptr : IdToHandle<HWND>(found->handle);
}

}  // namespace qx
