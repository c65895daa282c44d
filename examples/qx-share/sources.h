#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qx-screen-capture.h"

// What there is to share, copied out of the library's lists. Text is UTF-8.

struct WindowSource {
  std::int32_t id = 0;
  std::int32_t handle = 0;
  std::uint32_t processId = 0;
  std::string processName;
  std::string title;
  std::string className;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

// One entry of the lists, as a share needs it.
struct Target {
  bool isWindow = false;
  std::int32_t id = 0;
};

std::vector<IScreenCapture::DesktopInfo> ListDesktops(IScreenCapture& capture);

// Topmost first.
std::vector<WindowSource> ListWindows(IScreenCapture& capture);

// The present title of any window, also of one that is on no list.
std::string WindowTitle(std::int32_t id);
