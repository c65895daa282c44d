#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/Singleton.h"
#include "win/list/Thumbnails.h"
#include "win/source/WindowList.h"

namespace qx {

class FilterWindowManager;

// What can be shared and what it looks like. Keeps the last lists of monitors and windows
// that were not empty, since the ids that a host passes later are those of a list.
//
// A callback comes once, without any lock held. What it receives is valid during the
// call only; an empty list, and one that could not be made, is null arrays and count 0.
// A null callback does nothing.
class ShareListManager : public Singleton<ShareListManager> {
 public:
  // On the calling thread, before this returns.
  void GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user);
  // On a new thread. When none can be started, the callback gets an empty list
  // on this one, so that it always comes.
  void GetDesktopListAsync(IScreenCapture::DesktopListCallback callback, void* user);

  // Whose excluded windows are left out. Held, since a list may still be made on a thread
  // when the object that started it is gone.
  using Filter = std::shared_ptr<const FilterWindowManager>;

  // As above. `filter` must be set.
  void GetWindowList(IScreenCapture::WindowListCallback callback, void* user, const Filter& filter);
  void GetWindowListAsync(IScreenCapture::WindowListCallback callback, void* user, Filter filter);

  // A picture of a listed monitor or window of exactly this size, as a data URL. Null for
  // an id that is not in the list, for a size that can't be, and when none could be made.
  // Valid until the next call that gives one.
  const char* GetDesktopThumbnail(int desktopId, int width, int height);
  const char* GetWindowThumbnail(int windowId, int width, int height);

  // The same of all monitors or windows of the last list, by ascending id; "" for one
  // that failed. With Async as for the lists; which monitors is settled when it returns.
  void GetDesktopThumbnailAll(int width, int height, IScreenCapture::ThumbnailListCallback callback,
                              void* user);
  void GetDesktopThumbnailAllAsync(int width, int height,
                                   IScreenCapture::ThumbnailListCallback callback, void* user);
  void GetWindowThumbnailAll(int width, int height, IScreenCapture::ThumbnailListCallback callback,
                             void* user);
  void GetWindowThumbnailAllAsync(int width, int height,
                                  IScreenCapture::ThumbnailListCallback callback, void* user);

  // The icon of a listed window as a data URL; empty for an id that is not in the
  // list and for a window without one. Never null; valid until the next call.
  const char* GetWindowIcon(int windowId);
  // The present title of a listed window; empty for an id that is not in the list.
  // Never null; valid until the next call.
  const wchar_t* GetWindowTitle(int windowId);

 private:
  friend class Singleton<ShareListManager>;
  ShareListManager() = default;

  // Immutable: a reader takes the pointer and works without a lock and without a copy.
  using DesktopList = std::shared_ptr<const std::vector<IScreenCapture::DesktopInfo>>;
  using WindowList = std::shared_ptr<const std::vector<ShareWindowRecord>>;

  // Null before the first one.
  DesktopList desktopList();
  WindowList windowList();
  // Null for an id that is not in the list.
  HWND findWindow(std::int32_t id);
  ThumbnailOrigin thumbnailOrigin();

  // Each mutex is held for a copy only, and never while another one is.
  DesktopList m_desktopList;
  std::mutex m_desktopListMutex;
  WindowList m_windowList;
  std::mutex m_windowListMutex;

  // What the pointers lead to that a host gets. They are written in place and never
  // shrink, so that a host that calls on two threads may read a mixed text, but
  // hardly ever one that is gone.
  std::string m_desktopThumbnail;
  std::mutex m_desktopThumbnailMutex;
  std::string m_windowThumbnail;
  std::mutex m_windowThumbnailMutex;
  std::string m_windowIcon;
  std::mutex m_windowIconMutex;
  std::wstring m_windowTitle;
  std::mutex m_windowTitleMutex;
};

}  // namespace qx
