#include "win/capture/TrackWindowRules.h"

#include <cstdint>

namespace qx {
namespace {

using WindowsUtil::TrackWindowRule;

// A slide show fills the screen: it has neither a frame's boxes nor a menu, and is
// neither maximised nor part of another window.
constexpr std::uint32_t kBoxes = WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
constexpr std::uint32_t kMaximisedBoxes = WS_MAXIMIZE | kBoxes;
constexpr std::uint32_t kFrame = WS_CHILD | WS_MAXIMIZE | WS_SYSMENU | kBoxes;
constexpr std::uint32_t kVisiblePopup = WS_POPUP | WS_VISIBLE;
constexpr std::uint32_t kLayeredTool = WS_EX_LAYERED | WS_EX_TOOLWINDOW;

TrackWindowRule MainWindow(const char* className, std::uint32_t requiredStyle = 0) {
  return {.className = className, .requiredStyle = requiredStyle};
}

TrackWindowRule PowerpntShow() {
  return {.className = "screenClass;protectedViewScreenClass",
          .forbiddenStyle = kMaximisedBoxes,
          .processName = "POWERPNT"};
}

TrackWindowRule WppShow(const char* className, std::uint32_t requiredStyle,
                        std::uint32_t forbiddenStyle, std::uint32_t forbiddenExStyle) {
  return {.className = className,
          .requiredStyle = requiredStyle,
          .forbiddenStyle = forbiddenStyle,
          .forbiddenExStyle = forbiddenExStyle,
          .processName = "WPP"};
}

}  // namespace

// Two applications share the classes of main windows; only the first one's have a
// full caption, so its rules come first.
std::vector<MainTrackWindowEntry> MakeTrackWindowRules() {
  const char* const qtWindows = "QWidget;Qt5QWindowIcon";
  return {
      {MainWindow("PPTFrameClass"), PowerpntShow()},
      {MainWindow("PP12FrameClass", WS_CAPTION), PowerpntShow()},
      {MainWindow("PP11FrameClass", WS_CAPTION), PowerpntShow()},
      {MainWindow("PP12FrameClass"), WppShow(qtWindows, WS_VISIBLE, kFrame, WS_EX_LAYERED)},
      {MainWindow("QWidget"), WppShow("QWidget", WS_VISIBLE, kFrame, WS_EX_LAYERED)},
      {MainWindow("PP11FrameClass"), WppShow(qtWindows, 0, kFrame, WS_EX_LAYERED)},
      {MainWindow("TfmMain.UnicodeClass"), WppShow("TSlideShowDlg.UnicodeClass", 0, kBoxes, 0)},
      {MainWindow("OpusApp"), WppShow("Qt5QWindowIcon", kVisiblePopup, kFrame, kLayeredTool)},
      {MainWindow("XLMAIN"), WppShow("Qt5QWindowIcon", kVisiblePopup, kFrame, kLayeredTool)},
  };
}

}  // namespace qx
