#pragma once

#include <qx-screen-capture.h>

#include <vector>

namespace qx::test {

using Monitors = std::vector<IScreenCapture::DesktopInfo>;

// As the library lists them.
inline Monitors ListMonitors(IScreenCapture& capture) {
  Monitors monitors;
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* list, const int& count, void* user) {
        static_cast<Monitors*>(user)->assign(list, list + count);
      },
      &monitors);
  return monitors;
}

}  // namespace qx::test
