#include "win/list/ShareListManager.h"

#include <algorithm>
#include <map>
#include <utility>

#include "common/DataUrl.h"
#include "common/Logging.h"
#include "win/list/ThumbnailPicture.h"
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
using ThumbnailListCallback = IScreenCapture::ThumbnailListCallback;
using Png = std::vector<std::uint8_t>;

// For the text of any usual icon or thumbnail.
constexpr std::size_t kIconRoom = 65536;
constexpr std::size_t kThumbnailRoom = 1 << 19;

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
constexpr char kThumbnailsFailed[] = "thumbnails failed";

// False when there is no thread for `work`.
template <typename Work>
bool RunOnThread(const char* failed, Work&& work) {
  bool started = false;
  RunClosed(failed, [&] { started = Thread::RunDetached(std::forward<Work>(work)); });
  return started;
}

// Runs `list` on a new thread. Without one the host still gets its callback.
template <typename Callback, typename List>
void ListOnThread(Callback callback, void* user, List list) {
  const bool started = RunOnThread(kListFailed, [list = std::move(list)] {
    QX_LOG_INFO("start new thread to get window list");
    list();
  });
  if (!started) {
    callback(nullptr, 0, user);
  }
}

// The texts for a host, by id: "" until there is one, so that each id is there whatever
// fails.
using Thumbnails = std::map<std::int32_t, std::string>;

// Hands over what `make` fills in for the ids that it finds.
template <typename Make>
void DeliverThumbnails(ThumbnailListCallback callback, void* user, Make make) {
  Thumbnails thumbnails;
  std::vector<int> ids;
  std::vector<const char*> texts;
  const bool whole = RunClosed(kThumbnailsFailed, [&] {
    make(thumbnails);
    ids.reserve(thumbnails.size());
    texts.reserve(thumbnails.size());
    for (const auto& [id, text] : thumbnails) {
      ids.push_back(id);
      texts.push_back(text.c_str());
    }
  });
  if (!whole || ids.empty()) {
    callback(nullptr, nullptr, 0, user);
  } else {
    callback(ids.data(), texts.data(), static_cast<int>(ids.size()), user);
  }
}

RECT RectOf(const DesktopInfo& desktop) {
  return {desktop.x, desktop.y, desktop.x + desktop.width, desktop.y + desktop.height};
}

// Into a text that a host may be reading: the characters stay where they are while there
// is room. `room` is taken at once.
template <typename Text>
auto* StoreText(std::mutex& mutex, Text& stored, std::size_t room, const Text& text) {
  const std::lock_guard lock(mutex);
  stored.reserve(room);
  stored.assign(text);
  return stored.c_str();
}

// `desktops` may be null.
void MakeDesktopThumbnails(const std::vector<DesktopInfo>* desktops, int width, int height,
                           Thumbnails& thumbnails) {
  if (!desktops) {
    return;
  }
  for (const DesktopInfo& desktop : *desktops) {
    thumbnails[desktop.id];
  }
  if (!IsThumbnailSize(width, height)) {
    return;
  }
  for (const DesktopInfo& desktop : *desktops) {
    RunClosed(kThumbnailsFailed, [&] {
      Png png;
      if (GetDesktopThumbnailPng(RectOf(desktop), {width, height}, png)) {
        thumbnails[desktop.id] = MakePngDataUrl(png);
      }
    });
  }
}

}  // namespace

void ShareListManager::GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user) {
  if (!callback) {
    return;
  }
  std::vector<DesktopInfo> desktops;
  RunClosed(kListFailed, [&] {
    std::vector<DesktopInfo> listed = ListDesktops();
    if (!listed.empty()) {
      auto kept = std::make_shared<const std::vector<DesktopInfo>>(listed);
      const std::lock_guard lock(m_desktopListMutex);
      m_desktopList = std::move(kept);
    }
    desktops.swap(listed);  // only ids that are known from now on
  });
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

const char* ShareListManager::GetDesktopThumbnail(int desktopId, int width, int height) {
  const DesktopList desktops = desktopList();
  if (!desktops) {
    return nullptr;
  }
  const auto found = std::ranges::find(*desktops, desktopId, &DesktopInfo::id);
  Png png;
  if (found == desktops->end() || !IsThumbnailSize(width, height) ||
      !GetDesktopThumbnailPng(RectOf(*found), {width, height}, png)) {
    return nullptr;
  }
  return StoreText(m_desktopThumbnailMutex, m_desktopThumbnail, kThumbnailRoom,
                   MakePngDataUrl(png));
}

void ShareListManager::GetDesktopThumbnailAll(int width, int height, ThumbnailListCallback callback,
                                              void* user) {
  if (!callback) {
    return;
  }
  DeliverThumbnails(callback, user, [&](Thumbnails& thumbnails) {
    MakeDesktopThumbnails(desktopList().get(), width, height, thumbnails);
  });
}

void ShareListManager::GetDesktopThumbnailAllAsync(int width, int height,
                                                   ThumbnailListCallback callback, void* user) {
  if (!callback) {
    return;
  }
  const bool started =
      RunOnThread(kThumbnailsFailed, [desktops = desktopList(), width, height, callback, user] {
        DeliverThumbnails(callback, user, [&](Thumbnails& thumbnails) {
          MakeDesktopThumbnails(desktops.get(), width, height, thumbnails);
        });
      });
  if (!started) {
    callback(nullptr, nullptr, 0, user);
  }
}

const char* ShareListManager::GetWindowThumbnail(int windowId, int width, int height) {
  QX_LOG_DEBUG("windowId:{} width:{} height:{}", windowId, width, height);
  const HWND window = findWindow(windowId);
  Png png;
  if (!window || !IsThumbnailSize(width, height) ||
      !WindowsUtil::GetWindowThumbnail(window, thumbnailOrigin(), {width, height}, png)) {
    return nullptr;
  }
  const std::string url = MakePngDataUrl(png);
  QX_LOG_DEBUG("windowId:{} width:{} height:{} length:{}", windowId, width, height,
               url.size() - kPngDataUrlPrefix.size());
  return StoreText(m_windowThumbnailMutex, m_windowThumbnail, kThumbnailRoom, url);
}

void ShareListManager::GetWindowThumbnailAll(int width, int height, ThumbnailListCallback callback,
                                             void* user) {
  if (!callback) {
    return;
  }
  DeliverThumbnails(callback, user, [&](Thumbnails& thumbnails) {
    const WindowList records = windowList();
    if (!records) {
      return;
    }
    std::vector<HWND> windows;
    for (const ShareWindowRecord& record : *records) {
      thumbnails[record.id];
      windows.push_back(IdToHandle<HWND>(record.handle));
    }
    if (!IsThumbnailSize(width, height)) {
      return;
    }
    WindowsUtil::GetWindowThumbnailList(windows, thumbnailOrigin(), {width, height},
                                        [&](HWND window, const Png* png) {
                                          if (png) {
                                            thumbnails[HandleToId(window)] = MakePngDataUrl(*png);
                                          }
                                        });
  });
}

void ShareListManager::GetWindowThumbnailAllAsync(int width, int height,
                                                  ThumbnailListCallback callback, void* user) {
  if (!callback) {
    return;
  }
  const bool started = RunOnThread(kThumbnailsFailed, [this, width, height, callback, user] {
    GetWindowThumbnailAll(width, height, callback, user);
  });
  if (!started) {
    callback(nullptr, nullptr, 0, user);
  }
}

const char* ShareListManager::GetWindowIcon(int windowId) {
  Png png;
  std::string url;
  const HWND window = findWindow(windowId);
  if (window && WindowsUtil::GetWindowIcon(window, png)) {
    url = MakePngDataUrl(png);
  }
  return StoreText(m_windowIconMutex, m_windowIcon, kIconRoom, url);
}

const wchar_t* ShareListManager::GetWindowTitle(int windowId) {
  std::wstring title;
  if (const HWND window = findWindow(windowId)) {
    WindowsUtil::GetWindowTitle(window, title);
  }
  return StoreText(m_windowTitleMutex, m_windowTitle, 0, title);
}

ShareListManager::DesktopList ShareListManager::desktopList() {
  const std::lock_guard lock(m_desktopListMutex);
  return m_desktopList;
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
  const auto found = std::ranges::find(*list, id, &ShareWindowRecord::id);
  return found == list->end() ? nullptr : IdToHandle<HWND>(found->handle);
}

// A host that never asked for the monitors has some all the same, and nobody is to see
// the windows that go beside them.
ThumbnailOrigin ShareListManager::thumbnailOrigin() {
  const DesktopList desktops = desktopList();
  return ComputeThumbnailOrigin(desktops ? *desktops : ListDesktops());
}

}  // namespace qx
