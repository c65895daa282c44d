#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "win/engine/ScreenCaptureFrame.h"
#include "win/engine/dxgi/DXGIDuplicationManager.h"
#include "win/engine/dxgi/FrameMetadata.h"

namespace qx {

// Tells engines that can't know it by themselves whether anything has changed in a
// rectangle of the screen: it watches the monitor through a duplication and never
// looks at the picture. When in doubt everything has changed, and at least once a
// second it has, so that the engine captures. One thread at a time.
class DynamicCaptureHelper {
 public:
  // With `dirtyInfo` the changed rectangles are counted and measured.
  explicit DynamicCaptureHelper(bool dirtyInfo);
  DynamicCaptureHelper(const DynamicCaptureHelper&) = delete;
  DynamicCaptureHelper& operator=(const DynamicCaptureHelper&) = delete;
  ~DynamicCaptureHelper();

  // Lets go of the monitor, and forgets everything but the settings.
  void Reset();

  // What has changed since the last call. `rect` in pixels of the virtual screen; one
  // that spans monitors is watched on the first of them.
  void check(const RECT& rect);

  // Answers of the last check.
  bool IsFrameChanged() const { return m_frameChanged; }
  bool IsMouseChanged() const { return m_mouseChanged; }
  DirtyInfo GetDirtyInfo() const { return {m_dirtyRatio, m_dirtyRectCount, m_hasDuplication}; }

 private:
  bool hasMonitorChanged() const;
  void updateMonitor();
  void releaseDuplication();
  void process(const DXGIDuplication& record);
  void processWholeMonitor(IDXGIOutputDuplication* duplication,
                           const DXGI_OUTDUPL_FRAME_INFO& info);
  void processPartOfMonitor(const DXGIDuplication& record, const DXGI_OUTDUPL_FRAME_INFO& info);
  bool isEdgeStrip(const RECT& changed) const;

  const bool m_dirtyInfo;
  HMONITOR m_monitor = nullptr;
  RECT m_monitorRect = {};
  RECT m_captureRect = {};  // of the last check
  bool m_hasDuplication = false;
  bool m_frameChanged = true;
  bool m_mouseChanged = true;
  std::uint64_t m_dirtyRectCount = 0;
  double m_dirtyRatio = 0.0;
  std::int64_t m_lastPresentTime = 0;
  std::int64_t m_lastMouseUpdateTime = 0;
  std::uint64_t m_lastFullTime = 0;  // system milliseconds
  FrameMetadata m_metadata;
  std::vector<HMONITOR> m_monitors;
};

}  // namespace qx
