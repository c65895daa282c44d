#include "win/source/WindowList.h"

#include <optional>
#include <string_view>

#include "win/source/VirtualDesktops.h"
#include "win/source/WindowEnumeration.h"
#include "win/util/Handles.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx {

namespace {

constexpr std::size_t kTitleRoom = 2000;
constexpr std::size_t kPathRoom = 2048;
// What is smaller both ways is a helper that nobody means to share.
constexpr LONG kSmallestSide = 32;

std::wstring TitleOf(HWND window) {
  wchar_t text[kTitleRoom];
  return std::wstring(text, WindowsUtil::ReadWindowTitle(window, text));
}

// The windows of a program without titles of their own, such as its panels, show
// under its name.
bool HasTitledOwner(HWND window) {
  const HWND owner = GetWindow(window, GW_OWNER);
  return owner && !TitleOf(owner).empty();
}

bool IsCoveredTopmost(HWND window) {
  return WindowsUtil::HasAllBitsOf(WindowsUtil::StyleOf(window, GWL_EXSTYLE), WS_EX_TOPMOST) &&
         WindowsUtil::IsWindowObscured(window, false);
}

bool IsLargeEnough(HWND window) {
  RECT rect = {};  // stays empty for a window that is gone
  GetWindowRect(window, &rect);
  const bool minimised = IsIconic(window) != FALSE;
  if (minimised) {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof(placement);
    GetWindowPlacement(window, &placement);
    rect = placement.rcNormalPosition;
  }
  const LONG width = rect.right - rect.left;
  const LONG height = rect.bottom - rect.top;
  if (!minimised && (width == 0 || height == 0)) {
    return false;
  }
  return width >= kSmallestSide || height >= kSmallestSide;
}

// Denied for processes with more rights than the host.
std::wstring ReadProcessName(DWORD processId) {
  const KernelHandle process(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
  if (!process) {
    return {};
  }
  wchar_t path[kPathRoom];
  DWORD length = kPathRoom - 1;
  if (!QueryFullProcessImageNameW(process.Get(), 0, path, &length)) {
    return {};
  }
  return std::wstring(WindowsUtil::ProcessNameOf(std::wstring_view(path, length)));
}

// A process is opened only for a window that nothing before has left out.
std::optional<ShareWindowRecord> Describe(HWND window, const std::function<bool(HWND)>& filter) {
  ShareWindowRecord record;
  record.title = TitleOf(window);
  if ((record.title.empty() && !HasTitledOwner(window)) || IsCoveredTopmost(window) ||
      !IsLargeEnough(window) || filter(window)) {
    return std::nullopt;
  }
  DWORD processId = 0;
  GetWindowThreadProcessId(window, &processId);
  record.processId = processId;
  if (processId != 0) {
    record.processName = ReadProcessName(processId);
  }
  RECT rect = {};
  if (!WindowsUtil::GetCaptureRect(window, rect)) {
    return std::nullopt;
  }
  record.id = HandleToId(window);
  record.handle = record.id;
  record.x = rect.left;
  record.y = rect.top;
  record.width = rect.right - rect.left;
  record.height = rect.bottom - rect.top;
  return record;
}

}  // namespace

std::vector<ShareWindowRecord> ListShareWindows(const std::function<bool(HWND)>& filter) {
  std::vector<HWND> windows;
  VirtualDesktops desktops;
  // Without an answer there is nothing to offer.
  static_cast<void>(
      WindowsUtil::EnumTopLevelWindows(windows, WindowsUtil::EnumMode::ShareCandidates, desktops));
  std::vector<ShareWindowRecord> records;
  records.reserve(windows.size());
  for (const HWND window : windows) {
    if (std::optional<ShareWindowRecord> record = Describe(window, filter)) {
      records.push_back(*std::move(record));
    }
  }
  return records;
}

}  // namespace qx
