#include "win/source/WindowEnumeration.h"

#include <dwmapi.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "common/Logging.h"
#include "win/source/VirtualDesktops.h"
#include "win/util/Enumerate.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx::WindowsUtil {

namespace {

// The invisible frame of a maximised window hangs over the edge of its monitor.
constexpr LONG kZoomedInset = 8;
constexpr LONG kZoomedInsetWindows11 = 11;

constexpr std::wstring_view kCoreWindow = L"Windows.UI.Core.CoreWindow";
constexpr std::wstring_view kStoreFrame = L"ApplicationFrameWindow";

// Never the application's own windows: our prompt frames, and full-screen
// surfaces of the shell.
constexpr std::wstring_view kNoShareCandidates[] = {
    L"OrvaSSPromptDesktop", L"OrvaSSPromptWindow",
    L"NativeHWNDHost",      L"Shell_CharmWindow",
    L"SearchPane",          L"ImmersiveLauncher",
    L"Snapped Desktop",     L"ImmersiveBackgroundWindow"};

// Reads a class name without an allocation, and without clearing a buffer for
// every window of every frame.
class ClassName {
 public:
  explicit ClassName(HWND window)
      : m_length(std::max(GetClassNameW(window, m_text, static_cast<int>(std::size(m_text))), 0)) {}

  std::wstring_view Get() const { return {m_text, static_cast<std::size_t>(m_length)}; }

 private:
  wchar_t m_text[2000];
  int m_length;
};

bool HasTitle(HWND window) {
  wchar_t text[260];
  return ReadWindowTitle(window, text) > 0;
}

bool IsHiddenStoreAppWindow(HWND window, std::wstring_view className) {
  if ((className != kCoreWindow && className != kStoreFrame) || !IsWindows8OrGreater()) {
    return false;
  }
  if (className == kCoreWindow || !HasTitle(window)) {
    return true;
  }
  // A frame shows its application through a child. A minimised one has lent it to
  // the shell.
  bool hasContent = false;
  ForEachChildWindow(window, [&](HWND child) {
    hasContent = ClassName(child).Get() == kCoreWindow;
    return !hasContent;
  });
  return !hasContent && !IsIconic(window);
}

bool IsOffered(HWND window, EnumMode mode) {
  if (!IsWindowVisible(window)) {
    return false;
  }
  const ClassName holder(window);
  const std::wstring_view className = holder.Get();
  if (className == L"Progman" || className == L"Button" ||
      IsHiddenStoreAppWindow(window, className)) {
    return false;
  }
  if (mode == EnumMode::VisibleNotMinimized) {
    return !IsIconic(window);
  }
  return std::find(std::begin(kNoShareCandidates), std::end(kNoShareCandidates), className) ==
         std::end(kNoShareCandidates);
}

// What a cloaked window looks like where it can't be asked.
bool MayBeCloaked(HWND window) {
  const std::uint32_t style = StyleOf(window, GWL_STYLE);
  return HasAllBitsOf(StyleOf(window, GWL_EXSTYLE), WS_EX_NOREDIRECTIONBITMAP) &&
         !HasAllBitsOf(style, WS_CAPTION) && !HasAllBitsOf(style, WS_THICKFRAME);
}

bool GetRestoredRect(HWND window, RECT& rect) {
  WINDOWPLACEMENT placement = {};
  placement.length = sizeof(placement);
  if (!GetWindowPlacement(window, &placement)) {
    QX_LOG_LIMITED(LogLevelError, "GetWindowPlacement error,code = {}",
                   static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  rect = placement.rcNormalPosition;
  return true;
}

bool GetZoomedRect(HWND window, RECT& rect) {
  if (!GetWindowRect(window, &rect)) {
    QX_LOG_LIMITED(LogLevelError, "GetWindowRect for zoomed window error,code = {}",
                   static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  const LONG inset = IsWindows11OrGreater() ? kZoomedInsetWindows11 : kZoomedInset;
  rect.left += inset;
  rect.top += inset;
  rect.right -= inset;
  rect.bottom -= inset;
  return true;
}

}  // namespace

void EnumMonitorHandles(std::vector<HMONITOR>& monitors) {
  monitors.clear();
  ForEachMonitor([&](HMONITOR monitor) {
    monitors.push_back(monitor);
    return true;
  });
}

bool EnumTopLevelWindows(std::vector<HWND>& windows, EnumMode mode, VirtualDesktops& desktops) {
  const std::size_t before = windows.size();
  const bool complete = ForEachTopLevelWindow([&](HWND window) {
    if (IsOffered(window, mode)) {
      windows.push_back(window);
    }
    return true;
  });
  if (!complete) {
    windows.resize(before);
    return false;
  }
  windows.erase(windows.begin(), windows.begin() + static_cast<std::ptrdiff_t>(before));
  desktops.FilterWindowsByVirtualDesktop(windows);
  return true;
}

bool IsThumbnailHost(HWND window) { return ClassName(window).Get() == L"ThumbnailWindow"; }

bool IsHiddenStoreAppWindow(HWND window) {
  return IsHiddenStoreAppWindow(window, ClassName(window).Get());
}

bool IsWindowCloaked(HWND window) {
  DWORD cloaked = 0;
  return SUCCEEDED(DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked))) &&
         cloaked != 0;
}

bool IsWindowObscured(HWND window, bool checkCloak) {
  if (checkCloak) {
    if (IsWindows8Point1OrGreater()) {
      return IsWindowCloaked(window);
    }
    if (!MayBeCloaked(window)) {
      return false;
    }
  }
  RECT rect = {};
  GetWindowRect(window, &rect);  // the points of an empty rectangle will do for a dead window
  const POINT points[] = {{rect.left + 1, rect.top + 1},
                          {rect.left + 1, rect.bottom - 1},
                          {rect.right - 1, rect.top + 1},
                          {rect.right - 1, rect.bottom - 1},
                          {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2}};
  return std::none_of(std::begin(points), std::end(points), [window](const POINT& point) {
    const HWND top = WindowFromPoint(point);
    return top == window || (top && GetParent(top) == window);
  });
}

bool GetCaptureRect(HWND window, RECT& rect) {
  const std::uint32_t minimised = IsIconic(window) ? WS_MINIMIZE : 0;
  const std::uint32_t maximised = IsZoomed(window) ? WS_MAXIMIZE : 0;
  return GetCaptureRect(window, minimised | maximised, rect);
}

bool GetCaptureRect(HWND window, std::uint32_t style, RECT& rect) {
  const bool minimised = HasAllBitsOf(style, WS_MINIMIZE);
  if (!IsWindows8OrGreater()) {
    if (minimised) {
      return GetRestoredRect(window, rect);
    }
    if (!GetWindowRect(window, &rect)) {
      QX_LOG_LIMITED(LogLevelError, "GetWindowRect error,code = {}",
                     static_cast<std::uint32_t>(GetLastError()));
      return false;
    }
    return true;
  }
  if (HasAllBitsOf(style, WS_MAXIMIZE)) {
    return GetZoomedRect(window, rect);
  }
  if (minimised) {
    return GetRestoredRect(window, rect);
  }
  const HRESULT hr =
      DwmGetWindowAttribute(window, DWMWA_EXTENDED_FRAME_BOUNDS, &rect, sizeof(rect));
  if (FAILED(hr)) {
    QX_LOG_LIMITED(LogLevelError, "DwmGetWindowAttribute failed,code = {}",
                   static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool GetWindowsAbove(HWND window, RECT rect, std::vector<HWND>& out) {
  if (!window || HasAllBitsOf(StyleOf(window, GWL_STYLE), WS_CHILD)) {
    return false;
  }
  const HWND desktop = GetDesktopWindow();
  const auto covers = [&](HWND above) {
    RECT aboveRect = {};
    RECT overlap = {};
    if (GetWindow(above, GW_OWNER) == window || !IsWindowVisible(above)) {
      return false;
    }
    // In doubt it covers.
    const bool overlaps = GetWindowRect(above, &aboveRect)
                              ? IntersectRect(&overlap, &aboveRect, &rect) != FALSE
                              : IsWindow(above) != FALSE;
    return overlaps && !IsWindowObscured(above, true);
  };
  bool met = false;
  ForEachWindowBehind(
      [&](HWND above) { return FindWindowExW(desktop, above, nullptr, nullptr); },
      [&](HWND above) {
        if (above == window) {
          met = true;
          return false;
        }
        if (covers(above) && std::find(out.begin(), out.end(), above) == out.end()) {
          out.push_back(above);
        }
        return true;
      });
  return met;
}

}  // namespace qx::WindowsUtil
