#pragma once

#include <functional>
#include <memory>

#include "win/engine/ScreenCaptureEngine.h"

namespace qx {

// How the engines are made, so that a test can put scripted ones in their place.
//
// `dynamicCheck`: detect unchanged pictures. `dirtyInfo`: gather dirty figures.
struct EngineFactories {
  using Engine = std::unique_ptr<ScreenCaptureEngine>;

  std::function<Engine(HMONITOR monitor, bool dynamicCheck, bool dirtyInfo)> dxgi;
  std::function<Engine(HMONITOR monitor, bool dynamicCheck, bool dirtyInfo)> wgcMonitor;
  std::function<Engine(HWND window, FilterWindowProvider filterWindows, bool dynamicCheck,
                       bool dirtyInfo)>
      wgcWindow;
  // `monitor` is null for the share of a window.
  std::function<Engine(HMONITOR monitor, FilterWindowProvider filterWindows, bool dynamicCheck,
                       bool dirtyInfo, bool newMouseCaptureWay)>
      mag;
  // `window` is what is shared, null for a monitor. `bitBlt`: copies the desktop; else the
  // window prints itself.
  std::function<Engine(HWND window, bool bitBlt, FilterWindowProvider filterWindows)> gdi;

  // The real engines.
  static const EngineFactories& Default();
};

}  // namespace qx
