#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "win/engine/wgc/CaptureThread.h"
#include "win/util/Handles.h"

namespace qx {

// What a helper thread has, which holds it, too. Sessions go by numbers in messages: whoever
// asked may be gone when one is read.
class CaptureThread::Life {
 public:
  // For those who are not the thread.
  explicit Life(HWND window);

  bool IsPrepared() const { return static_cast<bool>(m_upEvent); }
  void WaitUntilUp() const;
  bool Start(const std::shared_ptr<CaptureSession>& session);
  void Stop(const std::shared_ptr<CaptureSession>& session);
  // Makes the thread end. How long that may take.
  DWORD End();
  bool HasWindowStateChanged() const { return m_windowStateChanged; }
  void ForgetWindowStateChange();

  // The thread's body.
  void Run();

 private:
  struct Entry {
    WPARAM id;
    std::shared_ptr<CaptureSession> session;
    bool wanted = true;
  };

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam,
                                          LPARAM lParam) noexcept;

  void giveUp(WPARAM id);
  bool createWindow();
  void serve();
  bool handleMessage(UINT message, WPARAM wParam);
  void checkWindowState();
  void startCapture(WPARAM id);
  void stopCapture(WPARAM id);
  void stopAll();
  std::vector<Entry>::iterator find(WPARAM id);

  const HWND m_sharedWindow;
  std::atomic<std::int32_t> m_windowState;
  std::atomic<bool> m_windowStateChanged = false;
  const KernelHandle m_upEvent;  // manual-reset; also when it failed to come up
  std::atomic<HWND> m_window = nullptr;
  std::atomic<DWORD> m_threadId = 0;
  std::atomic<bool> m_ending = false;
  std::atomic<bool> m_busy = false;  // the system has the thread

  std::mutex m_mutex;  // held for moments only
  std::vector<Entry> m_sessions;
  WPARAM m_lastId = 0;
};

}  // namespace qx
