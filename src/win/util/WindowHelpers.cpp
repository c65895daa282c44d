#include "win/util/WindowHelpers.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "common/Logging.h"
#include "win/util/Enumerate.h"
#include "win/util/Handles.h"
#include "win/util/SystemProbes.h"

namespace qx::WindowsUtil {

namespace {

constexpr std::size_t kTitleLength = 2048;

constexpr bool IsLeadSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

bool HasStyles(HWND window, const TrackWindowRule& rule) {
  const std::uint32_t style = StyleOf(window, GWL_STYLE);
  return HasAllBitsOf(style, rule.requiredStyle) && HasNoBitsOf(style, rule.forbiddenStyle) &&
         HasNoBitsOf(StyleOf(window, GWL_EXSTYLE), rule.forbiddenExStyle);
}

// What of a window's title stands behind the separator, if it has one. The long
// one goes first, since document names may hold the short one.
bool TailOf(std::wstring_view windowTitle, std::wstring_view& tail) {
  for (const std::wstring_view separator : {L"  -  ", L" - "}) {
    const std::size_t at = windowTitle.find(separator);
    if (at != std::wstring_view::npos) {
      tail = windowTitle.substr(at + separator.size());
      return true;
    }
  }
  return false;
}

bool TitleEndsIn(HWND window, const std::wstring& title) {
  std::wstring text;
  GetWindowTitle(window, text);
  std::wstring_view tail;
  if (!TailOf(text.c_str(), tail)) {
    return false;
  }
  return tail == title || tail == L"[" + title + L"]";
}

// Calls `visit` with the rectangle of each monitor that has one, until it
// answers false.
template <typename Visit>
void ForEachMonitorRect(bool workArea, Visit visit) {
  ForEachMonitor([&](HMONITOR monitor) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    if (!GetMonitorInfoW(monitor, &info)) {
      QX_LOG_LIMITED(LogLevelWarn, "GetMonitorInfo failed,error:{}",
                     static_cast<std::uint32_t>(GetLastError()));
      return true;
    }
    return visit(workArea ? info.rcWork : info.rcMonitor);
  });
}

}  // namespace

void EnumChildWindowHandles(HWND window, std::vector<HWND>& children) {
  children.clear();
  ForEachChildWindow(window, [&](HWND child) {
    children.push_back(child);
    return true;
  });
}

std::string GetWindowClassName(HWND window) {
  char name[254];
  const int length = window ? GetClassNameA(window, name, static_cast<int>(std::size(name))) : 0;
  return std::string(name, static_cast<std::size_t>(std::max(length, 0)));
}

std::string GetWindowProcessName(HWND window) {
  DWORD processId = 0;
  GetWindowThreadProcessId(window, &processId);
  if (processId == 0) {
    return {};
  }
  const KernelHandle process(
      OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
  if (!process) {
    return {};
  }
  char path[260];
  DWORD length = static_cast<DWORD>(std::size(path));
  if (!QueryFullProcessImageNameA(process.Get(), 0, path, &length)) {
    return {};
  }
  return std::string(ProcessNameOf(std::string_view(path, length)));
}

std::size_t ReadWindowTitle(HWND window, std::span<wchar_t> text) {
  // GetWindowTextW waits for the thread of a window of this process.
  const int answer = InternalGetWindowText(window, text.data(), static_cast<int>(text.size()));
  const auto length = static_cast<std::size_t>(std::max(answer, 0));
  // The system cuts between UTF-16 units.
  const bool cut = length + 1 == text.size();
  return cut && length > 0 && IsLeadSurrogate(text[length - 1]) ? length - 1 : length;
}

bool GetWindowTitle(HWND window, std::wstring& title) {
  wchar_t text[260];
  title.assign(text, ReadWindowTitle(window, text));
  title.resize(kTitleLength);
  return true;
}

std::optional<std::uint32_t> ReadStyle(HWND window, int index) {
  SetLastError(ERROR_SUCCESS);
  const LONG_PTR style = GetWindowLongPtrW(window, index);
  if (style == 0 && GetLastError() != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(style);
}

bool AreWindowsOfCurrentProcess(const std::vector<HWND>& windows) {
  const DWORD self = GetCurrentProcessId();
  return std::all_of(windows.begin(), windows.end(), [self](HWND window) {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    return processId == self;
  });
}

bool IsWindowMatchRule(HWND window, const TrackWindowRule& rule) {
  return GetWindowClassName(window) == rule.className && HasStyles(window, rule);
}

HWND FindTrackWindow(const TrackWindowRule& rule, const std::wstring& title) {
  std::string_view rest = rule.className;
  while (!rest.empty()) {
    const std::string className(rest.substr(0, rest.find(';')));
    rest.remove_prefix(std::min(rest.size(), className.size() + 1));
    if (className.empty()) {
      continue;
    }
    HWND found = nullptr;
    ForEachWindowBehind(
        [&](HWND window) { return FindWindowExA(nullptr, window, className.c_str(), nullptr); },
        [&](HWND window) {
          if (HasStyles(window, rule) &&
              _stricmp(GetWindowProcessName(window).c_str(), rule.processName.c_str()) == 0 &&
              (title.empty() || TitleEndsIn(window, title))) {
            found = window;
          }
          return !found;
        });
    if (found) {
      return found;
    }
  }
  return nullptr;
}

RECT GetMonitorRect(HMONITOR monitor) {
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  if (!GetMonitorInfoW(monitor, &info)) {
    QX_LOG_LIMITED(LogLevelError, "GetMonitorInfo failed,error:{}",
                   static_cast<std::uint32_t>(GetLastError()));
    return {};
  }
  return info.rcMonitor;
}

void GetMonitorRects(bool workArea, std::vector<RECT>& rects) {
  rects.clear();
  ForEachMonitorRect(workArea, [&](const RECT& rect) {
    rects.push_back(rect);
    return true;
  });
}

bool RectsIntersect(const RECT& a, const RECT& b, RECT& out) {
  return IntersectRect(&out, &a, &b) != FALSE;
}

bool IsWindowInOneMonitor(RECT rect, std::uint32_t style, RECT& monitor) {
  if (HasAllBitsOf(style, WS_CHILD)) {
    return false;
  }
  // Windows that fill a monitor may reach a little below it.
  rect.bottom -= 5;
  bool inside = false;
  ForEachMonitorRect(false, [&](const RECT& candidate) {
    RECT overlap = {};
    inside = IntersectRect(&overlap, &candidate, &rect) && EqualRect(&overlap, &rect);
    if (inside) {
      monitor = candidate;
    }
    return !inside;
  });
  return inside;
}

bool IsRectOnAnyMonitor(const RECT& rect) {
  bool found = false;
  ForEachMonitorRect(false, [&](const RECT& monitor) {
    RECT overlap = {};
    found = RectsIntersect(rect, monitor, overlap);
    return !found;
  });
  return found;
}

}  // namespace qx::WindowsUtil
