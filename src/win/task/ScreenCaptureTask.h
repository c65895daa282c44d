#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "common/ResolutionUtil.h"
#include "win/engine/ScreenCaptureEngineProxy.h"
#include "win/engine/ScreenCaptureFrame.h"
#include "win/prompt/FilterWindowManager.h"
#include "win/task/FrameRecord.h"
#include "win/task/ShareListenerWrapper.h"
#include "win/task/ThreadTimer.h"
#include "win/util/WindowHelpers.h"

namespace qx {

// One running share: its thread and clock, its settings, the pause with its
// keep-live frames, and the delivery of frames. A subclass captures.
//
// Life: construct, settings, Start, BeginCapture, settings and pauses, Stop. The
// split start lets the caller tell the host that the share started before the
// first frame can come.
//
// Threads. The owner's thread makes, starts, stops and destroys the task. The
// capture thread, "SC-CaptureThread", runs the ticks and all engine calls, also
// those that Start and Stop wait for: an engine needs no lock, and what it gets
// from the system is given back on the thread that got it, as the system asks.
// Settings, Pause, Resume and GetCaptureRect may come from any thread, also from a listener in
// the middle of a tick: they are recorded, and a tick works from the start to
// its end with the settings that it found. Only short copies are made under the
// two mutexes here.
class ScreenCaptureTask {
 public:
  using CaptureRect = IScreenCapture::CaptureRect;
  using PromptWindowInfo = IScreenCapture::PromptWindowInfo;
  using ScreenCaptureConfig = IScreenCapture::ScreenCaptureConfig;
  using ScreenFrameData = IScreenCapture::ScreenFrameData;
  using ScreenFrameFormat = IScreenCapture::ScreenFrameFormat;
  using ScreenFrameResolutionLimit = IScreenCapture::ScreenFrameResolutionLimit;

  explicit ScreenCaptureTask(std::shared_ptr<FilterWindowManager> filterWindowManager);
  ScreenCaptureTask(const ScreenCaptureTask&) = delete;
  ScreenCaptureTask& operator=(const ScreenCaptureTask&) = delete;
  // A subclass calls its tearDown and stopThread first: no tick may run
  // on a task half destroyed.
  virtual ~ScreenCaptureTask();

  // `listener` is borrowed until Stop. False: nothing runs (logged). Everything
  // is ready then but the ticks, which BeginCapture starts.
  virtual bool Start(ShareListenerWrapper* listener, bool showPrompt) = 0;
  // Does nothing unless started.
  virtual void BeginCapture();
  // Waits for a tick in progress. The listener hears nothing more.
  void Stop();

  void Pause();
  virtual void Resume();

  virtual void EnablePromptWindow(bool enable) = 0;
  virtual void SetPromptWindowInfo(const PromptWindowInfo& info);
  virtual void EnableFilterWindowWhenShareDesktop(bool /*enable*/) {}
  virtual void SetAutoActiveShareWindow(bool /*active*/) {}
  virtual void SetAutoTrackWindow(const WindowsUtil::TrackWindowRule& /*rule*/) {}
  // Reaches the engine in use, and no later one.
  void SetDynamicCheck(bool check);
  // Rebuilds the engine when a setting changes that it is built with.
  void SetScreenCaptureConfig(const ScreenCaptureConfig& config);

  void SetCaptureFPS(std::int32_t fps);  // positive
  void ShowCursor(bool show);
  void SetScreenFrameFormatType(ScreenFrameFormat format);
  // Counts when an engine is next made.
  void SetCaptureEngineConfig(const EngineTypeSet& engineTypes, bool wgcPriority);
  // Adopted after the next frame. A limit with no or the present number of
  // pixels changes nothing.
  void SetCaptureFrameResolutionLimit(const ScreenFrameResolutionLimit& limit);
  // Before Start.
  void SetKeepLiveCallback(std::function<void(const ScreenFrameData*)> callback);

  // All -1 while the share does not run.
  void GetCaptureRect(CaptureRect& rect) const;

 protected:
  // The settings that a tick reads.
  struct Settings {
    std::int32_t fps = 15;
    bool showCursor = true;
    bool wgcPriority = false;
    ScreenFrameFormat format = IScreenCapture::ScreenFrameFormatARGB;
    ScreenFrameResolutionLimit pendingLimit;
    ScreenCaptureConfig config;
    PromptWindowInfo promptWindowInfo;
  };

  // One capture.
  struct Shot {
    CaptureRect rect = {};
    std::int32_t targetWidth = 0;
    std::int32_t targetHeight = 0;
    std::int64_t timestamp = 0;  // system microseconds
  };

  enum class RebuildCause { FilterChanged, ConfigChanged };

  bool isRunning() const { return m_running; }
  // Running, and has not ended by itself.
  bool isCapturing() const { return m_running && !m_stopped; }
  Settings copySettings() const;
  void setCaptureRect(const CaptureRect& rect);
  // Any thread. The next tick, which comes at once, makes the engine anew.
  void requestRebuild(RebuildCause cause);

  // On the owner's thread.

  // Ends the ticks and drops what Start made. Does nothing the second time.
  virtual void tearDown() = 0;
  // False when there is no thread to capture on (logged).
  bool canRun() const;
  void enterRunning();
  // Leaves the running state, and returns when no tick runs and none will.
  void stopTicks();
  // Ends the thread.
  void stopThread() { m_timer.Stop(); }
  // Have the engine made and dropped on the capture thread, and wait for it.
  bool createFirstEngine(const Settings& settings);
  void releaseEngine();

  // On the capture thread.

  // One tick. The share is running and there is an engine.
  virtual void captureStep(const Settings& settings, std::uint64_t nowMs) = 0;
  virtual bool createEngine(const Settings& settings) = 0;
  // What every proxy is made with.
  EngineProxySettings proxySettings(const Settings& settings, FilterWindowProvider filterWindows);
  // Takes the proxy over if it can start.
  bool adoptEngine(std::unique_ptr<ScreenCaptureEngineProxy> engine, const Settings& settings);
  void destroyEngine();
  // Drops the engine, and captures nothing for a while.
  void waitForSecureDesktop(std::uint64_t nowMs);

  void PauseShare(IScreenCapture::SharePauseReason reason);
  // Does nothing while the host's own pause lasts.
  void ResumeShare();
  // The share can't go on. The owner still stops it; one who does so now is not told.
  void endShare();

  // The size that a frame of `shot.rect` may have. False: capture nothing (logged).
  bool chooseTargetSize(Shot& shot) const;
  // Scales and converts what the engine left in m_captureFrame, and hands it over.
  void deliverCapture(const Settings& settings, const Shot& shot);
  // Hands the last frame over again, unless the host wants unchanged ones held back.
  void deliverUnchanged(const Settings& settings, std::int64_t timestamp);

  // Runs the ticks and whatever else the capture thread is to do.
  ThreadTimer m_timer;
  const std::shared_ptr<FilterWindowManager> m_filterWindowManager;
  ShareListenerWrapper* m_listener = nullptr;
  std::unique_ptr<ScreenCaptureEngineProxy> m_engine;
  ScreenCaptureFrame m_captureFrame;
  std::atomic<bool> m_pauseInvoke = false;  // the host asked for a pause
  std::uint64_t m_nextCaptureTime = 0;      // ticks before it do nothing; system milliseconds

 private:
  // What setters ask of the engine. The next tick does it.
  struct EngineRequests {
    bool rebuildForFilter = false;
    bool rebuildForConfig = false;
    std::optional<bool> dynamicCheck;
  };

  void reportEngine();
  void addCaptureTick();
  void tick();
  void runTick();
  void carryOutRequests(const EngineRequests& requests, const Settings& settings);
  bool ensureEngine(const Settings& settings, std::uint64_t nowMs);
  void sendKeepLiveFrame();
  // The picture that a capture made, scaled or not.
  Picture choosePicture(const Shot& shot);
  void adoptPendingLimit(const Settings& settings);

  bool m_hasThread = false;
  std::atomic<bool> m_running = false;
  std::atomic<bool> m_stopped = false;  // the share ended by itself

  mutable std::mutex m_settingsMutex;
  Settings m_settings;
  EngineRequests m_requests;
  EngineTypeSet m_engineTypes;
  mutable std::mutex m_rectMutex;
  CaptureRect m_captureRect = {-1, -1, -1, -1};

  std::function<void(const ScreenFrameData*)> m_keepLiveCallback;
  std::atomic<std::int32_t> m_captureTimerTask = ThreadTimer::kNoTask;
  std::atomic<std::int32_t> m_keepLiveTimerTask = ThreadTimer::kNoTask;

  // The capture thread's while running.
  std::optional<IScreenCapture::SharePauseReason> m_pauseReason;
  ScreenFrameResolutionLimit m_resolutionLimit;  // in force
  bool m_engineShowsCursor = true;
  CaptureEngineType m_engineType = IScreenCapture::CaptureEngineNone;  // last one in use
  FrameRecord m_record;
  std::uint32_t m_dropCount = 0;
  std::uint32_t m_lastDropCount = 0;  // at the last log line
};

}  // namespace qx
