#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Questions about windows, monitors and rectangles. All rectangles are in pixels
// of the virtual screen. Any thread may ask; a window may go away at any time,
// and then answers as one without the property in question.
namespace qx::WindowsUtil {

// All descendants. Replaces the contents of `children`.
void EnumChildWindowHandles(HWND window, std::vector<HWND>& children);

// Empty on failure. The process name is the image's file name without directory
// and extension.
std::string GetWindowClassName(HWND window);
std::string GetWindowProcessName(HWND window);

// What of an image's path is the process name.
template <typename Char>
std::basic_string_view<Char> ProcessNameOf(std::basic_string_view<Char> path) {
  path.remove_prefix(path.rfind(Char{'\\'}) + 1);  // nothing when there is none
  return path.substr(0, path.rfind(Char{'.'}));
}

// The present title as the system knows it, without asking the window: as far as it and
// a NUL fit into `text`, and never half of a character. Answers its length.
std::size_t ReadWindowTitle(HWND window, std::span<wchar_t> text);
// The same of at most 259 characters. `title` is always 2048 long, with NULs behind
// the text. Always true.
bool GetWindowTitle(HWND window, std::wstring& title);

// GWL_STYLE or GWL_EXSTYLE. Nothing when the system doesn't tell, which is not a style
// of 0: who writes styles must know.
std::optional<std::uint32_t> ReadStyle(HWND window, int index);
// The same for those who only look: 0 when the system doesn't tell.
inline std::uint32_t StyleOf(HWND window, int index) {
  return ReadStyle(window, index).value_or(0);
}

// True for an empty list.
bool AreWindowsOfCurrentProcess(const std::vector<HWND>& windows);

// Both hold for an empty mask.
constexpr bool HasAllBitsOf(std::uint32_t value, std::uint32_t mask) {
  return (value & mask) == mask;
}
constexpr bool HasNoBitsOf(std::uint32_t value, std::uint32_t mask) { return (value & mask) == 0; }

// By what a window of a known application is recognised.
struct TrackWindowRule {
  std::string className = {};  // for FindTrackWindow several, separated by ";"
  std::uint32_t requiredStyle = 0;
  std::uint32_t forbiddenStyle = 0;
  std::uint32_t forbiddenExStyle = 0;
  std::string processName = {};  // as GetWindowProcessName gives it
};

// Class and styles; the process does not matter.
bool IsWindowMatchRule(HWND window, const TrackWindowRule& rule);

// The first window with one of the rule's classes, its styles and its process
// (in any case), in the order of the classes and from the top. With a `title`
// also only one whose own title ends in it, bare or in square brackets, behind a
// hyphen between blanks. Null when there is none.
HWND FindTrackWindow(const TrackWindowRule& rule, const std::wstring& title);

// Empty for a monitor that is gone.
RECT GetMonitorRect(HMONITOR monitor);
// One per monitor, with or without the taskbar. Replaces the contents of `rects`.
void GetMonitorRects(bool workArea, std::vector<RECT>& rects);

inline std::int64_t AreaOf(const RECT& rect) {
  return (std::int64_t{rect.right} - rect.left) * (std::int64_t{rect.bottom} - rect.top);
}
// Whether the two share a pixel; `out` is what they share.
bool RectsIntersect(const RECT& a, const RECT& b, RECT& out);

// Whether one monitor shows the whole of a window with this rectangle, that is no child
// by its `style`, but for up to 5 pixels at the bottom; `monitor` is that monitor's.
bool IsWindowInOneMonitor(RECT rect, std::uint32_t style, RECT& monitor);
bool IsRectOnAnyMonitor(const RECT& rect);

}  // namespace qx::WindowsUtil
