#include "win/source/VirtualDesktops.h"

#include <objbase.h>
#include <shobjidl.h>

#include <algorithm>
#include <atomic>
#include <iterator>

#include "win/source/WindowEnumeration.h"
#include "win/util/ComPtr.h"
#include "win/util/ComScope.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

// So many threads may wait for a shell that hangs, however often a host asks for lists.
constexpr int kMostWaiting = 8;
std::atomic<int> g_waiting = 0;

struct WaitingForShell {
  WaitingForShell() { ++g_waiting; }
  WaitingForShell(const WaitingForShell&) = delete;
  WaitingForShell& operator=(const WaitingForShell&) = delete;
  ~WaitingForShell() { --g_waiting; }
};

// The class lives in the process, so that making an object waits for nobody. In vain on
// threads without COM.
bool MakeManager(ComPtr<IVirtualDesktopManager>& manager) {
  return SUCCEEDED(CoCreateInstance(CLSID_VirtualDesktopManager, nullptr, CLSCTX_ALL,
                                    IID_IVirtualDesktopManager, manager.PutVoid()));
}

}  // namespace

struct VirtualDesktops::Question {
  std::vector<HWND> windows;
  std::vector<HWND> elsewhere;  // those of them that are on another virtual desktop

  void Ask() {
    const WaitingForShell waiting;
    const ComScope com;
    ComPtr<IVirtualDesktopManager> manager;
    if (!MakeManager(manager)) {
      return;
    }
    for (const HWND window : windows) {
      BOOL onCurrent = TRUE;
      if (SUCCEEDED(manager->IsWindowOnCurrentVirtualDesktop(window, &onCurrent)) && !onCurrent) {
        elsewhere.push_back(window);
      }
    }
  }
};

VirtualDesktops::VirtualDesktops()
    : m_question(std::make_shared<Question>()),
      m_errand([question = m_question] { question->Ask(); }) {}

// Which of them are elsewhere. Nobody knows: none.
std::span<const HWND> VirtualDesktops::findElsewhere(std::span<const HWND> cloaked) {
  if (cloaked.empty() || m_errand.IsUnderWay() || g_waiting >= kMostWaiting) {
    return {};
  }
  m_question->windows.assign(cloaked.begin(), cloaked.end());
  m_question->elsewhere.clear();
  if (!m_errand.Run()) {
    return {};
  }
  return m_question->elsewhere;
}

bool VirtualDesktops::IsWindowOnCurrentVirtualDesktop(HWND window) {
  ComPtr<IVirtualDesktopManager> manager;
  if (!WindowsUtil::IsWindows10OrGreater() || !WindowsUtil::IsWindowCloaked(window) ||
      !MakeManager(manager)) {
    return true;
  }
  return findElsewhere({&window, 1}).empty();
}

void VirtualDesktops::FilterWindowsByVirtualDesktop(std::vector<HWND>& windows) {
  ComPtr<IVirtualDesktopManager> manager;
  if (windows.empty() || !MakeManager(manager)) {
    return;
  }
  std::vector<HWND> cloaked;
  std::copy_if(windows.begin(), windows.end(), std::back_inserter(cloaked),
               WindowsUtil::IsWindowCloaked);
  const std::span<const HWND> elsewhere = findElsewhere(cloaked);
  std::erase_if(windows, [&](HWND window) {
    return WindowsUtil::IsThumbnailHost(window) ||
           std::find(elsewhere.begin(), elsewhere.end(), window) != elsewhere.end();
  });
}

}  // namespace qx
