#include "win/engine/EngineFactories.h"

#include <utility>

#include "win/engine/dxgi/ScreenCaptureEngineDXGI.h"
#include "win/engine/gdi/ScreenCaptureEngineGDI.h"
#include "win/engine/mag/ScreenCaptureEngineMag.h"
#include "win/engine/wgc/ScreenCaptureEngineWGC.h"

namespace qx {

const EngineFactories& EngineFactories::Default() {
  static const EngineFactories factories = {
      .dxgi = [](HMONITOR monitor, bool dynamicCheck, bool dirtyInfo) -> Engine {
        return std::make_unique<ScreenCaptureEngineDXGI>(monitor, dynamicCheck, dirtyInfo);
      },
      .wgcMonitor = [](HMONITOR monitor, bool dynamicCheck, bool dirtyInfo) -> Engine {
        return std::make_unique<ScreenCaptureEngineWGC>(monitor, dynamicCheck, dirtyInfo);
      },
      .wgcWindow = [](HWND window, FilterWindowProvider filterWindows, bool dynamicCheck,
                      bool dirtyInfo) -> Engine {
        return std::make_unique<ScreenCaptureEngineWGC>(window, std::move(filterWindows),
                                                        dynamicCheck, dirtyInfo);
      },
      .mag = [](HMONITOR monitor, FilterWindowProvider filterWindows, bool dynamicCheck,
                bool dirtyInfo, bool newMouseCaptureWay) -> Engine {
        return std::make_unique<ScreenCaptureEngineMag>(
            monitor, std::move(filterWindows), dynamicCheck, dirtyInfo, newMouseCaptureWay);
      },
      .gdi = [](HWND window, bool bitBlt, FilterWindowProvider filterWindows) -> Engine {
        return std::make_unique<ScreenCaptureEngineGDI>(window, bitBlt, std::move(filterWindows));
      },
  };
  return factories;
}

}  // namespace qx
