#include "MagnifierLoop.h"

#include <dwmapi.h>
#include <objbase.h>
#include <shobjidl.h>
#include <windows.h>
#include <wtsapi32.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>

#include "Duplication.h"
#include "MagnifierWindow.h"
#include "PacedLoop.h"

namespace {

using qx::ComPtr;

constexpr std::uint64_t kFullPictureMs = 1000;

std::uint64_t WallClockMillis() {
  FILETIME time = {};
  GetSystemTimeAsFileTime(&time);
  return (std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 10000;
}

BOOL CALLBACK CollectVisible(HWND window, LPARAM found) {
  wchar_t className[260];
  if (IsWindowVisible(window) && GetClassNameW(window, className, 260) > 0 && !IsIconic(window)) {
    reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
  }
  return TRUE;
}

class MagnifierLoop {
 public:
  explicit MagnifierLoop(const Round& round)
      : m_window(round.rect, round.picture.cx != 0 ? round.picture
                                                   : SIZE{round.rect.right - round.rect.left,
                                                          round.rect.bottom - round.rect.top}) {
    for (const auto& rule : round.exclude) {
      if (rule.type == 0) {
        m_named.push_back(static_cast<HWND>(rule.window));
      } else {
        m_processes.push_back(rule.processId);
      }
    }
    if (round.dynamicCheck) {
      m_watch.emplace();
    }
  }

  bool Capture() {
    WatchMonitor(m_monitor);
    if (!canCapture()) {
      return false;
    }
    listWindows();
    if (isUnchanged()) {
      return true;
    }
    if (!m_window.Draw(m_leftOut)) {
      return false;
    }
    // A window may have come into sight meanwhile, which must not be shown.
    const std::size_t before = m_leftOut.size();
    if (!m_named.empty() || !m_processes.empty()) {
      listWindows();
    }
    return m_leftOut.size() == before;
  }

 private:
  // A magnifier draws nothing useful while the session is locked or shows a prompt.
  bool canCapture() {
    wchar_t* memory = nullptr;
    DWORD size = 0;
    if (WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION,
                                    WTSSessionInfoEx, &memory, &size)) {
      WTSFreeMemory(memory);
    }
    const HDESK desktop = OpenDesktopA("Default", 0, FALSE, DESKTOP_SWITCHDESKTOP);
    const bool shown = SwitchDesktop(desktop) != FALSE;
    CloseDesktop(desktop);
    return shown && IsWindow(m_window.Handle());
  }

  // The list is made anew for each picture: windows come and go.
  void listWindows() {
    m_visible.clear();
    m_leftOut.clear();
    EnumWindows(CollectVisible, reinterpret_cast<LPARAM>(&m_visible));
    ComPtr<IVirtualDesktopManager> manager;
    if (SUCCEEDED(CoCreateInstance(CLSID_VirtualDesktopManager, nullptr, CLSCTX_ALL,
                                   IID_IVirtualDesktopManager, manager.PutVoid()))) {
      for (const HWND window : m_visible) {
        DWORD cloaked = 0;
        BOOL current = FALSE;
        DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked));
        if (cloaked != 0) {
          (void)manager->IsWindowOnCurrentVirtualDesktop(window, &current);
        }
      }
    }
    std::ranges::copy_if(m_visible, std::back_inserter(m_leftOut),
                         [this](HWND window) { return isNamed(window); });
  }

  bool isNamed(HWND window) const {
    if (std::ranges::find(m_named, window) != m_named.end()) {
      return true;
    }
    if (m_processes.empty()) {
      return false;
    }
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    return std::ranges::find(m_processes, processId) != m_processes.end();
  }

  // As often as a share does, it draws whatever the duplication says.
  bool isUnchanged() {
    const std::uint64_t now = m_watch ? WallClockMillis() : 0;
    if (!m_watch || now - m_lastFullTime > kFullPictureMs) {
      m_lastFullTime = now;
      return false;
    }
    DXGI_OUTDUPL_FRAME_INFO info = {};
    ComPtr<IDXGIResource> resource;
    const HRESULT hr = m_watch->duplication->AcquireNextFrame(0, &info, resource.Put());
    if (SUCCEEDED(hr)) {
      m_watch->duplication->ReleaseFrame();
    }
    return hr == DXGI_ERROR_WAIT_TIMEOUT;
  }

  const Neighbour m_neighbour;
  const HMONITOR m_monitor = MonitorFromWindow(nullptr, MONITOR_DEFAULTTOPRIMARY);
  std::vector<HWND> m_named;
  std::vector<DWORD> m_processes;
  std::optional<Duplication> m_watch;
  MagnifierWindow m_window;
  std::vector<HWND> m_visible;
  std::vector<HWND> m_leftOut;
  std::uint64_t m_lastFullTime = 0;
};

}  // namespace

double MagnifierLoopMicrosPerFrame(const Round& round) {
  return PacedMicrosPerFrame<MagnifierLoop>(round);
}
