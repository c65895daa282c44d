#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "win/engine/EngineFactories.h"
#include "win/prompt/FilterWindowManager.h"

namespace qx {

using EngineTypeSet = std::unordered_set<CaptureEngineType>;

// What the choice of engines depends on, beside the settings.
struct MachineFacts {
  bool integrateGPU;  // desktop duplication works
  bool windows81OrGreater;
  bool windows10OrGreater;
  bool windows11OrGreater;
  bool aeroEnabled;  // desktop composition
  bool remoteSession;
  bool canUseMag;

  static MachineFacts Read();
};

struct EngineProxySettings {
  std::shared_ptr<FilterWindowManager> filterWindowManager;  // never null
  FilterWindowProvider filterWindows;
  EngineChangedCallback engineChanged;
  EngineTypeSet allowed;  // empty: all
  bool dirtyInfo = false;
  bool dynamicCheck = true;
  bool newMouseCaptureWay = false;
  // Only for a monitor: whether excluded windows are kept out of the picture, and
  // whether WGC goes before DXGI.
  bool enableFilterWindow = true;
  bool wgcPriority = false;
};

// The engine that a share talks to: holds the engines that can serve the share,
// best first, and drives one of them. An engine that keeps failing is restarted
// at failures 3, 6 and 9 in a row and given up at 10; one that is lost, or that
// gives black pictures as only the magnifier does, is given up at once. What is
// given up is gone for good, the next one starts, and `engineChanged` is told,
// on the calling thread. With no engine left every capture fails. Failures while
// the shared window doesn't answer don't count.
//
// Engines that can't show include windows are passed over in a window share
// while there are any, and come back when there are none.
class ScreenCaptureEngineProxy : public ScreenCaptureEngine {
 public:
  ScreenCaptureEngineProxy(HMONITOR monitor, EngineProxySettings settings,
                           const EngineFactories& factories = EngineFactories::Default(),
                           const MachineFacts& facts = MachineFacts::Read());
  ScreenCaptureEngineProxy(HWND window, EngineProxySettings settings,
                           const EngineFactories& factories = EngineFactories::Default(),
                           const MachineFacts& facts = MachineFacts::Read());

  bool Initialize() override;
  void UnInitialize() override;
  // CaptureEngineNone without an engine.
  CaptureEngineType GetEngineType() const override;
  void SetSource(HMONITOR source) override;
  // Without an engine `result` is left alone.
  bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
               ScreenCaptureFrame& frame, CaptureResult& result) override;
  void SetTargetSize(std::int32_t width, std::int32_t height) override;
  void SetUseBasicGraphics(bool use) override;
  void ShowCursor(bool show) override;
  // The present engine only; the next one starts with the settings' value.
  void SetDynamicCheck(bool check) override;
  bool IsDesktopBased() const override;
  void DropPicture() override;
  void WantAnotherPicture() override;
  bool IsWaiting() const override;

 private:
  struct Entry {
    bool canInclude;  // shows include windows in a window share
    EngineFactories::Engine engine;
  };

  void createCaptureEngineForDesktop(const EngineFactories& factories, const MachineFacts& facts);
  void createCaptureEngineForWindow(HWND window, const EngineFactories& factories,
                                    const MachineFacts& facts);
  void addDxgi(const EngineFactories& factories, bool dirtyInfo);
  void addWgc(EngineFactories::Engine engine);
  void addMag(HMONITOR monitor, const EngineFactories& factories, const MachineFacts& facts);
  void addGdi(HWND window, bool bitBlt, FilterWindowProvider filterWindows,
              const EngineFactories& factories);
  bool isAllowed(CaptureEngineType type) const;

  // Null without a present engine.
  ScreenCaptureEngine* currentEngine() const;
  enum class Walk { First, Later };
  void startNextEngine(Walk walk);
  void followIncludeWindows();
  void refreshNewEngineConfig();
  void changeToNextEngine();
  void handleFailure(CaptureResult result);
  void onCaptureFailed();
  void notifyEngineChanged();
  void eraseCurrentEntry();

  const bool m_isDesktop;
  const EngineProxySettings m_settings;
  std::vector<Entry> m_captureEngine;
  // The size of the list when there is no present engine.
  std::size_t m_currentEngine = 0;
  // What `engineChanged` was last told.
  CaptureEngineType m_currentEngineType = IScreenCapture::CaptureEngineNone;
  std::int32_t m_failCounter = 0;
};

}  // namespace qx
