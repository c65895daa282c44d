#pragma once

#include <qx-screen-capture.h>

#include <mutex>
#include <vector>

#include "common/Singleton.h"

namespace qx {

// What can be shared. Keeps the last list that was not empty, since the ids that
// a host passes later are those of a list.
//
// Callbacks run without any lock held. What they receive is valid during the
// call only; an empty list is a null array and count 0. A null callback does
// nothing.
class ShareListManager : public Singleton<ShareListManager> {
 public:
  // On the calling thread, before this returns.
  void GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user);
  // On a new thread. When none can be started, the callback gets an empty list
  // on this one, so that it always comes.
  void GetDesktopListAsync(IScreenCapture::DesktopListCallback callback, void* user);

 private:
  friend class Singleton<ShareListManager>;
  ShareListManager() = default;

  std::vector<IScreenCapture::DesktopInfo> m_desktopList;
  std::mutex m_desktopListMutex;
};

}  // namespace qx
