#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "win/engine/ScreenCaptureEngineProxy.h"
#include "win/prompt/FilterWindowManager.h"
#include "win/task/FrameDelivery.h"
#include "win/task/PauseMachine.h"
#include "win/task/ShareListenerWrapper.h"
#include "win/task/ShareWishes.h"
#include "win/task/ThreadTimer.h"
#include "win/util/WindowHelpers.h"

namespace qx {

// One running share: its thread and clock, its settings and its engine. A subclass
// captures. Make one by CompleteTask, below.
//
// Life: construct, settings, Start, BeginCapture, settings and pauses, Stop. The
// split start lets the caller tell the host that the share started before the
// first frame can come.
//
// Threads. The owner's thread makes, starts, stops and destroys the task. All else
// happens on the capture thread, "SC-CaptureThread", also what Start and Stop wait for:
// an engine needs no lock, and what it gets from the system is given back on the thread
// that got it, as the system asks. While they wait, messages that are sent to the
// caller's windows are answered: the share may be of one of these.
//
// Settings, Pause, Resume and GetCaptureRect may come from any thread, also from a
// listener in the middle of a tick, and return at once: they leave a wish, which the
// capture thread carries out when it is free. A tick works from its start to its end
// with the same settings.
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
  virtual ~ScreenCaptureTask() = default;

  // `listener` is borrowed until Stop. False: nothing runs (logged), and the task is only
  // good to be destroyed. Everything is ready otherwise but the ticks, which BeginCapture
  // starts.
  bool Start(ShareListenerWrapper* listener);
  // Does nothing unless started.
  void BeginCapture();
  // Waits for a tick in progress. The listener hears nothing more. Needs no memory. A
  // call from the capture thread itself is refused (logged).
  void Stop();
  // Whether the caller is a listener operation in the middle of a tick.
  bool IsCaptureThread() const { return m_timer.IsCurrent(); }

  void Pause();
  void Resume();

  void EnablePromptWindow(bool enable);
  void SetPromptWindowInfo(const PromptWindowInfo& info);
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
  // A subclass supplies these. All of them run on the capture thread.

  // Reads where the target is, and makes the first engine. False: no share (logged).
  virtual bool prepare() = 0;
  // Opens the prompt frame and what else goes with a share.
  virtual void surround() = 0;
  // Brings the target to the user, if it is to be. At the start on the owner's thread.
  virtual void raise() {}
  // One tick. There is an engine.
  virtual void captureStep(std::uint64_t nowMs) = 0;
  // Gives the prompt frame what was set for it.
  virtual void changePrompt(const ShareWishes& wishes) = 0;
  virtual std::unique_ptr<ScreenCaptureEngineProxy> makeEngine() = 0;
  // The ticks begin.
  virtual void onBegun() {}
  // Drops what surround made.
  virtual void release() = 0;

  bool isRunning() const { return m_running; }
  // Running, and has not ended by itself.
  bool isCapturing() const { return m_running && !m_stopped; }
  // Any thread: leaves a wish. The capture thread carries it out as soon as it is free;
  // one of a listener in the middle of a tick, with the next tick.
  template <typename Change>
  void wish(Change change) {
    m_wishes.Leave(std::move(change));
    wakeCaptureThread();
  }
  void setCaptureRect(const CaptureRect& rect);
  // Begins the capture thread. Without one (logged) the task does not start.
  void beginThread();
  // Ends it; it drops everything first.
  void endThread();

  // On the capture thread.

  const ShareSettings& settings() const { return m_settings; }
  ThreadTimer& timer() { return m_timer; }
  const FilterWindowManager& filterWindowManager() const { return *m_filterWindowManager; }
  ShareListenerWrapper& listener() { return *m_listener; }
  FrameDelivery& delivery() { return m_delivery; }
  PauseMachine& pauseMachine() { return m_pause; }
  // Null when there is none.
  ScreenCaptureEngineProxy* engine() { return m_engine.get(); }
  // What every proxy is made with.
  EngineProxySettings proxySettings(FilterWindowProvider filterWindows);
  bool createEngine();
  void destroyEngine();
  // Before each capture: what the engine's picture is to be like.
  void aimEngine(const Shot& shot);
  // Nobody is to see the picture of the last capture.
  void dropPicture();
  // Drops the engine, and captures nothing for a while.
  void waitForSecureDesktop(std::uint64_t nowMs);
  // Ticks before this time do nothing; system milliseconds.
  void holdOff(std::uint64_t untilMs) { m_nextCaptureTime = untilMs; }
  // The share can't go on. The owner still stops it; one who does so now is not told.
  void endShare();

 private:
  template <typename Kind>
  friend class CompleteTask;
  // Only a complete task has a thread, and ends it in time.
  virtual void mustBeComplete() const = 0;

  bool canRun() const;
  void wakeCaptureThread();
  void reportEngine();
  void tick();
  void runTick();
  bool carryOutWishes();
  void changeEngine(const ShareWishes& wishes);
  void rebuildEngine(const ShareWishes& wishes);
  bool ensureEngine(std::uint64_t nowMs);
  void sendKeepLiveFrame();
  void leave();

  const std::shared_ptr<FilterWindowManager> m_filterWindowManager;
  std::atomic<bool> m_running = false;
  std::atomic<bool> m_stopped = false;  // the share ended by itself
  std::atomic<bool> m_stopWanted = false;
  WishBox m_wishes;
  mutable std::mutex m_rectMutex;
  CaptureRect m_captureRect = {-1, -1, -1, -1};
  std::function<void(const ScreenFrameData*)> m_keepLiveCallback;

  // Runs the ticks and whatever else the capture thread is to do.
  ThreadTimer m_timer;
  bool m_hasThread = false;
  std::int32_t m_wishTask = ThreadTimer::kNoTask;

  // The capture thread's.
  ShareListenerWrapper* m_listener = nullptr;
  ShareSettings m_settings;
  FrameDelivery m_delivery;
  PauseMachine m_pause;
  std::unique_ptr<ScreenCaptureEngineProxy> m_engine;
  bool m_engineShowsCursor = true;
  CaptureEngineType m_engineType = IScreenCapture::CaptureEngineNone;  // last one in use
  std::int32_t m_captureTimerTask = ThreadTimer::kNoTask;
  std::uint64_t m_nextCaptureTime = 0;
  bool m_begun = false;
};

// A kind of task as it is made: its thread begins when all of it is there, and has ended
// before any part of it goes.
template <typename Kind>
class CompleteTask final : public Kind {
 public:
  template <typename... Arguments>
  explicit CompleteTask(Arguments&&... arguments) : Kind(std::forward<Arguments>(arguments)...) {
    this->beginThread();
  }
  ~CompleteTask() override { this->endThread(); }

 private:
  void mustBeComplete() const override {}
};

}  // namespace qx
