#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "win/capture/TrackWindowRules.h"
#include "win/engine/ScreenCaptureEngineProxy.h"
#include "win/prompt/FilterWindowManager.h"
#include "win/task/ScreenCaptureTask.h"
#include "win/task/ShareListenerWrapper.h"
#include "win/util/AnsweringMutex.h"

namespace qx {

// The object behind a ScreenCapture: keeps the settings from share to share, and
// starts and stops the one share. The operations are those of IScreenCapture.
//
// Any thread, also a listener of the share from inside, but for its stop. Settings return
// at once. One thread at a time starts or stops; a stop waits for one that does. Operations
// may throw bad_alloc.
class ScreenCaptureImpl {
 public:
  ScreenCaptureImpl();
  ScreenCaptureImpl(const ScreenCaptureImpl&) = delete;
  ScreenCaptureImpl& operator=(const ScreenCaptureImpl&) = delete;
  ~ScreenCaptureImpl();

  void EnableFilterWindowWhenShareDesktop(bool enable);
  void SetExcludeWindows(const IScreenCapture::FilterWindowInfo* windows, int count);
  void AddExcludeWindow(const IScreenCapture::FilterWindowInfo& window);
  void RemoveExcludeWindow(const IScreenCapture::FilterWindowInfo& window);
  void ClearExcludeWindows();
  void SetIncludeWindows(const IScreenCapture::FilterWindowInfo* windows, int count);
  void AddIncludeWindow(const IScreenCapture::FilterWindowInfo& window);
  void RemoveIncludeWindow(const IScreenCapture::FilterWindowInfo& window);
  void ClearIncludeWindows();

  void GetDesktopList(IScreenCapture::DesktopListCallback callback, void* user);
  void GetDesktopListAsync(IScreenCapture::DesktopListCallback callback, void* user);
  const char* GetDesktopThumbnail(int id, int width, int height);
  void GetDesktopThumbnailAll(int width, int height, IScreenCapture::ThumbnailListCallback callback,
                              void* user);
  void GetDesktopThumbnailAllAsync(int width, int height,
                                   IScreenCapture::ThumbnailListCallback callback, void* user);
  void GetWindowList(IScreenCapture::WindowListCallback callback, void* user);
  void GetWindowListAsync(IScreenCapture::WindowListCallback callback, void* user);
  const char* GetWindowThumbnail(int id, int width, int height);
  void GetWindowThumbnailAll(int width, int height, IScreenCapture::ThumbnailListCallback callback,
                             void* user);
  void GetWindowThumbnailAllAsync(int width, int height,
                                  IScreenCapture::ThumbnailListCallback callback, void* user);
  const char* GetWindowIcon(int id);
  const wchar_t* GetWindowTitle(int id);

  void SetCanUseMagCapture(bool canUseMag);
  void ShowCursor(bool show);
  void SetAutoActiveShareWindow(bool active);
  void EnablePromptWindow(bool enable);
  void SetDynamicCheck(bool check);
  void SetCaptureEngineConfig(const IScreenCapture::CaptureEngineType* types, int count,
                              bool wgcPriority);
  void SetPromptWindowInfo(const IScreenCapture::PromptWindowInfo* info);
  void SetCaptureFrameResolutionLimit(const IScreenCapture::ScreenFrameResolutionLimit& limit);
  void SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormat format);
  void SetScreenCaptureConfig(const IScreenCapture::ScreenCaptureConfig& config);
  void SetCaptureFPS(int fps);

  bool ShareDesktop(void* context, int id, IScreenCapture::ShareListener* listener,
                    IScreenCapture::ShareError& error);
  bool ShareWindow(void* context, int id, IScreenCapture::ShareListener* listener,
                   IScreenCapture::ShareError& error);
  void SharePause();
  void ShareResume();
  void ShareStop();
  void GetCaptureRect(IScreenCapture::CaptureRect& rect);

 private:
  // Has the present share, if there is one, do `operation`.
  template <typename Operation, typename... Arguments>
  void tell(Operation operation, const Arguments&... arguments);
  // Keeps a setting for all shares, and has the present one use it.
  template <typename Setting, typename Operation>
  void keep(Setting& setting, const Setting& value, Operation operation);
  bool canShare(const char* operation, const IScreenCapture::ShareListener* listener, bool isMyTurn,
                IScreenCapture::ShareError& error);
  const MainTrackWindowEntry* matchTrackWindow(HWND window) const;
  void configure(ScreenCaptureTask& task);
  bool runTask(const std::shared_ptr<ScreenCaptureTask>& task, void* context,
               IScreenCapture::ShareListener* hostListener, IScreenCapture::ShareError& error);
  std::shared_ptr<ScreenCaptureTask> presentTask() const;
  // What ShareStop does.
  void endTask();

  // Taken by who starts or stops the share, and again from what the host does there.
  AnsweringMutex m_turn;
  std::atomic<bool> m_stopping = false;  // ShareStop waits, in its turn

  // Guards what follows, but for the constants. Held for moments, and never across the log.
  mutable std::mutex m_mutex;
  std::int32_t m_fps = 15;
  bool m_autoActiveShareWindow = true;
  bool m_showCursor = true;
  bool m_enableFilterWindow = true;
  bool m_enablePromptWindow = true;
  IScreenCapture::ScreenFrameFormat m_frameFormatType = IScreenCapture::ScreenFrameFormatARGB;
  IScreenCapture::ScreenFrameResolutionLimit m_resolutionLimit;
  IScreenCapture::ScreenCaptureConfig m_captureConfig;
  EngineTypeSet m_engineTypes;  // empty: every engine is allowed
  bool m_wgcPriority = false;
  IScreenCapture::PromptWindowInfo m_promptWindowInfo;
  const std::vector<MainTrackWindowEntry> m_trackWindowRules;
  const std::shared_ptr<FilterWindowManager> m_filterWindowManager;

  // Of the present share or the last one. Outlives the task, which borrows it.
  std::shared_ptr<ShareListenerWrapper> m_listener;
  // Set exactly while a share exists, also one that ended by itself.
  std::shared_ptr<ScreenCaptureTask> m_task;
};

}  // namespace qx
